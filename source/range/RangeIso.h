#pragma once

#include <cstddef>

#include "range/RangeState.h"

namespace Kvex::Rng {

// The mirror of the decoded and derived values in ISO axes, where the lateral direction and the angles about it have
// the other sign. A copy is the whole field: value, flags and stamp; where the sign turns, the marks of the low and the
// high end change places.

/// The ISO fields of a target and of the hunter.
void copyToIso(RangeState& state, std::size_t target);

/// The ISO fields of the lanes.
void copyLaneToIso(RangeState& state);

}  // namespace Kvex::Rng
