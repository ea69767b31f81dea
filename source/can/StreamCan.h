#pragma once

#include <cstdint>
#include <variant>

#include "can/CanDecoder.h"
#include "can/CanRecord.h"
#include "can/CanTimeLine.h"
#include "store/TabledStream.h"

namespace Kvex::Sto {

/// A recorded CAN bus, decoded through the database that its header brings with it in "(Kvex-Can-Dbc)". The fixed table
/// has six time signals, a table of the Stream's own has the database's signals. Both are always decoded: there is
/// nothing to want.
///
/// A packet is an eight-byte time in nanoseconds and frames up to its end. A packet of fewer bytes, or of the time
/// `Lib::kNoTime`, is ignored; so is a frame of an id that the database does not have.
class StreamCan final : public TabledStream<Can::CanRecord, std::monostate> {
 public:
  StreamCan(ResourceKind resourceKind, std::uint32_t serial);

  bool probeRaw(ByteView packet) override { return probePacket(packet); }
  bool probePacket(ByteView packet) override { return take(packet); }
  void scanRaw(ByteView packet) override { take(packet); }
  void scanPacket(ByteView packet) override { take(packet); }

  bool headerReady() override;
  void probeDone() override;
  void scanDone() override;
  void reset() override;

 protected:
  void walkRaw(ByteView packet) override { take(packet); }
  void walkPacket(ByteView packet) override { take(packet); }
  const Can::NavField<Nano>& liveTime() const override { return record_.times.nano; }
  const Can::CanRecord& liveRecord() override;
  const Can::NavField<Nano>& timeOf(const Can::CanRecord& record) const override { return record.times.nano; }

 private:
  /// One packet, to the probe or to the decoder. True when it ended the probe.
  bool take(ByteView packet);
  bool probe(ByteView packet, Nano t);
  void decode(ByteView packet, Nano t);
  void setTime(Nano t);
  void insertRow(const Can::CanSignal& signal);

  bool probing_ = false;
  Can::CanTimeLine timeLine_;
  Can::CanDecoder decoder_;
  Can::CanRecord record_;
  Table table_;  ///< The database's signals.
};

}  // namespace Kvex::Sto
