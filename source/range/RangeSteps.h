#pragma once

#include "library/Angles.h"
#include "range/RangeState.h"

namespace Kvex::Rng {

// What the steps that work out derived quantities share.

using Lib::allUsable;
using Lib::degrees;
using Lib::radians;
using Scalar = NavField<double>;

/// Whether one of these fields holds no value of now.
template <class... Fields>
bool anyWithoutValue(const Fields&... fields) {
  return !Lib::hasValue((fields.flags | ...));
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

}  // namespace Kvex::Rng
