#pragma once

#include <optional>

namespace Kvex::Nav {

/// The distance travelled at a speed that is sampled, by the trapezoidal rule. While there are no samples it pauses,
/// and one trapezoid spans the gap.
class DistanceIntegrator {
 public:
  /// Takes the speed (m/s) at the time `t` (seconds); returns the distance up to there in metres, 0 for the first one.
  double step(double t, double speed);

  /// The distance at `t` without taking the speed in; none before the first step.
  std::optional<double> peek(double t, double speed) const;

 private:
  bool started_ = false;
  double lastTime_ = 0.0;
  double lastSpeed_ = 0.0;
  double sum_ = 0.0;
};

}  // namespace Kvex::Nav
