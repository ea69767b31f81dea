#include "synth/RangePackets.h"

#include <algorithm>
#include <cmath>

#include "library/Checksum.h"

namespace Kvex::Synth {

namespace {

constexpr std::size_t kPointsOffset = 10;
constexpr std::uint8_t kFullBit = 0x40;
constexpr std::uint8_t kWideBit = 0x80;

RangePacket points(std::uint8_t type, std::uint8_t vehicle, std::uint8_t total, std::uint8_t first, std::size_t count,
                   std::size_t elementSize, PointForm form) {
  RangePacket packet(type, kPointsOffset + count * elementSize + 1);
  const std::size_t descriptor = (count - 1) | (form.full ? kFullBit : 0U) | (form.wide ? kWideBit : 0U);
  return packet.put(6, vehicle, 1).put(7, total, 1).put(8, first, 1).put(9, descriptor, 1);
}

}  // namespace

RangePacket::RangePacket(std::uint8_t type, std::size_t size) : bytes_(size) {
  put(0, 'W', 1).put(1, type, 1).put(2, size - 4, 2);
}

RangePacket RangePacket::longForm(std::uint8_t number, std::uint8_t total, std::size_t size) {
  return RangePacket(2, size).put(6, number, 1).put(7, total, 1);
}

RangePacket RangePacket::source(std::uint32_t address, std::uint8_t port, std::span<const std::uint8_t> navPacket) {
  RangePacket packet(3, 10 + navPacket.size());
  packet.put(4, address, 4).put(8, port, 1);
  std::ranges::copy(navPacket, packet.bytes_.begin() + 9);
  return packet;
}

RangePacket RangePacket::polygon(std::uint8_t vehicle, std::uint8_t total, std::uint8_t first,
                                 std::span<const OutlinePoint> outline, PointForm form) {
  const std::size_t width = form.wide ? 3 : 2;
  const std::size_t elementSize = width * (form.full ? 3 : 2);
  const double scale = form.wide ? 1e-4 : 1e-3;
  RangePacket packet = points(5, vehicle, total, first, outline.size(), elementSize, form);
  std::size_t offset = kPointsOffset;
  for (const OutlinePoint& point : outline) {
    packet.putSigned(offset, point.lon, scale, width).putSigned(offset + width, point.lat, scale, width);
    offset += elementSize;
  }
  return packet;
}

RangePacket RangePacket::sensors(std::uint8_t total, std::uint8_t first, std::span<const SensorPoint> sensorPoints,
                                 PointForm form) {
  const std::size_t width = form.wide ? 3 : 2;
  const std::size_t elementSize = width * (form.full ? 10 : 7) + 8;
  const double lengthScale = form.wide ? 1e-4 : 1e-3;
  const double angleScale = form.wide ? 1e-4 : 1e-2;
  RangePacket packet = points(6, 0, total, first, sensorPoints.size(), elementSize, form);
  std::size_t offset = kPointsOffset;
  const auto putSigned = [&](double value, double scale) {
    packet.putSigned(offset, value, scale, width);
    offset += width;
  };
  const auto putUnsigned = [&](double value, double scale) {
    packet.putUnsigned(offset, value, scale, width);
    offset += width;
  };
  for (const SensorPoint& point : sensorPoints) {
    putSigned(point.place.lon, lengthScale);
    putSigned(point.place.lat, lengthScale);
    if (form.full) putSigned(0, lengthScale);
    putUnsigned(point.heading, angleScale);
    if (form.full) putUnsigned(0, angleScale);
    if (form.full) putUnsigned(0, angleScale);
    putUnsigned(point.fovHoriz, angleScale);
    putUnsigned(point.fovVert, angleScale);
    putUnsigned(point.rangeMin, lengthScale);
    putUnsigned(point.rangeMax, lengthScale);
    packet.put(offset, point.id, 8);
    offset += 8;
  }
  return packet;
}

RangePacket& RangePacket::put(std::size_t offset, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size && offset + i < bytes_.size(); ++i) {
    bytes_[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
  return *this;
}

RangePacket& RangePacket::putSigned(std::size_t offset, double value, double scale, std::size_t size) {
  const double limit = std::exp2(8.0 * static_cast<double>(size) - 1) - 1;
  const double raw = std::clamp(std::round(value / scale), -limit, limit);
  return put(offset, static_cast<std::uint64_t>(static_cast<std::int64_t>(raw)), size);
}

RangePacket& RangePacket::putUnsigned(std::size_t offset, double value, double scale, std::size_t size) {
  const double limit = std::exp2(8.0 * static_cast<double>(size)) - 2;
  return put(offset, static_cast<std::uint64_t>(std::clamp(std::round(value / scale), 0.0, limit)), size);
}

RangePacket& RangePacket::time(Lib::Nano time) {
  constexpr Lib::Nano kMillisecond = 1'000'000;
  return put(4, static_cast<std::uint64_t>(time / kMillisecond % 60'000), 2);
}

RangePacket& RangePacket::channel(std::uint8_t id, const ChannelBytes& data) {
  constexpr std::array<std::size_t, 3> kOffsets = {37, 49, 41};  // by packet type
  if (bytes_[1] >= kOffsets.size()) return *this;
  std::size_t offset = kOffsets[bytes_[1]];
  put(offset, id, 1);
  for (const std::uint8_t byte : data.bytes()) put(++offset, byte, 1);
  return *this;
}

std::span<const std::uint8_t> RangePacket::bytes() {
  bytes_.back() = Lib::byteSum(bytes_.data() + 1, bytes_.size() - 2);
  return bytes_;
}

}  // namespace Kvex::Synth
