#pragma once

#include "store/Stream.h"
#include "zint/ComData.h"
#include "zint/ComDecoder.h"

namespace Kvex::Sto {

/// A stream that brings its own signal definitions, in a header packet "/Kvex-Zint-Dbu/". Its table is built from them.
class StreamZint final : public RecordStream<Zint::ComData> {
 public:
  explicit StreamZint(const StreamIdentity& identity);

  void addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const override { kinds.push_back(packet.u16(0)); }
  bool take(ByteView packet, Pass pass) override;
  std::int32_t stepMessage() const override { return decoder_.lastList(); }
  void reset() override { decoder_.reset(); }
  const Lib::NavField<Nano>& newestTime() const override { return decoder_.time(); }

 protected:
  bool readHeader() override;
  Zint::ComData& live() override { return decoder_.data(); }

 private:
  /// False where the table has no room for it.
  bool insertRow(const Zint::Signal& signal, const Zint::ComDecoder::Carrier& carrier);

  Zint::ComDecoder decoder_;
  SignalTable table_;
};

}  // namespace Kvex::Sto
