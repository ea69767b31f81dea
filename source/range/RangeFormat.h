#pragma once

#include <cstddef>
#include <cstdint>

#include "range/RangePacket.h"
#include "store/ResourceRng.h"

namespace Kvex::Rng {

/// How a file of bare range packets is laid out: frames, of which those of one type wrap a navigation packet of a
/// source.
struct RangeFormat {
  static constexpr auto kSourceType = static_cast<std::uint32_t>(PacketType::Source);
  static constexpr Lib::StreamCodec kSourceCodec = Lib::StreamCodec::Quon;

  static Sto::Frame inspect(const std::uint8_t* bytes, std::size_t available) {
    using State = Sto::Frame::State;
    if (available == 0) return {State::Partial};
    if (bytes[0] != kFrameSync) return {State::Failed};
    if (available < kFrameHead) return {State::Partial};
    const Lib::ByteView frame(bytes, available);
    const auto size = static_cast<std::uint32_t>(frameSize(frame));
    if (size > Sto::kScanWindow) return {State::Failed};
    return Sto::summedFrame(bytes, available, frame.u8(1), size);
  }

  /// The source that a wrapped packet comes from: its address, or its provenance if the address is 0.
  static std::uint32_t sourceId(Lib::ByteView packet) {
    const std::uint32_t address = packet.u32(kFrameHead);
    return address != 0 ? address : packet.u8(kFrameHead + 4);
  }

  /// A wrapped packet without the head of the frame and the check byte.
  static Lib::ByteView unwrap(Lib::ByteView packet) {
    return packet.from(kFrameHead, packet.size() < kFrameHead + 1 ? 0 : packet.size() - kFrameHead - 1);
  }
};

using ResourceRng = Sto::ResourceRng<RangeFormat>;

}  // namespace Kvex::Rng
