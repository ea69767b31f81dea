#pragma once

#include <cstddef>

#include "range/RangeState.h"

namespace Kvex::Rng {

// What the decoder works out by itself from what the packets bring. No step fails: an input that is missing leaves the
// old value in the result and marks it. A group that nobody wants is marked, or copied into its ISO form, only while
// the state says so (`markUnwanted`).

/// Resultant range and its angle, resultant rate, times to impact from range and rate. For short and long packets, once
/// the target's range and rate fields are decoded.
void deriveRanges(RangeState& state, std::size_t target);

/// Time gap, resultant acceleration, times to impact with acceleration. For long packets, once the hunter's velocity
/// and the range accelerations are decoded.
void deriveMotion(RangeState& state, std::size_t target);

/// Rotations between the frames, local frame positions, nearest points, sensor regions, ISO copies and parking
/// quantities. For long packets, once everything else in the packet is decoded.
void deriveGeometry(RangeState& state, std::size_t target);

/// ISO copies of the lane fields. For lane reports, at the end.
void deriveLane(RangeState& state);

}  // namespace Kvex::Rng
