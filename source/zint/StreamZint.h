#pragma once

#include "store/TabledStream.h"
#include "zint/ComData.h"
#include "zint/ComDecoder.h"

namespace Kvex::Zint {
/// Signals of a self-describing stream are not switched on and off one by one.
struct NoWants {};
}  // namespace Kvex::Zint

namespace Kvex::Sto {

/// A stream that brings its own signal definitions, in a header packet "/Kvex-Zint-Dbu/". Its table is built from them.
class StreamZint final : public TabledStream<Zint::ComData, Zint::NoWants> {
 public:
  StreamZint(ResourceKind resourceKind, std::uint32_t serial);

  bool probeRaw(ByteView packet) override { return probePacket(packet); }
  bool probePacket(ByteView packet) override;
  void scanRaw(ByteView packet) override { scanPacket(packet); }
  void scanPacket(ByteView packet) override;
  bool headerReady() override;
  void probeDone() override;
  void scanDone() override;
  void reset() override;

 protected:
  void walkRaw(ByteView packet) override { scanPacket(packet); }
  void walkPacket(ByteView packet) override { scanPacket(packet); }
  const Lib::NavField<Nano>& liveTime() const override { return decoder_.time(); }
  const Zint::ComData& liveRecord() override { return decoder_.data(); }
  const Lib::NavField<Nano>& timeOf(const Zint::ComData& data) const override { return data.time(); }

 private:
  void insertRow(const Zint::Signal& signal);

  Zint::ComDecoder decoder_;
  Table table_;
};

}  // namespace Kvex::Sto
