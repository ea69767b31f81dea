#pragma once

#include "library/ByteView.h"
#include "nav/NavState.h"

namespace Kvex::Nav {

// What channels say beyond rows of fields. A handler runs after the rows of its channel; `bytes` are the eight bytes of
// the channel.

// Time and events.
void readMinute(NavState& state, Lib::ByteView bytes);
void readWheelCount(NavState& state, Lib::ByteView bytes);

/// The channels of the trigger events, in the order of `ChannelState::eventNumbers`.
inline constexpr std::array<std::uint8_t, ChannelState::kEventCount> kEventChannels{24, 43, 65, 79, 80, 81};
void readEvent(NavState& state, Lib::ByteView bytes, std::size_t event);

// What the unit is and how it is doing.
void readDeviceId(NavState& state, Lib::ByteView bytes);
void readScriptId(NavState& state, Lib::ByteView bytes);
void readHardware(NavState& state, Lib::ByteView bytes);
void readCalibrationDate(NavState& state, Lib::ByteView bytes);
void readImuParts(NavState& state, Lib::ByteView bytes);
void readLoad(NavState& state, Lib::ByteView bytes);

// Satellite navigation.
void readBaseStation(NavState& state, Lib::ByteView bytes);
void readDilution(NavState& state, Lib::ByteView bytes);
void readOmniStarSerial(NavState& state, Lib::ByteView bytes);
void readServices(NavState& state, Lib::ByteView bytes);
void readWideAntenna(NavState& state, Lib::ByteView bytes);

// Reference frame.
void readFramePosition(NavState& state, Lib::ByteView bytes);
void readFrameHeading(NavState& state, Lib::ByteView bytes);
void readFrameOffset(NavState& state, Lib::ByteView bytes);

// Filters.
void readAngAccFilter(NavState& state, Lib::ByteView bytes);
void readLinAccFilter(NavState& state, Lib::ByteView bytes);
void readLinJerkFilter(NavState& state, Lib::ByteView bytes);

}  // namespace Kvex::Nav
