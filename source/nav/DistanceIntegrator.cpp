#include "nav/DistanceIntegrator.h"

namespace Kvex::Nav {

double DistanceIntegrator::step(double t, double speed) {
  sum_ = peek(t, speed).value_or(0.0);
  started_ = true;
  lastTime_ = t;
  lastSpeed_ = speed;
  return sum_;
}

std::optional<double> DistanceIntegrator::peek(double t, double speed) const {
  if (!started_) return {};
  return sum_ + (lastSpeed_ + speed) * 0.5 * (t - lastTime_);
}

}  // namespace Kvex::Nav
