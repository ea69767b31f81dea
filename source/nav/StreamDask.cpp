#include "nav/StreamDask.h"

namespace Kvex::Sto {

Nav::FeedResult StreamDask::feedRaw(ByteView packet) {
  if (packet.size() != Nav::kDaskProtocol.packetSize) return Nav::FeedResult::ScanEnded;
  return decoder_.feedPacket(packet, false);
}

}  // namespace Kvex::Sto
