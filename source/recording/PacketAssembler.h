#pragma once

#include <cstddef>
#include <cstdint>
#include <ogg/ogg.h>

namespace Kvex::Com {

/// Puts the pages of one logical stream together to packets: libogg's stream state, owned.
class PacketAssembler {
 public:
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
  bool addPage(const ogg_page& page);

  /// The next whole packet, valid until the next page goes in. Above 0: a packet; 0: more pages are needed; below 0: a
  /// hole, that is, data was lost here.
  int takePacket(ogg_packet& packet) { return ogg_stream_packetout(&state_, &packet); }

  /// Bytes of packets not taken yet, the begun one included, with libogg's bookkeeping of them.
  std::size_t heldBytes() const;

 private:
  int serialNumber() const { return static_cast<int>(serial_); }

  std::uint32_t serial_;
  ogg_stream_state state_;
};

}  // namespace Kvex::Com
