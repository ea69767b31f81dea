#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "library/NavField.h"
#include "synth/NavPackets.h"

namespace Kvex::Synth {

/// How points of outlines and sensors are laid into a packet.
struct PointForm {
  bool full = false;  ///< Outlines: a third value per point. Sensors: height, pitch and roll too.
  bool wide = false;  ///< 24-bit values in place of 16-bit ones.
};

/// A point of a vehicle's outline, in metres ahead of and to the right of its origin.
struct OutlinePoint {
  double lon;
  double lat;
};

/// A sensor of the hunter. Lengths in metres, angles in degrees.
struct SensorPoint {
  OutlinePoint place;
  double heading = 0;
  double fovHoriz = 60;
  double fovVert = 20;
  double rangeMin = 0.5;
  double rangeMax = 80;
  std::uint64_t id = 0;
};

/// One packet of the range protocol. All bytes behind the head are zero at first.
class RangePacket {
 public:
  /// Sizes of a lane report and of a long packet that hold everything.
  static constexpr std::size_t kFullLane = 133;
  static constexpr std::size_t kFullLong = 187;

  /// `size` is that of the whole packet, check byte included.
  RangePacket(std::uint8_t type, std::size_t size);

  static RangePacket shortForm() { return {0, 47}; }
  static RangePacket lane(std::size_t size = kFullLane) { return {1, size}; }
  /// `number` is that of the target, from 1.
  static RangePacket longForm(std::uint8_t number, std::uint8_t total, std::size_t size = kFullLong);
  /// A navigation packet of a source.
  static RangePacket source(std::uint32_t address, std::uint8_t port, std::span<const std::uint8_t> navPacket);
  /// Points of a vehicle's outline, 1 to 64: of the hunter (0) or of a target (from 1).
  static RangePacket polygon(std::uint8_t vehicle, std::uint8_t total, std::uint8_t first,
                             std::span<const OutlinePoint> points, PointForm form = {});
  /// The hunter's sensors, 1 to 16.
  static RangePacket sensors(std::uint8_t total, std::uint8_t first, std::span<const SensorPoint> points,
                             PointForm form = {});

  /// The millisecond word from a GPS time.
  RangePacket& time(Lib::Nano time);
  /// The word that says that there is no time.
  RangePacket& untimed() { return put(4, 65535, 2); }
  /// The status channel, where the packet's type has one.
  RangePacket& channel(std::uint8_t id, const ChannelBytes& data);
  /// Raw bytes at an offset from the sync byte; what lies beyond the packet is dropped.
  RangePacket& put(std::size_t offset, std::uint64_t value, std::size_t size);
  /// A number in steps of `scale`, cut to the range of a signed raw value of `size` bytes.
  RangePacket& putSigned(std::size_t offset, double value, double scale, std::size_t size);
  /// The same, unsigned.
  RangePacket& putUnsigned(std::size_t offset, double value, double scale, std::size_t size);

  /// The whole packet with its check byte.
  std::span<const std::uint8_t> bytes();

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace Kvex::Synth
