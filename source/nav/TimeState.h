#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "library/NavField.h"

namespace Kvex::Nav {

using Lib::kNoTime;

/// The times that a stream's time signals count from; `kNoTime` until known.
struct TimeReferences {
  Lib::Nano origin = kNoTime;  ///< `start`, rounded to a whole second.
  Lib::Nano start = kNoTime;   ///< Time of the very first packet, found by counting back.
  Lib::Nano first = kNoTime;   ///< Time of the first packet that had a time of its own.
  Lib::Nano init = kNoTime;    ///< Time of the first packet in which the unit was initialised.
};

/// What the first pass over a stream finds: where its time starts, and the first known values.
struct ScanResult {
  TimeReferences references;
  std::int32_t firstMilliseconds = -1;  ///< The clock at the first timed packet.
  std::int32_t firstMinute = -1;
  std::optional<std::int32_t> utcOffset;          ///< Seconds.
  std::optional<std::array<double, 3>> position;  ///< `Lat`, `Lon` in degrees, `Alt` in metres.
  std::optional<std::array<double, 3>> velocity;  ///< `Vn`, `Ve`, `Vd` in m/s.
  std::optional<std::array<double, 3>> attitude;  ///< `Heading`, `Pitch`, `Roll` in degrees.
  std::optional<std::array<double, 3>> imu2Veh;   ///< `Imu2VehHeading`, `...Pitch`, `...Roll` in degrees.
};

/// Where a decoder stands with the time of its stream.
enum class TimeMode : std::int32_t {
  Searching = 0,    ///< No first pass has found references: each packet updates them as it comes.
  Running = 1,      ///< All references known.
  FirstPass = 2,    ///< The first pass is reading.
  BackFilling = 3,  ///< References known; packets ahead of the first timed one get a time by counting back from it.
  Filled = 4,       ///< Plain running after a back-fill.
};

/// The time keeping of a decoder. A packet brings no more than the milliseconds into the current GPS minute; the minute
/// itself comes on a status channel now and then.
struct TimeState {
  explicit TimeState(bool scanFirst)
      : scanActive(scanFirst), mode(scanFirst ? TimeMode::FirstPass : TimeMode::Searching) {}

  TimeReferences references;
  bool scanActive;
  TimeMode mode;
  Lib::Nano packetPeriod = kNoTime;  ///< Nanoseconds between two packets; negative in data that runs backwards.
  std::int64_t untimedIndex = 0;     ///< Number of the latest packet that had no time.
  std::int64_t untimedCount = 0;     ///< Packets ahead of the first timed one; while back-filling, those still to come.
  std::int64_t scanUntimedCount = 0;  ///< `untimedCount` as the first pass left it.
  std::int64_t uninitIndex = 0;       ///< The same for the packets ahead of the first initialised one.
  std::int64_t uninitCount = 0;
  ScanResult scan;
  std::int32_t minuteCounter = -1;     ///< GPS minutes since GPS time zero; negative until known.
  std::int32_t lastMilliseconds = -1;  ///< Millisecond word of the last packet that had one.

  /// Counts a packet that comes before its stream's first time, or before the unit is initialised.
  void countUntimed(const TimeReferences& known);
  /// Moves the clock to a packet's millisecond word and gives the packet's time; none while the minute is not known.
  std::optional<Lib::Nano> clockTime(std::int32_t milliseconds);
  /// Fills in what `target` still lacks and this packet's time tells.
  void recordReferences(TimeReferences& target, Lib::Nano packetTime, bool initialised);
  /// The time of the next packet while back-filling; none where it can not be told. Ends the back-fill with the last
  /// packet ahead of the first timed one.
  std::optional<Lib::Nano> backFill();
  /// Ends a first pass and sets up for a new pass over the same packets, from the references of the first pass.
  void restart();
};

}  // namespace Kvex::Nav
