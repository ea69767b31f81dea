#pragma once

namespace Kvex::Nav {

/// The rate of change of a value: its first difference against time.
class RateEstimator {
 public:
  /// Takes the sample `x` at the time `t` (seconds). A sample whose predecessor is less than half a millisecond older
  /// (or is no real time) gives no rate.
  void step(double t, double x);

  /// Whether the last sample gave a rate.
  bool ready() const { return ready_; }
  /// The last rate, per second.
  double rate() const { return rate_; }

 private:
  double t_ = -1.0;
  double x_ = -1.0;
  double rate_ = 0.0;
  bool ready_ = false;
};

}  // namespace Kvex::Nav
