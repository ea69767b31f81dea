#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "nav/StreamClock.h"

namespace Kvex::Nav {

/// The references of a navigation stream.
struct NavTimeReferences : TimeReferences {
  Lib::Nano init = kNoTime;  ///< Time of the first packet in which the unit was initialised.
};

/// What the first pass over a stream finds: where its time starts, and the first known values.
struct ScanResult {
  using Triple = std::array<double, 3>;

  NavTimeReferences references;
  UnitClock firstClock;                   ///< The clock at the first timed packet.
  std::optional<std::int32_t> utcOffset;  ///< Seconds.
  std::optional<Triple> position;         ///< `Lat`, `Lon` in degrees, `Alt` in metres.
  std::optional<Triple> velocity;         ///< `Vn`, `Ve`, `Vd` in m/s.
  std::optional<Triple> attitude;         ///< `Heading`, `Pitch`, `Roll` in degrees.
  std::optional<Triple> imu2Veh;          ///< `Imu2VehHeading`, `Imu2VehPitch`, `Imu2VehRoll` in degrees.
};

/// The time keeping of a decoder. Times wrap around where raw data drives them out of range.
struct TimeState {
  explicit TimeState(bool scanFirst) : mode(scanFirst ? TimeMode::FirstPass : TimeMode::Searching) {}

  TimeMode mode;
  NavTimeReferences references;
  Lib::Nano packetPeriod = kNoTime;   ///< Nanoseconds between two packets; negative in data that runs backwards.
  std::int64_t untimedIndex = 0;      ///< Number of the latest packet that had no time.
  std::int64_t untimedCount = 0;      ///< Packets ahead of the first timed one; those still to come in a back-fill.
  std::int64_t scanUntimedCount = 0;  ///< `untimedCount` as the first pass left it.
  std::int64_t uninitIndex = 0;       ///< The same pair for the packets ahead of the first initialised one.
  std::int64_t uninitCount = 0;
  ScanResult scan;
  UnitClock clock;

  /// Counts a packet, as long as `known` lacks the time of the first timed or of the first initialised one.
  void countPacket(const NavTimeReferences& known);
  /// Moves the clock to a packet's milliseconds and returns the packet's time, if it has one.
  std::optional<Lib::Nano> advance(std::uint16_t milliseconds);
  /// Fills in what `known` lacks and this packet's time gives.
  void addReferences(NavTimeReferences& known, Lib::Nano packetTime, bool initialised) {
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
  void addFirst(NavTimeReferences& known, Lib::Nano packetTime);
  void addStart(NavTimeReferences& known) const;
  void addInit(NavTimeReferences& known, Lib::Nano packetTime, bool initialised) const;
};

}  // namespace Kvex::Nav
