#pragma once

#include <algorithm>
#include <cstring>
#include <ogg/ogg.h>
#include <string>
#include <string_view>

#include "recording/VrelStreamDec.h"

namespace Kvex::Testing {

/// Calls `take(ogg_page&)` for each page of a recording whose checksum holds.
template <class Take>
void forEachPage(std::string_view recording, Take&& take) {
  constexpr std::size_t kBlock = 4096;
  ogg_sync_state sync;
  ogg_sync_init(&sync);
  while (!recording.empty()) {
    const std::size_t count = std::min(kBlock, recording.size());
    std::memcpy(ogg_sync_buffer(&sync, kBlock), recording.data(), count);
    ogg_sync_wrote(&sync, static_cast<long>(count));
    recording.remove_prefix(count);
    ogg_page page;
    while (const int result = ogg_sync_pageout(&sync, &page)) {
      if (result > 0) take(page);
    }
  }
  ogg_sync_clear(&sync);
}

/// The next data packet of a stream, past any holes; empty where there is none.
inline std::string takeData(Com::VrelStreamDec& stream) {
  Lib::ByteView packet;
  while (const int result = stream.takePacket(packet)) {
    if (result > 0) return {reinterpret_cast<const char*>(packet.data()), packet.size()};
  }
  return {};
}

}  // namespace Kvex::Testing
