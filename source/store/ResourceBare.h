#pragma once

#include "store/LogicalPackets.h"
#include "store/Resource.h"

namespace Kvex::Sto {

/// A bare protocol file: one Stream, with serial 0, of the packets that `OwnPackets` selects.
template <class Framing, class OwnPackets>
class ResourceBare : public Resource {
 public:
  ResourceBare(const ScanContext& context, std::uint32_t resourceIndex, ResourceKind resourceKind, std::string filePath,
               const Codec& codec)
      : Resource(context, resourceIndex, resourceKind, std::move(filePath)), codec_(codec) {}

  void scan() override {
    Stream& stream = makeOwnStream();
    firstPass(stream);
    secondPass(stream);
  }

 private:
  using AnyReader = LogicalPackets<Framing, AnyPacket>;
  using OwnReader = LogicalPackets<Framing, OwnPackets>;

  Stream& makeOwnStream() {
    const PassProgress progress(*this, Phase::Identification);
    Stream& stream = addBareStream(codec_, 0);
    stream.headerReady();
    return stream;
  }

  void firstPass(Stream& stream) {
    PassProgress progress(*this, Phase::FirstPass);
    AnyReader reader(path);
    reader.resume();
    ByteView packet;
    while (!cancelled() && reader.next(packet)) {
      ByteView ownPart = packet;
      if (stream.logical == nullptr && OwnPackets{}(reader.packetType(), ownPart)) {
        stream.logical = std::make_unique<OwnReader>(path, clampToSize(reader.packetOffset()));
      }
      if (stream.probeRaw(packet)) break;
      progress.moved(reader.filePosition());
    }
    stream.probeDone();
  }

  void secondPass(Stream& stream) {
    PassProgress progress(*this, Phase::SecondPass);
    AnyReader reader(path);
    reader.resume();
    ByteView packet;
    std::uint64_t junkBefore = 0;
    const auto noteJunk = [&] {
      const std::uint64_t junk = reader.counters().junkBytes;
      note(stream, DamageKind::JunkBytes, junk - junkBefore);
      junkBefore = junk;
    };
    while (!cancelled() && reader.next(packet)) {
      noteJunk();
      ByteView ownPart = packet;
      if (OwnPackets{}(reader.packetType(), ownPart)) ++stream.counters.packets;
      stream.scanRaw(packet);
      progress.moved(reader.filePosition());
    }
    noteJunk();
    health.scan = reader.counters();
    health.truncatedBytes = reader.pendingBytes();
    note(stream, DamageKind::CutOff, health.truncatedBytes);
    stream.scanDone();
  }

  void note(const Stream& stream, DamageKind kind, std::uint64_t count) {
    if (count > 0) damage.note({kind, count, nullptr, stream.newestTime()});
  }

  const Codec& codec_;
};

/// A file of bare navigation packets.
using ResourceNav = ResourceBare<NavigationFraming, AnyPacket>;

}  // namespace Kvex::Sto
