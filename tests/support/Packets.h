#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/StoreReading.h"

namespace Kvex::Testing {

using PacketsBySerial = std::map<std::uint32_t, std::vector<std::string>>;

/// The data packets that a walk over a recording or bare file gets, of each stream whose header is accepted.
inline PacketsBySerial packetsOf(const std::string& path) {
  Sto::DataStore store({}, allCodecs());
  std::vector<std::uint32_t> ids;
  store.addFile(path, ids);
  PacketsBySerial packets;
  for (const std::uint32_t id : ids) {
    store.visitStream(id, [&](const Sto::Stream& stream, const Sto::Resource& resource) {
      Sto::Logical* const logical = resource.logical(stream.serial());
      if (!stream.headerAccepted() || logical == nullptr) return;
      std::vector<std::string>& ofStream = packets[stream.serial()];
      logical->rewind();
      logical->resume();
      for (Lib::ByteView packet; logical->next(packet);) {
        ofStream.emplace_back(reinterpret_cast<const char*>(packet.data()), packet.size());
      }
    });
  }
  return packets;
}

/// Whether all packets of `part` are in `whole`, in the same order.
inline bool isWithin(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
  auto at = whole.begin();
  for (const std::string& packet : part) {
    while (at != whole.end() && *at != packet) ++at;
    if (at == whole.end()) return false;
    ++at;
  }
  return true;
}

}  // namespace Kvex::Testing
