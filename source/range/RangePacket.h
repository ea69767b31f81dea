#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "library/ByteView.h"

namespace Kvex::Rng {

using Lib::ByteView;

/// What a packet of the range protocol carries.
enum class PacketType : std::uint8_t {
  Short = 0,    ///< One target, short form: always the first target.
  Lane = 1,     ///< Lane report.
  Long = 2,     ///< One target, long form.
  Source = 3,   ///< A navigation packet of one source.
  Polygon = 5,  ///< Outline points of the hunter or of a target.
  Sensors = 6,  ///< Sensor points of the hunter.
};

/// A frame begins with this byte; the four bytes of its head do not count in the length that stands in them.
inline constexpr std::uint8_t kFrameSync = 'W';
inline constexpr std::size_t kFrameHead = 4;
/// A recorded packet stands behind this many bytes.
inline constexpr std::size_t kRecordHead = 8;

/// The whole size of a frame, by the length in its head.
inline std::size_t frameSize(ByteView head) {
  return head.u16(2) + kFrameHead;
}

enum class FrameCheck : std::uint8_t {
  Good = 0,
  Incomplete = 1,  ///< More bytes are needed.
  Bad = 2,         ///< No frame begins here.
};

/// A frame: "W", the type, the size of what follows as 16 bits, the body, and a check byte that is the sum of all bytes
/// between the first and itself.
struct Frame {
  FrameCheck check = FrameCheck::Incomplete;
  std::size_t size = 0;  ///< Whole size in bytes; 0 while it is not known.
};

/// Looks for a frame at the front of `bytes`.
Frame checkFrame(ByteView bytes);

/// What a packet says about its place in the stream.
struct PacketHead {
  PacketType type;
  std::uint8_t target = 0;         ///< From 0; 0 in packets of no target.
  std::uint8_t channelOffset = 0;  ///< Offset of the channel id, which eight bytes of data follow; 0 without a channel.

  /// Whether the packet has a millisecond word, and so takes part in the clock.
  bool isTimed() const { return channelOffset != 0; }
  /// Number of the pair of type and target, for timed packets: 0 to 15.
  std::size_t pair() const { return static_cast<std::size_t>(type) * 4 + target; }
};

/// Reads the head of a packet. None for a packet that is dropped as a whole: an unknown type, fewer bytes than its
/// fixed part, a target number outside 1 to 4 or a total of targets above 4.
std::optional<PacketHead> readHead(ByteView packet);

}  // namespace Kvex::Rng
