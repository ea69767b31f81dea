#include "recording/PacketAssembler.h"

#include <new>

#include "recording/PageParser.h"

namespace Kvex::Com {

PacketAssembler::PacketAssembler(std::uint32_t serial) : serial_(serial) {
  if (ogg_stream_init(&state_, serialNumber()) != 0) throw std::bad_alloc();
  ogg_stream_reset(&state_);
}

bool PacketAssembler::reset() {
  forgetStaying();
  // libogg clears a state whose memory it could not grow; such a state must be made anew.
  if (ogg_stream_check(&state_) != 0 && ogg_stream_init(&state_, serialNumber()) != 0) return false;
  return ogg_stream_reset(&state_) == 0;
}

bool PacketAssembler::release() {
  ogg_stream_clear(&state_);
  return reset();
}

bool PacketAssembler::addPage(const ogg_page& page, PageBytes bytes) {
  if (bytes == PageBytes::Pass || !isPlain(page)) return keep() && holdPage(page);
  const std::uint8_t* const segments = page.header + kPageHeaderSize;
  staying_.push_back(
      {.page = page, .segment = segments, .segmentsEnd = page.header + page.header_len, .body = page.body, .taken = 0});
  state_.pageno = ogg_page_pageno(&page) + 1;
  return true;
}

/// Whether a page holds whole packets only, and libogg would give them out one after the other.
bool PacketAssembler::isPlain(const ogg_page& page) const {
  const bool nothingHeld =
      ogg_stream_check(const_cast<ogg_stream_state*>(&state_)) == 0 && state_.lacing_fill == state_.lacing_returned;
  const bool inSequence = state_.pageno == ogg_page_pageno(&page) || state_.pageno == -1;
  const bool wholePackets =
      page.header_len > static_cast<long>(kPageHeaderSize) && page.header[page.header_len - 1] != UINT8_MAX;
  return nothingHeld && inSequence && wholePackets && ogg_page_continued(&page) == 0 && ogg_page_version(&page) == 0 &&
         ogg_page_serialno(&page) == serialNumber();
}

bool PacketAssembler::holdPage(const ogg_page& page) {
  // libogg only reads the page, it just does not say so in its signature.
  return ogg_stream_pagein(&state_, const_cast<ogg_page*>(&page)) == 0;
}

bool PacketAssembler::keep() {
  for (; first_ < staying_.size(); ++first_) {
    const StayingPage& page = staying_[first_];
    state_.pageno = ogg_page_pageno(&page.page);
    if (!holdPage(page.page)) return false;
    for (int taken = 0; taken < page.taken; ++taken) ogg_stream_packetout(&state_, nullptr);
  }
  forgetStaying();
  return true;
}

int PacketAssembler::takeHeld(Lib::ByteView& packet) {
  ogg_packet taken;
  const int result = ogg_stream_packetout(&state_, &taken);
  if (result > 0) packet = {taken.packet, static_cast<std::size_t>(taken.bytes)};
  return result;
}

std::size_t PacketAssembler::heldBytes() const {
  constexpr std::size_t kBytesPerSegment = sizeof(*state_.lacing_vals) + sizeof(*state_.granule_vals);
  std::size_t bytes = static_cast<std::size_t>(state_.body_fill - state_.body_returned);
  std::size_t segments = static_cast<std::size_t>(state_.lacing_fill - state_.lacing_returned);
  for (std::size_t i = first_; i < staying_.size(); ++i) {
    const StayingPage& page = staying_[i];
    bytes += static_cast<std::size_t>(page.page.body + page.page.body_len - page.body);
    segments += static_cast<std::size_t>(page.segmentsEnd - page.segment);
  }
  return bytes + segments * kBytesPerSegment;
}

}  // namespace Kvex::Com
