#include "nav/MovingAverage.h"

#include <algorithm>

namespace Kvex::Nav {

namespace {

constexpr std::size_t kFirstSize = 64;
constexpr double kUnset = -1.0;

}  // namespace

void MovingAverage::step(double t, double x) {
  if (period_ == kUnset && count_ != 0) period_ = t - oldest().time;
  append({t, x});
  ready_ = false;
  if (window_ == kUnset || period_ == kUnset) return;
  if (window_ > 0.0) {
    // Half a period of tolerance, so that rounding of the times does not decide about the sample on the edge.
    const double start = t - window_;
    while (count_ != 0 && start - oldest().time > period_ / 2.0) dropOldest();
  }
  ready_ = count_ != 0;
}

double MovingAverage::mean() const {
  if (window_ <= 0.0) return ring_[place(count_ - 1)].value;
  double sum = 0.0;
  for (std::size_t i = 0; i < count_; ++i) sum += ring_[place(i)].value;
  return sum / static_cast<double>(count_);
}

void MovingAverage::append(Sample sample) {
  if (count_ == kMaxSamples) dropOldest();
  if (count_ == ring_.size()) {
    // A full ring starts anywhere: bring the oldest sample to the front, then the new places stand behind the newest.
    std::rotate(ring_.begin(), ring_.begin() + static_cast<std::ptrdiff_t>(first_), ring_.end());
    first_ = 0;
    ring_.resize(std::max(kFirstSize, 2 * ring_.size()));
  }
  ring_[place(count_)] = sample;
  ++count_;
}

void MovingAverage::dropOldest() {
  first_ = place(1);
  --count_;
}

}  // namespace Kvex::Nav
