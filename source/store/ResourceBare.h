#pragma once

#include <memory>
#include <string>

#include "store/LogicalPackets.h"
#include "store/Resource.h"

namespace Kvex::Sto {

/// A bare protocol file: one Stream, with serial 0, of the packets that `OwnPackets` selects. The protocol's room gives
/// `Framing`, and names the Resource in its codec's row.
template <class Framing, ResourceKind kKind, class OwnPackets = AnyPacket>
class ResourceBare : public Resource {
 public:
  ResourceBare(const ScanContext& context, std::uint32_t resourceIndex, std::string filePath, const Codec& codec)
      : Resource(context, resourceIndex, kKind, std::move(filePath)), codec_(codec) {}

  void scan() override {
    Stream& stream = makeOwnStream();
    firstPass(stream);
    secondPass(stream);
  }

  bool copyPackets(const PacketRanges& ranges, const PacketWriter& write) const override {
    AnyReader reader(path);
    reader.resume();
    PacketRanges counted;
    std::size_t open = ranges.size();
    for (ByteView packet; open > 0 && reader.next(packet);) {
      if (cancelled()) return false;
      const auto range = ranges.find(serialOf(reader.packetType(), packet));
      if (range == ranges.end()) continue;
      const std::uint64_t place = counted[range->first].end++;
      if (range->second.holds(place)) write(packet);
      if (place == range->second.end) --open;
    }
    return true;
  }

 protected:
  /// The serial of the Stream that a packet is of.
  virtual std::uint32_t serialOf(std::uint32_t, ByteView) const { return 0; }

 private:
  using AnyReader = LogicalPackets<Framing, AnyPacket>;
  using OwnReader = LogicalPackets<Framing, OwnPackets>;

  Stream& makeOwnStream() {
    const PassProgress progress(*this, Phase::Identification);
    return addBareStream(codec_, 0);
  }

  void firstPass(Stream& stream) {
    PassProgress progress(*this, Phase::FirstPass);
    AnyReader reader(path);
    reader.resume();
    ByteView packet;
    while (!cancelled() && reader.next(packet)) {
      ByteView ownPart = packet;
      if (logicals.empty() && OwnPackets{}(reader.packetType(), ownPart)) {
        logicals.emplace(stream.serial(), std::make_unique<OwnReader>(path, clampToSize(reader.packetOffset())));
      }
      if (stream.take(packet, Pass::Probe)) break;
      progress.moved(reader.filePosition());
    }
    stream.endProbe();
  }

  void secondPass(Stream& stream) {
    PassProgress progress(*this, Phase::SecondPass);
    AnyReader reader(path);
    reader.resume();
    ByteView packet;
    std::uint64_t junkBefore = 0;
    DamageTimes gaps(damage);
    const auto noteJunk = [&] {
      const std::uint64_t junk = reader.counters().junkBytes;
      if (junk == junkBefore) return;
      note(stream, DamageKind::JunkBytes, junk - junkBefore);
      gaps.expect();
      gaps.reach(stream.knownTime());
      junkBefore = junk;
    };
    while (!cancelled() && reader.next(packet)) {
      noteJunk();
      ByteView ownPart = packet;
      if (OwnPackets{}(reader.packetType(), ownPart)) ++stream.counters.packets;
      stream.take(packet, Pass::Scan);
      if (gaps.expects()) gaps.read(stream.knownTime());
      progress.moved(reader.filePosition());
    }
    noteJunk();
    health.scan = reader.counters();
    health.truncatedBytes = reader.pendingBytes();
    note(stream, DamageKind::CutOff, health.truncatedBytes);
    stream.endScan();
  }

  void note(const Stream& stream, DamageKind kind, std::uint64_t count) {
    if (count > 0) damage.note({kind, count, nullptr, stream.knownTime()});
  }

  const Codec& codec_;
};

}  // namespace Kvex::Sto
