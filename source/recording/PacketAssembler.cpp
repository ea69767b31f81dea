#include "recording/PacketAssembler.h"

#include <new>

namespace Kvex::Com {

PacketAssembler::PacketAssembler(std::uint32_t serial) : serial_(serial) {
  if (ogg_stream_init(&state_, serialNumber()) != 0) throw std::bad_alloc();
  ogg_stream_reset(&state_);
}

bool PacketAssembler::reset() {
  // libogg clears a state whose memory it could not grow; such a state must be made anew.
  if (ogg_stream_check(&state_) != 0 && ogg_stream_init(&state_, serialNumber()) != 0) return false;
  return ogg_stream_reset(&state_) == 0;
}

bool PacketAssembler::release() {
  ogg_stream_clear(&state_);
  return reset();
}

bool PacketAssembler::addPage(const ogg_page& page) {
  // libogg only reads the page, it just does not say so in its signature.
  return ogg_stream_pagein(&state_, const_cast<ogg_page*>(&page)) == 0;
}

std::size_t PacketAssembler::heldBytes() const {
  constexpr std::size_t kBytesPerSegment = sizeof(*state_.lacing_vals) + sizeof(*state_.granule_vals);
  return static_cast<std::size_t>(state_.body_fill - state_.body_returned) +
         static_cast<std::size_t>(state_.lacing_fill - state_.lacing_returned) * kBytesPerSegment;
}

}  // namespace Kvex::Com
