#pragma once

#include "range/RangeState.h"

namespace Kvex::Rng {

// The small words that the derived quantities are told in.

using Scalar = NavField<double>;

constexpr double radians(double degrees) {
  return degrees * 0.017453292519943295;
}
constexpr double degrees(double radians) {
  return radians * 57.29577951308232;
}

/// Whether all these fields hold a value of now, none of them at an end of its range.
template <class... Fields>
bool allUsable(const Fields&... fields) {
  return (fields.usable() && ...);
}

/// Whether one of these fields holds no value of now.
template <class... Fields>
bool anyWithoutValue(const Fields&... fields) {
  return ((fields.flags | ...) & kNoValueBits) != 0;
}

/// Whether one of these fields, which all hold a value, stands at an end of its range.
template <class... Fields>
bool anySaturated(const Fields&... fields) {
  return ((fields.flags | ...) & kSaturationBits) != 0;
}

/// Ends a step that lacks an input: the results keep their old value and are marked.
template <class... Fields>
void setUnavailable(Fields&... fields) {
  (RangeState::mark(fields, Lib::Flag::kNotAvailable), ...);
}

/// An angle, or a difference of two, brought into 0 up to but not including 360 degrees. Raw angles lie less than two
/// turns outside, so that two steps are enough; what is further away stays outside.
constexpr double wrapped360(double degrees) {
  for (int step = 0; step < 2; ++step) {
    if (degrees < 0.0) {
      degrees += 360.0;
    } else if (degrees >= 360.0) {
      degrees -= 360.0;
    }
  }
  return degrees;
}

}  // namespace Kvex::Rng
