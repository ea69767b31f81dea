#pragma once

#include "nav/NavDecoder.h"
#include "nav/NavTables.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// What the Streams of both navigation protocols share. `Decoder` holds the live record and the wants.
///
/// The first record is the start of the stream as the first pass found it: no decoded packet, but its time, position,
/// velocity and attitude. The second pass decodes only what the scan tag shows.
template <class Decoder>
class StreamNav : public RecordStream<Nav::NavRecord> {
 public:
  bool take(ByteView packet, Pass pass) final;
  void addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const final {
    // In a recording it stands behind eight bytes, in a bare range file behind its source.
    const std::size_t size = decoder_.protocol.packetSize;
    const std::size_t before = packet.size() > size ? packet.size() - size : 0;
    kinds.push_back(decoder_.kindOf(packet.from(resourceKind() == ResourceKind::Recording ? 8 : before)));
  }
  std::size_t takeStep(ByteView packet, std::size_t) final {
    decoder_.reportedChannel = SignalRow::kNoMessage;
    StreamNav::take(packet, Pass::Walk);
    return packet.size();
  }
  /// The number of the status channel that the packet reported.
  std::int32_t stepMessage() const final { return decoder_.reportedChannel; }
  void reset() final { decoder_.finishScan(true); }
  void want(const std::vector<const SignalRow*>& rows) final;
  const Lib::NavField<Nano>& newestTime() const final { return decoder_.record.Nano; }

 protected:
  StreamNav(const StreamIdentity& identity, const SignalTable& table) : RecordStream(identity, {&table}) {}

  /// Decodes a packet of a bare protocol file. One whose size fits no form of packet ends a first pass.
  virtual Nav::FeedResult feedRaw(ByteView packet) = 0;
  /// What the second pass wants beside the wants of all navigation Streams.
  virtual void wantForScan(Nav::NavWantTree&) const {}
  /// Enters the source of a Stream of a range file into the header.
  virtual void describeSource() {}

  bool readHeader() final { return true; }
  Nav::NavRecord& live() final { return decoder_.record; }
  void prepareScan() final;
  void describeScan(Com::TaggedPacket& tag) final;
  bool settleTime() final;

  Decoder decoder_{true};

 private:
  /// Wants what a scan shows, and nothing else.
  void wantScan();
};

}  // namespace Kvex::Sto
