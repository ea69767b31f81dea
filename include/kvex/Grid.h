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

  /// The same rows, in which a value is not valid once it is older than `age`, from 0 on: where the row's time minus
  /// the value's stamp is larger, and where the stamp is no real time, so that the age is not known. Its flags then say
  /// `kExpired` and `kNotAvailable`. Without, the last value of a stream that has ended stands to the end of the grid.
  Grid withMaxAge(Nano age) const {
    Grid grid = *this;
    grid.maxAge_ = age;
    return grid;
  }

  Nano period() const { return period_; }
  const std::optional<std::vector<Nano>>& times() const { return times_; }
  const std::optional<SignalList::Item>& signal() const { return signal_; }
  const std::optional<Nano>& maxAge() const { return maxAge_; }

 private:
  Nano period_;
  std::optional<std::vector<Nano>> times_;
  std::optional<SignalList::Item> signal_;
  std::optional<Nano> maxAge_;
};

}  // namespace Kvex
