#pragma once

#include <optional>

#include "nav/NavDecoder.h"
#include "nav/NavTables.h"
#include "store/TabledStream.h"

namespace Kvex::Sto {

/// What the Streams of both navigation protocols share. `Decoder` holds the live record and the wants.
///
/// The first record is the start of the stream as the first pass found it: no decoded packet, but its time, position,
/// velocity and attitude. The second pass decodes only what the scan tag tells.
template <class Decoder>
class StreamNav : public TabledStream<Nav::NavRecord, Nav::NavWantTree> {
 public:
  bool probeRaw(ByteView packet) final;
  bool probePacket(ByteView packet) final;
  void scanRaw(ByteView packet) final { feedRaw(packet); }
  void scanPacket(ByteView packet) final { decoder_.feedStamped(packet, false); }
  bool headerReady() final;
  void probeDone() final;
  void scanDone() final;
  void reset() final;
  void prepareBlock(std::uint32_t block) final;

 protected:
  StreamNav(ResourceKind resourceKind, std::uint32_t serial, StreamCodec codec, const NavTable& table)
      : TabledStream(resourceKind, serial, codec, {&table}) {}

  /// Decodes a packet of a bare protocol file; none where its size fits no form of packet.
  virtual std::optional<Nav::FeedResult> feedRaw(ByteView packet) = 0;
  /// What the second pass wants beside the wants of all navigation Streams.
  virtual void wantForScan(Nav::NavWantTree&) const {}
  /// Enters the source of a Stream of a range file into the header.
  virtual void describeSource() {}

  void walkRaw(ByteView packet) final { feedRaw(packet); }
  void walkPacket(ByteView packet) final { scanPacket(packet); }
  const Lib::NavField<Nano>& liveTime() const final { return decoder_.record.Nano; }
  const Nav::NavRecord& liveRecord() final { return decoder_.record; }
  const Lib::NavField<Nano>& timeOf(const Nav::NavRecord& record) const final { return record.Nano; }

  Decoder decoder_{true};

 private:
  void settleTime();
};

}  // namespace Kvex::Sto
