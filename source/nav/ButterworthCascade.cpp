#include "nav/ButterworthCascade.h"

#include <cmath>
#include <numbers>

namespace Kvex::Nav {

void ButterworthCascade::configure(std::uint8_t type, std::uint8_t order, double frequency) {
  if (!(frequency > 0.0) || order == 0 || order % 2 != 0 || type == kInvalidType || type == kUnknownType) return;
  if (type == type_ && order == order_ && frequency == frequency_) return;
  type_ = type;
  order_ = order;
  frequency_ = frequency;
  output_ = -1.0;
  ready_ = false;
  if (type != kButterworth) return;

  stages_.resize(order / 2);
  for (std::size_t k = 0; k < stages_.size(); ++k) {
    // The poles of a Butterworth filter stand evenly on a half circle.
    const double angle = static_cast<double>(order + 2 * k + 1) * std::numbers::pi / (2.0 * order);
    stages_[k].configure(frequency, -std::cos(angle));
  }
}

void ButterworthCascade::step(double t, double x) {
  ready_ = false;
  for (BiquadFilter& stage : stages_) {
    stage.step(t, x);
    ready_ = stage.ready();
    if (ready_) x = stage.output();
  }
  if (ready_) output_ = x;
}

}  // namespace Kvex::Nav
