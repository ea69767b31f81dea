#pragma once

#include <cstddef>
#include <vector>

namespace Kvex::Nav {

/// A mean over the latest stretch of time. The samples lie in a ring that grows until it holds a whole window.
class MovingAverage {
 public:
  /// The ring grows no further than this; beyond it the oldest samples are dropped. More than ten minutes at 400 Hz.
  static constexpr std::size_t kMaxSamples = std::size_t{1} << 18;

  /// Sets the length of the window in seconds; 0 or less makes the mean the newest value. Until it is set there is no
  /// mean.
  void setWindow(double seconds) { window_ = seconds; }

  /// Takes the sample `x` at the time `t` (seconds).
  void step(double t, double x);

  /// Whether there is a mean: not before the second sample, whose distance from the first is taken for the period.
  bool ready() const { return ready_; }
  /// The mean of the samples in the window, added up from the oldest one. REQUIRES: `ready`.
  double mean() const;

 private:
  struct Sample {
    double time, value;
  };

  const Sample& oldest() const { return ring_[first_]; }
  std::size_t place(std::size_t index) const { return (first_ + index) & (ring_.size() - 1); }
  void append(Sample sample);
  void dropOldest();

  double window_ = -1.0;
  double period_ = -1.0;
  std::vector<Sample> ring_;  ///< The size is 0 or a power of two.
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  bool ready_ = false;
};

}  // namespace Kvex::Nav
