#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "store/Logical.h"
#include "store/PacketScanner.h"

namespace Kvex::Sto {

/// A bare protocol file, or the part of it from `start` on. `Framing` is that of a `PacketScanner`. `Selection` says
/// which packets belong to this stream: `bool operator()(type, packet)` may also narrow the packet to the part that the
/// Stream gets.
template <class Framing, class Selection>
class LogicalPackets : public Logical {
 public:
  explicit LogicalPackets(std::string path, std::int64_t start = 0, Selection selection = {})
      : Logical(std::move(path)), start_(start), selection_(std::move(selection)) {
    scanner_.restart(start_);
  }

  void rewind() override { scanner_.restart(start_); }

  bool next(Lib::ByteView& packet) override {
    while (scanner_.next(file_)) {
      packet = scanner_.packet();
      if (selection_(scanner_.type(), packet)) return true;
    }
    return false;
  }

  /// Where the packet that `next` gave last lies in the file.
  std::int64_t packetOffset() const { return scanner_.packetOffset(); }
  std::int64_t filePosition() const { return scanner_.filePosition(); }
  std::uint32_t packetType() const { return scanner_.type(); }
  /// Bytes taken in that are no whole packet: at the end of the file, those of a packet cut off.
  std::uint32_t pendingBytes() const { return scanner_.pendingBytes(); }
  const ScanCounters& counters() const { return scanner_.counters(); }
  const Selection& selection() const { return selection_; }

 private:
  std::int64_t start_;
  Selection selection_;
  PacketScanner<Framing> scanner_;
};

struct AnyPacket {
  bool operator()(std::uint32_t, Lib::ByteView&) const { return true; }
};

}  // namespace Kvex::Sto
