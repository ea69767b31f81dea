#include "nav/BiquadFilter.h"

#include <cmath>
#include <numbers>

namespace Kvex::Nav {

namespace {

/// Three samples count as evenly spaced when their two intervals differ by less than this part.
constexpr double kEvenSpacing = 0.01;

void shift(double (&history)[3], double newest) {
  history[2] = history[1];
  history[1] = history[0];
  history[0] = newest;
}

}  // namespace

void BiquadFilter::configure(double frequency, double damping) {
  if (!(frequency > 0.0 && damping > 0.0)) return;
  if (frequency == cutOff_ && damping == damping_) return;
  cutOff_ = frequency;
  damping_ = damping;
  design();
}

void BiquadFilter::step(double t, double x) {
  shift(t_, t);
  shift(x_, x);
  shift(y_, y_[0]);
  if (ready_) {
    y_[0] = response();
  } else {
    design();
  }
}

double BiquadFilter::response() const {
  return b0_ * x_[0] + b1_ * x_[1] + b2_ * x_[2] - a1_ * y_[1] - a2_ * y_[2];
}

void BiquadFilter::design() {
  if (t_[2] < 0.0 || t_[1] < 0.0 || t_[0] < 0.0 || !(cutOff_ > 0.0 && damping_ > 0.0)) return;
  ready_ = false;
  const double newer = t_[0] - t_[1];
  const double older = t_[1] - t_[2];
  if (!(newer > 0.0 && older > 0.0 && std::abs(older / newer - 1.0) < kEvenSpacing)) return;
  const double sampleRate = 2.0 / (newer + older);
  if (!(cutOff_ / sampleRate < 0.5)) return;

  // Bilinear transform of the analogue low-pass, pre-warped at the cut-off.
  const double k = std::tan(std::numbers::pi * cutOff_ / sampleRate);
  const double quality = 0.5 / damping_;
  const double norm = k / quality + k * k + 1.0;
  b0_ = k * k / norm;
  b1_ = 2.0 * k * k / norm;
  b2_ = b0_;
  a1_ = 2.0 * (k * k - 1.0) / norm;
  a2_ = (k * k - k / quality + 1.0) / norm;

  y_[2] = x_[2];
  y_[1] = b0_ * x_[1] + b1_ * x_[2] + b2_ * x_[2] - a1_ * x_[2] - a2_ * x_[2];
  y_[0] = response();
  ready_ = true;
}

}  // namespace Kvex::Nav
