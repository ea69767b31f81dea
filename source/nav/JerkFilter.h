#pragma once

#include "nav/ButterworthCascade.h"
#include "nav/MovingAverage.h"

namespace Kvex::Nav {

/// The filter of one axis of jerk. Its output is that of the low-pass; the moving average behind it only says from when
/// on there is one.
struct JerkFilter {
  ButterworthCascade lowPass;
  MovingAverage average;

  void step(double t, double x) {
    lowPass.step(t, x);
    if (lowPass.ready()) average.step(t, lowPass.output());
  }
  bool ready() const { return lowPass.ready() && average.ready(); }
  double output() const { return lowPass.output(); }
};

}  // namespace Kvex::Nav
