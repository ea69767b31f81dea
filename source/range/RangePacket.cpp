#include "range/RangePacket.h"

#include "library/Checksum.h"
#include "range/RangeRecord.h"

namespace Kvex::Rng {

namespace {

constexpr std::size_t kChannelSize = 9;

std::optional<PacketHead> timedHead(ByteView packet, PacketType type, std::uint8_t channelOffset) {
  if (packet.size() < channelOffset + kChannelSize) return std::nullopt;
  return PacketHead{.type = type, .target = 0, .channelOffset = channelOffset};
}

std::optional<PacketHead> longHead(ByteView packet) {
  std::optional<PacketHead> head = timedHead(packet, PacketType::Long, 41);
  const std::uint8_t number = packet.u8(6);
  if (!head || number < 1 || number > kTargets || packet.u8(7) > kTargets) return std::nullopt;
  head->target = number - 1;
  return head;
}

}  // namespace

Frame checkFrame(ByteView bytes) {
  if (bytes.size() < kFrameHead) return {};
  if (bytes.u8(0) != kFrameSync) return {FrameCheck::Bad, 0};
  const std::size_t size = frameSize(bytes);
  if (bytes.size() < size) return {FrameCheck::Incomplete, size};
  const bool good = Lib::byteSum(bytes.data() + 1, size - 2) == bytes.u8(size - 1);
  return {good ? FrameCheck::Good : FrameCheck::Bad, size};
}

std::optional<PacketHead> readHead(ByteView packet) {
  const auto type = static_cast<PacketType>(packet.u8(1));
  switch (type) {
    case PacketType::Short:
      return timedHead(packet, type, 37);
    case PacketType::Lane:
      return timedHead(packet, type, 49);
    case PacketType::Long:
      return longHead(packet);
    case PacketType::Source:
    case PacketType::Polygon:
    case PacketType::Sensors:
      return PacketHead{.type = type};
  }
  return std::nullopt;
}

}  // namespace Kvex::Rng
