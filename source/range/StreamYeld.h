#pragma once

#include "range/RangeDecoder.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// A stream of the range protocol: measurements of a hunter and its targets.
class StreamYeld final : public RecordStream<Rng::RangeRecord>, private RangeSources {
 public:
  explicit StreamYeld(const StreamIdentity& identity);

  void addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const override;
  bool take(ByteView packet, Pass pass) override;
  void reset() override { decoder_.reset(); }
  void want(const std::vector<const SignalRow*>& rows) override;
  const Lib::NavField<Nano>& newestTime() const override { return decoder_.record().time(); }
  const RangeSources* rangeSources() const override { return this; }

 protected:
  bool readHeader() override { return true; }
  Rng::RangeRecord& live() override { return decoder_.record(); }
  void prepareScan() override;
  void describeScan(Com::TaggedPacket& tag) override;

 private:
  std::array<std::optional<Source>, kPlaces> sources() const override;
  std::optional<std::uint32_t> hunterAddress() const override;
  std::array<std::optional<std::uint32_t>, kTargets> targetAddresses() const override;

  Rng::RangeDecoder decoder_;
};

}  // namespace Kvex::Sto
