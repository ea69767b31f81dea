#pragma once

#include "library/ByteView.h"
#include "range/RangeState.h"

namespace Kvex::Rng {

using Lib::ByteView;

/// Takes outline points of the hunter or of a target into the record. The points come in pieces: those that a packet
/// does not hold stay, and points beyond the list are lost. A packet that is too short for its points is dropped.
void decodePolygon(RangeState& state, ByteView packet);

/// Takes sensor points of the hunter into the record, in the same way.
void decodeSensors(RangeState& state, ByteView packet);

}  // namespace Kvex::Rng
