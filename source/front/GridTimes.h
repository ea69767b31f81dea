#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Grid.h>
#include <memory>
#include <optional>
#include <vector>

#include "front/Reading.h"

namespace Kvex::Front {

/// The times of a grid, one after the other. They do not decrease.
class GridTimes {
 public:
  virtual ~GridTimes() = default;
  /// The next time; none at the end.
  virtual std::optional<Nano> next() = 0;
  /// Whether the store has been used for something else, at first or to find the time that `next` gave last, so that it
  /// must be put on that time.
  virtual bool needsSeek() { return std::exchange(first_, false); }
  /// How far the times have come, 0 to 1.
  virtual double fraction() const = 0;

 private:
  bool first_ = true;
};

/// The times of a grid for a reading. Throws `InvalidArgument` for a period of 0 or less, for a largest age below 0 and
/// for times that decrease, and what finding the grid's signal throws.
std::unique_ptr<GridTimes> gridTimes(const Grid& grid, Reading& reading);

}  // namespace Kvex::Front
