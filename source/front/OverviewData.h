#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Overview.h>
#include <memory>
#include <vector>

#include "front/Reading.h"

namespace Kvex {

struct Overview::Data {
  /// A slice of a signal; values as their bytes, by the signal's type.
  struct Cell {
    std::uint64_t samples = 0;
    std::uint64_t usable = 0;
    std::uint64_t numbers = 0;  ///< Usable samples that can be compared.
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t smallest = 0;
    std::uint64_t largest = 0;
  };

  std::vector<Signal> signals;
  std::size_t slices = 0;
  Span span;
  std::vector<Cell> cells;  ///< Signal by signal.
};

/// What the front door's own code may do with an `Overview`.
class OverviewAccess {
 public:
  /// REQUIRES: scalars and elements that can be read.
  static Overview read(Front::Reading& reading, const std::vector<Signal>& elements, std::size_t slices,
                       const OverviewWatcher& watcher);
};

}  // namespace Kvex
