#include "nav/StreamDask.h"

namespace Kvex::Sto {

StreamDask::StreamDask(ResourceKind kind, std::uint32_t serialNumber)
    : StreamNav(kind, serialNumber, StreamCodec::Dask, StaticAccessDask::table()) {}

std::optional<Nav::FeedResult> StreamDask::feedRaw(ByteView packet) {
  if (packet.size() != Nav::kDaskProtocol.packetSize) return std::nullopt;
  return decoder_.feedPacket(packet, false);
}

}  // namespace Kvex::Sto
