#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "library/NavField.h"
#include "recording/LogicalWriter.h"
#include "synth/NavPackets.h"
#include "synth/RangePackets.h"

namespace Kvex::Synth {

using Com::primaryText;
using Com::StreamForm;

/// One packet of a chase.
struct ChasePacket {
  std::size_t stream;                   ///< Place in `RangeChase::streamForms`: 0 is the range unit.
  Lib::Nano time;                       ///< When it was sent.
  std::span<const std::uint8_t> bytes;  ///< Valid until the next packet.
};

/// A hunter that follows two vehicles to a parking space, or to two side by side: the packets of the range unit, and of
/// the navigation units in the three vehicles, which drive each on a road of its own. A hundred times a second the unit
/// reports all targets and the lanes, once a second the outlines and sensors. The first packets come before the minute
/// is known. The same seed and start give the same packets.
///
/// As a recording:
///
///     for (StreamForm& form : RangeChase::streamForms(300)) writers.push_back(&recording.addStream(form));
///     ...
///     const ChasePacket packet = chase.next();
///     writers[packet.stream]->addLed(packet.bytes);
///
/// As a range file, the bytes of `wrapped(chase.next())` one after the other.
class RangeChase {
 public:
  static constexpr Lib::Nano kPeriod = 10'000'000;  ///< From one report of a target to the next.
  static constexpr std::size_t kMovingTargets = 2;
  static constexpr std::size_t kMaxTargets = 4;

  /// `start` is the time of the first packet, a whole millisecond. From three to four targets.
  RangeChase(std::uint64_t seed, Lib::Nano start, std::size_t targets = 3);

  /// The streams of a recording, with headers that say how they belong together: the range unit's with the serial
  /// `firstSerial`, then those of hunter and moving targets with the serials that follow.
  static std::vector<StreamForm> streamForms(std::uint32_t firstSerial);

  /// The next packet in the order of time.
  ChasePacket next();
  /// A packet as a range file holds it: one of a navigation unit inside a range packet.
  std::span<const std::uint8_t> wrapped(const ChasePacket& packet);

 private:
  /// Where a vehicle is on the ground, in the local frame: metres, and the angle of its course from the X axis to the
  /// left in radians.
  struct Place {
    double x = 0;
    double y = 0;
    double angle = 0;
  };

  static bool isParkingSpace(std::size_t target) { return target >= kMovingTargets; }
  Place placeOf(std::size_t vehicle) const;
  double seconds() const { return static_cast<double>(time_ - start_) / 1e9; }
  std::optional<ChasePacket> navPacket(std::size_t unit);
  RangePacket targetReport(std::size_t target);
  RangePacket laneReport();
  RangePacket outlineReport(std::size_t turn);
  ChannelBytes channelBytes(std::uint8_t id, std::size_t target);
  std::uint8_t nextChannel(std::size_t target) const;
  /// A number from 0 to below `count`.
  std::uint32_t random(std::uint32_t count) { return static_cast<std::uint32_t>(random_() % count); }

  std::mt19937_64 random_;
  std::size_t targets_;
  Lib::Nano start_;
  Lib::Nano time_;
  std::uint64_t cycle_ = 0;
  std::size_t turn_ = 0;  ///< Of those that report within a cycle.
  std::array<NavDrive, 3> units_;
  std::array<bool, 3> unitStarted_{};
  RangePacket packet_;
  RangePacket wrapper_;
};

}  // namespace Kvex::Synth
