#include "nav/RateEstimator.h"

namespace Kvex::Nav {

namespace {

constexpr double kShortestStep = 0.0005;

}  // namespace

void RateEstimator::step(double t, double x) {
  ready_ = t_ > 0.0 && t > 0.0 && t - t_ >= kShortestStep;
  if (ready_) rate_ = (x - x_) / (t - t_);
  t_ = t;
  x_ = x;
}

}  // namespace Kvex::Nav
