#pragma once

#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <optional>
#include <utility>
#include <vector>

namespace Kvex {

/// The times of the rows of a grid.
/// Thread safety: a value.
class Grid final {
 public:
  /// Every `period` nanoseconds from the start of the span on.
  Grid(Nano period) : period_(period) {}  // NOLINT(google-explicit-constructor)

  static Grid every(Nano period) { return Grid(period); }
  /// At these times, which may not decrease.
  static Grid at(std::vector<Nano> times) {
    Grid grid(0);
    grid.times_ = std::move(times);
    return grid;
  }
  /// At each time at which a signal has a sample; where those do not rise, the row is left out.
  static Grid like(SignalList::Item signal) {
    Grid grid(0);
    grid.signal_ = std::move(signal);
    return grid;
  }

  Nano period() const { return period_; }
  const std::optional<std::vector<Nano>>& times() const { return times_; }
  const std::optional<SignalList::Item>& signal() const { return signal_; }

 private:
  Nano period_;
  std::optional<std::vector<Nano>> times_;
  std::optional<SignalList::Item> signal_;
};

}  // namespace Kvex
