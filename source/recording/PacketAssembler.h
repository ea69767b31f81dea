#pragma once

#include <cstddef>
#include <cstdint>
#include <ogg/ogg.h>
#include <vector>

#include "library/ByteView.h"

namespace Kvex::Com {

/// Puts the pages of one logical stream together to packets: libogg's stream state, owned. Packets of pages that stay
/// where they are, and out of which nothing special is to be made, are handed out of the pages themselves.
class PacketAssembler {
 public:
  /// Whether the bytes of a page stay where they are until its packets have been taken, or until `keep`.
  enum class PageBytes : std::uint8_t { Pass, Stay };

  /// Throws `std::bad_alloc` where libogg finds no memory.
  explicit PacketAssembler(std::uint32_t serial);
  ~PacketAssembler() { ogg_stream_clear(&state_); }
  PacketAssembler(const PacketAssembler&) = delete;
  PacketAssembler& operator=(const PacketAssembler&) = delete;

  /// Drops everything held; the next page may have any number, and a packet that it continues is skipped. False where
  /// libogg finds no memory.
  bool reset();
  /// As `reset`, and gives the memory back that the held packets took.
  bool release();

  /// Puts a page in. False for a page of another serial number or where libogg finds no memory; the assembler is then
  /// of use again after a `reset`.
  bool addPage(const ogg_page& page, PageBytes bytes = PageBytes::Pass);

  /// Copies what is held of pages that do not stay any longer. False where libogg finds no memory.
  bool keep();

  /// The next whole packet, valid until the next page goes in. Above 0: a packet; 0: more pages are needed; below 0: a
  /// hole, that is, data was lost here.
  int takePacket(Lib::ByteView& packet) {
    if (first_ < staying_.size()) return takeStaying(packet);
    return state_.lacing_fill == state_.lacing_returned ? 0 : takeHeld(packet);
  }

  /// The same with what libogg knows of the packet. REQUIRES: no page stays.
  int takePacket(ogg_packet& packet) { return ogg_stream_packetout(&state_, &packet); }

  /// Bytes of packets not taken yet, the begun one included, with libogg's bookkeeping of them.
  std::size_t heldBytes() const;

 private:
  /// A page whose packets are handed out where they lie. It begins and ends with a packet.
  struct StayingPage {
    ogg_page page;
    const std::uint8_t* segment;  ///< Size of the first segment not taken yet.
    const std::uint8_t* segmentsEnd;
    const std::uint8_t* body;  ///< Of the first packet not taken yet.
    int taken;                 ///< Packets.
  };

  int serialNumber() const { return static_cast<int>(serial_); }
  bool isPlain(const ogg_page& page) const;
  bool holdPage(const ogg_page& page);
  int takeHeld(Lib::ByteView& packet);

  int takeStaying(Lib::ByteView& packet) {
    StayingPage& page = staying_[first_];
    std::size_t size = 0;
    std::uint8_t segment;
    do size += segment = *page.segment++;
    while (segment == UINT8_MAX);
    packet = {page.body, size};
    page.body += size;
    ++page.taken;
    if (page.segment == page.segmentsEnd && ++first_ == staying_.size()) forgetStaying();
    return 1;
  }
  void forgetStaying() {
    staying_.clear();
    first_ = 0;
  }

  std::uint32_t serial_;
  ogg_stream_state state_;
  std::vector<StayingPage> staying_;  ///< While there are any, libogg holds no packet.
  std::size_t first_ = 0;             ///< The first of them with packets not taken yet.
};

}  // namespace Kvex::Com
