#pragma once

#include <cstdint>
#include <optional>

#include "library/NavField.h"
#include "library/Wrapping.h"

// The time keeping that the streams of navigation and of range units share.

namespace Kvex::Nav {

using Lib::kNoTime;

/// The times that a stream's time signals count from; `kNoTime` until known.
struct TimeReferences {
  Lib::Nano origin = kNoTime;  ///< `start`, rounded to a whole second.
  Lib::Nano start = kNoTime;   ///< Time of the very first packet, found by counting back from `first`.
  Lib::Nano first = kNoTime;   ///< Time of the first packet that had a time of its own.

  bool known() const { return first != kNoTime; }
};

/// Where a decoder stands with the time of its stream.
enum class TimeMode : std::uint8_t {
  Searching = 0,    ///< No first pass has found references: each packet adds to them as it comes.
  Running = 1,      ///< All references known.
  FirstPass = 2,    ///< The first pass is reading.
  BackFilling = 3,  ///< References known; packets ahead of the first timed one get a time by counting back from it.
  Filled = 4,       ///< Plain running after a back-fill.
};

/// The clock of a unit. A packet brings no more than the milliseconds into the current GPS minute; the minute itself
/// comes on a status channel now and then.
struct UnitClock {
  /// What a packet without time has in the place of its milliseconds.
  static constexpr std::uint16_t kNoMilliseconds = 65535;

  std::int32_t minute = -1;        ///< GPS minutes since GPS time zero; negative until known.
  std::int32_t milliseconds = -1;  ///< Of the last packet that had them; negative before.

  /// Whether a packet with these milliseconds has passed the end of the minute of the one before.
  bool passesMinute(std::uint16_t packetMilliseconds) const {
    constexpr std::int32_t kRollover = 2000;
    return packetMilliseconds < kRollover && milliseconds > kRollover;
  }

  /// Moves to a packet's milliseconds and returns its time; none without milliseconds or while the minute is not known.
  /// Raw minutes can drive the time anywhere: it wraps around.
  std::optional<Lib::Nano> advance(std::uint16_t packetMilliseconds) {
    if (packetMilliseconds == kNoMilliseconds) return std::nullopt;
    // Beyond the last minute that the counter holds it turns negative: the time is unknown again.
    if (minute >= 0 && passesMinute(packetMilliseconds)) minute = minute == INT32_MAX ? -1 : minute + 1;
    milliseconds = packetMilliseconds;
    if (minute < 0) return std::nullopt;
    return Lib::wrappingAdd(Lib::wrappingMultiply(minute, 60 * Lib::kNanosPerSecond),
                            milliseconds * Lib::kNanosPerMillisecond);
  }
};

}  // namespace Kvex::Nav
