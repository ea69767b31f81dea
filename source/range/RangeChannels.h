#pragma once

#include <cstddef>

#include "range/RangePacket.h"
#include "range/RangeState.h"
#include "range/RangeTimeState.h"

namespace Kvex::Rng {

/// Decodes the slow data of a timed packet: its channel id and the eight bytes that follow. Every group of the channel
/// that nobody wants is marked, whatever the state says. An id that the packet's type does not have writes nothing.
void decodeChannel(RangeState& state, RangeTimeState& clock, const PacketHead& head, ByteView packet);

}  // namespace Kvex::Rng
