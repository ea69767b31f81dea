#pragma once

#include <cstddef>
#include <cstdint>
#include <ogg/ogg.h>
#include <optional>

#include "recording/VrelStream.h"

namespace Kvex::Com {

/// What a logical stream may hold in memory. No recording comes near these sizes; they keep a damaged packet, or a
/// header that announces what never ends, from growing with the file.
struct VrelLimits {
  /// Data packets not taken yet, the begun one included, are dropped above this size and count as one hole.
  std::size_t heldBytes = std::size_t{64} << 20;
  /// The header packets altogether, each counted with an overhead of `kHeaderOverhead`; above this the stream fails.
  std::size_t headerBytes = std::size_t{32} << 20;

  static constexpr std::size_t kHeaderOverhead = 2 * sizeof(TaggedPacket);
};

/// Reads one logical stream of a recording page by page. It checks the order of the pages, collects the primary packet
/// and the header packets, passes over repeat blocks, counts everything, and leaves the data packets to be taken.
///
/// A page is never an error for the caller: old and repeated pages are dropped, a gap is passed over, and a broken
/// structure ends in `VrelState::Failed`, from which on no data packets arrive. Not synchronised.
class VrelStreamDec : public VrelStream {
 public:
  explicit VrelStreamDec(std::uint32_t serial, const VrelLimits& limits = {}) : VrelStream(serial), limits_(limits) {}

  /// Makes ready for a file's first page, which must bring the primary packet.
  void expectPrimary() { enter(VrelState::AwaitPrimary); }

  using PageBytes = PacketAssembler::PageBytes;

  /// Takes the next page of this stream; true when it was accepted.
  /// REQUIRES: a whole page, as `PageReader` gives it out.
  bool addPage(const ogg_page& page, PageBytes bytes = PageBytes::Pass);

  /// Copies what waits to be taken from pages that do not stay any longer.
  void keepData() {
    if (!assembler_.keep()) fail();
  }

  /// Takes the next data packet: above 0 a packet, valid until the next page; 0: more pages are needed; below 0: a
  /// hole, after which the taking goes on. Packets and holes are counted here.
  int takePacket(Lib::ByteView& packet) { return count(assembler_.takePacket(packet)); }
  /// The same with what libogg knows of the packet. REQUIRES: no page stays.
  int takePacket(ogg_packet& packet) { return count(assembler_.takePacket(packet)); }

  /// Bytes that wait to be taken as packets, the begun packet included.
  std::size_t heldBytes() const { return assembler_.heldBytes(); }

  /// Drops what waits to be taken, uncounted, and gives its memory back. The rest of a begun packet is passed over.
  void dropData() {
    if (!assembler_.release()) fail();
  }

  /// Makes ready to read the pages again from the file's start. The header stays; the primary packet and header packets
  /// that come again are taken as a repeat block.
  void rewind() { rewindPages(); }

 private:
  /// What the reading of a header block counts, and where it leads.
  struct BlockReading {
    HeaderBlock& block;
    std::uint64_t& packets;
    std::uint64_t& holes;
    VrelState complete;
    bool kept;
  };

  int count(int taken) {
    packetCounters_.dataPackets += taken > 0 ? 1 : 0;
    packetCounters_.dataHoles += taken < 0 ? 1 : 0;
    return taken;
  }
  PageClass classify() const;
  void fail() { enter(VrelState::Failed); }

  void addBosPage(const ogg_page& page);
  void addMiddlePage(const ogg_page& page, PageBytes bytes);
  void readPrimary(const ogg_page& page);
  void readRepeatPrimary(const ogg_page& page);
  void readHeaders(const ogg_page& page, BlockReading reading);
  void addData(const ogg_page& page, PageBytes bytes);

  /// The packet with which a BOS page opens. None for a hole, which is counted, and for a failure.
  std::optional<TaggedPacket> takeFirstPacket(const ogg_page& page, std::uint64_t& holes);
  /// Appends a header packet. False where the header grows beyond its limit.
  bool keepHeader(Lib::ByteView packet);

  const VrelLimits limits_;
  std::size_t headerBytes_ = 0;
};

}  // namespace Kvex::Com
