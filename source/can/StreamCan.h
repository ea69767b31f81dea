#pragma once

#include <cstdint>
#include <memory>

#include "can/CanDecoder.h"
#include "can/CanRecord.h"
#include "can/CanTimeLine.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// A recorded CAN bus, decoded through the database that its header brings with it in "(Kvex-Can-Dbc)". The fixed table
/// has six time signals, a table of the Stream's own has the database's signals. Both are always decoded: there is
/// nothing to want.
///
/// A packet is an eight-byte time in nanoseconds and frames up to its end. A packet of fewer bytes, or of the time
/// `Lib::kNoTime`, is ignored; so is a frame of an id that the database does not have.
class StreamCan final : public RecordStream<Can::CanRecord> {
 public:
  explicit StreamCan(const StreamIdentity& identity);

  void addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const override;
  bool take(ByteView packet, Pass pass) override;
  /// The packet's time is a step of its own, and then each frame is one.
  std::size_t takeStep(ByteView packet, std::size_t from) override;
  std::int32_t stepMessage() const override { return stepMessage_; }
  void setMultiplexed(bool multiplexed) override { decoder_.setSelective(multiplexed); }
  void reset() override;
  const Can::NavField<Nano>& newestTime() const override { return record_.times.nano; }

 protected:
  bool readHeader() override;
  Can::CanRecord& live() override;

 private:
  /// Whether the probe has found its time with this packet.
  bool probe(ByteView packet, Nano t);
  void setTime(Nano t);
  std::shared_ptr<const MultiplexerInfo> multiplexerOf(const Can::CanSignal& signal) const;
  void insertRow(const Can::CanMessage& message, const Can::CanSignal& signal);

  bool probing_ = false;
  std::int32_t stepMessage_ = SignalRow::kNoMessage;
  Can::CanTimeLine timeLine_;
  Can::CanDecoder decoder_;
  Can::CanRecord record_;
  SignalTable table_;  ///< The database's signals.
};

}  // namespace Kvex::Sto
