#pragma once

#include <cstdint>
#include <optional>

#include "library/ByteView.h"
#include "nav/NavState.h"

namespace Kvex::Nav {

/// Decodes the status channel of a packet into the record, in the way of the state's protocol. `bytes` are the eight
/// bytes behind the channel number. A channel that the protocol does not have does nothing. A signal whose group is not
/// wanted is marked as not available and not decoded; one that the channel has no value for keeps its old value under
/// that mark.
/// Returns the time of the event where the channel reports a trigger event that it has not reported before.
std::optional<Lib::Nano> decodeChannel(NavState& state, std::uint8_t channel, Lib::ByteView bytes);

/// A bit for each field of the channel that keeps its old value since these bytes hold none for it.
std::uint64_t keptFields(std::uint8_t channel, Lib::ByteView bytes);

/// Marks innovations that have not been renewed for a minute as expired.
void expireValues(NavState& state);

}  // namespace Kvex::Nav
