#pragma once

#include "range/RangeDecoder.h"
#include "store/RangeSources.h"
#include "store/TabledStream.h"

namespace Kvex::Sto {

/// A stream of the range protocol: measurements of a hunter and its targets.
class StreamYeld final : public TabledStream<Rng::RangeRecord, Rng::RangeWantTree>, public RangeSources {
 public:
  StreamYeld(ResourceKind resourceKind, std::uint32_t serial);

  bool probeRaw(ByteView packet) override;
  bool probePacket(ByteView packet) override;
  void scanRaw(ByteView packet) override { decoder_.feedRaw(packet); }
  void scanPacket(ByteView packet) override { decoder_.feedRecorded(packet); }
  bool headerReady() override;
  void probeDone() override;
  void scanDone() override;
  void reset() override;
  void prepareBlock(std::uint32_t block) override;

  std::array<std::optional<Source>, kPlaces> sources() const override;
  std::optional<std::uint32_t> hunterAddress() const override;
  std::array<std::optional<std::uint32_t>, kTargets> targetAddresses() const override;

 protected:
  void walkRaw(ByteView packet) override { decoder_.feedRaw(packet); }
  void walkPacket(ByteView packet) override { decoder_.feedRecorded(packet); }
  const Lib::NavField<Nano>& liveTime() const override { return decoder_.record().body.Nano; }
  const Rng::RangeRecord& liveRecord() override { return decoder_.record(); }
  const Lib::NavField<Nano>& timeOf(const Rng::RangeRecord& record) const override { return record.body.Nano; }

 private:
  Rng::RangeDecoder decoder_;
};

}  // namespace Kvex::Sto
