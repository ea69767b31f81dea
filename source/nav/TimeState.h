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
  using Triple = std::array<double, 3>;

  TimeReferences references;
  std::int32_t firstMilliseconds = -1;    ///< The clock at the first timed packet.
  std::int32_t firstMinute = -1;          ///< The same.
  std::optional<std::int32_t> utcOffset;  ///< Seconds.
  std::optional<Triple> position;         ///< `Lat`, `Lon` in degrees, `Alt` in metres.
  std::optional<Triple> velocity;         ///< `Vn`, `Ve`, `Vd` in m/s.
  std::optional<Triple> attitude;         ///< `Heading`, `Pitch`, `Roll` in degrees.
  std::optional<Triple> imu2Veh;          ///< `Imu2VehHeading`, `Imu2VehPitch`, `Imu2VehRoll` in degrees.
};

/// Where a decoder stands with the time of its stream.
enum class TimeMode : std::uint8_t {
  Searching = 0,    ///< No first pass has found references: each packet adds to them as it comes.
  Running = 1,      ///< All references known.
  FirstPass = 2,    ///< The first pass is reading.
  BackFilling = 3,  ///< References known; packets ahead of the first timed one get a time by counting back from it.
  Filled = 4,       ///< Plain running after a back-fill.
};

/// The time keeping of a decoder. A packet brings no more than the milliseconds into the current GPS minute; the minute
/// itself comes on a status channel now and then. Times wrap around where raw data drives them out of range.
struct TimeState {
  explicit TimeState(bool scanFirst) : mode(scanFirst ? TimeMode::FirstPass : TimeMode::Searching) {}

  TimeMode mode;
  TimeReferences references;
  Lib::Nano packetPeriod = kNoTime;   ///< Nanoseconds between two packets; negative in data that runs backwards.
  std::int64_t untimedIndex = 0;      ///< Number of the latest packet that had no time.
  std::int64_t untimedCount = 0;      ///< Packets ahead of the first timed one; those still to come in a back-fill.
  std::int64_t scanUntimedCount = 0;  ///< `untimedCount` as the first pass left it.
  std::int64_t uninitIndex = 0;       ///< The same pair for the packets ahead of the first initialised one.
  std::int64_t uninitCount = 0;
  ScanResult scan;
  std::int32_t minuteCounter = -1;     ///< GPS minutes since GPS time zero; negative until known.
  std::int32_t lastMilliseconds = -1;  ///< Millisecond word of the last packet that had one.

  /// Counts a packet, as long as `known` lacks the time of the first timed or of the first initialised one.
  void countPacket(const TimeReferences& known);
  /// Moves the clock to a packet's millisecond word and gives the packet's time; none while the minute is not known.
  std::optional<Lib::Nano> clockTime(std::int32_t milliseconds);
  /// Fills in what `known` lacks and this packet's time tells.
  void addReferences(TimeReferences& known, Lib::Nano packetTime, bool initialised) {
    addFirst(known, packetTime);
    addStart(known);
    addInit(known, packetTime, initialised);
  }
  /// The time of a packet ahead of the first timed one; none where the packets' period is not known. The last of these
  /// packets ends the back-fill.
  std::optional<Lib::Nano> backFill();
  /// Begins a new pass over the packets that the first pass has read.
  void restart();

 private:
  void addFirst(TimeReferences& known, Lib::Nano packetTime);
  void addStart(TimeReferences& known) const;
  void addInit(TimeReferences& known, Lib::Nano packetTime, bool initialised) const;
};

}  // namespace Kvex::Nav
