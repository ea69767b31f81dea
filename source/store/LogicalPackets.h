#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "store/Logical.h"
#include "store/PacketScanner.h"

namespace Kvex::Sto {

/// A bare protocol file, or the part of it from `start` on. `Selection` says which packets belong to this stream:
/// `bool operator()(type, packet)` may also narrow the packet to the part that the Stream gets.
template <class Framing, class Selection>
class LogicalPackets : public Logical {
 public:
  explicit LogicalPackets(std::string path, std::int64_t start = 0, Selection selection = {})
      : Logical(std::move(path)), start_(start), selection_(std::move(selection)) {
    scanner_.restart(start_);
  }

  void rewind() override { scanner_.restart(start_); }

  bool next(Lib::ByteView& packet) override {
    while (scanner_.next(file_)) {
      packet = scanner_.packet();
      if (selection_(scanner_.type(), packet)) return true;
    }
    return false;
  }

  std::int64_t start() const { return start_; }
  /// Where the packet that `next` gave last lies in the file.
  std::int64_t packetOffset() const { return scanner_.packetOffset(); }
  std::int64_t filePosition() const { return scanner_.filePosition(); }
  std::uint32_t packetType() const { return scanner_.type(); }
  /// Bytes taken in that are no whole packet: at the end of the file, those of a packet cut off.
  std::uint32_t pendingBytes() const { return scanner_.pendingBytes(); }
  const ScanCounters& counters() const { return scanner_.counters(); }
  const Selection& selection() const { return selection_; }

 private:
  std::int64_t start_;
  Selection selection_;
  PacketScanner<Framing> scanner_;
};

struct AnyPacket {
  bool operator()(std::uint32_t, Lib::ByteView&) const { return true; }
};

/// Packet type of a range file that wraps a navigation packet of one of the sources.
inline constexpr std::uint32_t kRangeSourceType = 3;

/// The range protocol's own packets.
struct OwnRangePackets {
  bool operator()(std::uint32_t type, Lib::ByteView&) const { return type != kRangeSourceType; }
};

/// The source that a wrapped packet comes from: its address, or its provenance if the address is 0.
inline std::uint32_t rangeSourceId(Lib::ByteView packet) {
  const std::uint32_t address = packet.u32(4);
  return address != 0 ? address : packet.u8(8);
}

/// A wrapped packet without the four frame bytes and the check byte.
inline Lib::ByteView unwrapRangePacket(Lib::ByteView packet) {
  return packet.from(4, packet.size() < 5 ? 0 : packet.size() - 5);
}

/// The navigation packets that one source has put into a range file.
struct SourcePackets {
  std::uint32_t sourceId = 0;

  bool operator()(std::uint32_t type, Lib::ByteView& packet) const {
    if (type != kRangeSourceType || rangeSourceId(packet) != sourceId) return false;
    packet = unwrapRangePacket(packet);
    return true;
  }
};

/// The navigation packets of all sources, unwrapped; `currentId` tells the source of the newest one.
struct AllSourcePackets {
  std::uint32_t currentId = 0;

  bool operator()(std::uint32_t type, Lib::ByteView& packet) {
    if (type != kRangeSourceType) return false;
    currentId = rangeSourceId(packet);
    packet = unwrapRangePacket(packet);
    return true;
  }
};

using LogicalNavAny = LogicalPackets<NavigationFraming, AnyPacket>;
using LogicalRngAny = LogicalPackets<RangeFraming, AnyPacket>;
using LogicalRngYeld = LogicalPackets<RangeFraming, OwnRangePackets>;
using LogicalRngQuon = LogicalPackets<RangeFraming, SourcePackets>;
using LogicalRngSources = LogicalPackets<RangeFraming, AllSourcePackets>;

}  // namespace Kvex::Sto
