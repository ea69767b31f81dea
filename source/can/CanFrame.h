#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "library/ByteView.h"
#include "library/NavField.h"

namespace Kvex::Can {

/// A packet of a recorded bus: one time in its first eight bytes, and frames up to its end.
inline constexpr std::size_t kPacketTimeSize = 8;

/// The frame's leading bytes: flags and length code, a 24-bit number, the id.
inline constexpr std::size_t kFrameHeadSize = 8;

inline constexpr std::size_t kMaxFrameLength = 64;

/// Data lengths by length code.
inline constexpr std::array<std::uint8_t, 16> kFrameLengths = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};

/// The bytes that the data of a frame takes in a packet.
constexpr std::size_t paddedLength(std::size_t length) {
  return std::max<std::size_t>(8, length);
}

/// The time of a packet; `Lib::kNoTime` for one that is too short to have a time.
inline Lib::Nano packetTime(Lib::ByteView packet) {
  return packet.size() < kPacketTimeSize ? Lib::kNoTime : packet.s64(0);
}

/// Calls `visitor(id, data)` for the frame at `position` of a packet, and gives where the next one begins; the packet's
/// size or more at its end. Data cut off by the packet's end comes shorter than its length code says; a frame whose
/// leading bytes are cut off is left out.
template <class Visitor>
std::size_t readFrame(Lib::ByteView packet, std::size_t position, Visitor&& visitor) {
  if (!packet.holds(position, kFrameHeadSize)) return packet.size();
  const std::size_t length = kFrameLengths[packet.u8(position) >> 4];
  visitor(packet.u32(position + 4), packet.from(position + kFrameHeadSize, length));
  return position + kFrameHeadSize + paddedLength(length);
}

/// Calls `visitor(id, data)` for each frame of a packet.
template <class Visitor>
void forEachFrame(Lib::ByteView packet, Visitor&& visitor) {
  for (std::size_t position = kPacketTimeSize; position < packet.size();) {
    position = readFrame(packet, position, visitor);
  }
}

/// A frame's data, followed by zeros up to the longest frame, with a margin of zeros on both sides: any signal can be
/// read with whole words and without a test of the frame's length.
class CanFrameData {
 public:
  static constexpr std::size_t kMargin = 8;

  /// Takes over a frame's data, at most `kMaxFrameLength` bytes.
  void assign(Lib::ByteView data) {
    const std::size_t length = std::min(data.size(), kMaxFrameLength);
    if (length == sizeof(std::uint64_t)) {
      // Nearly all frames: one move instead of a call.
      std::memcpy(frame(), data.data(), sizeof(std::uint64_t));
    } else if (length > 0) {
      std::memcpy(frame(), data.data(), length);
    }
    if (length < length_) std::memset(frame() + length, 0, length_ - length);
    length_ = length;
  }

  /// The margin before the frame's data; byte i of the data stands at `kMargin` + i.
  const std::uint8_t* bytes() const { return bytes_.data(); }

 private:
  std::uint8_t* frame() { return bytes_.data() + kMargin; }

  alignas(8) std::array<std::uint8_t, kMargin + kMaxFrameLength + kMargin> bytes_{};
  std::size_t length_ = 0;
};

}  // namespace Kvex::Can
