#include "nav/StreamQuon.h"

#include "library/Enumerations.h"
#include "library/PackedText.h"
#include "nav/ScanTexts.h"

namespace Kvex::Sto {

using Nav::FeedResult;
using Nav::scanText;

namespace {

/// A block: five bytes of source and at least one packet.
constexpr std::size_t kMinBlock = 5 + Nav::kQuonProtocol.packetSize;

}  // namespace

FeedResult StreamQuon::feedRaw(ByteView packet) {
  if (packet.size() == Nav::kQuonProtocol.packetSize) return decoder_.feedPacket(packet, false);
  if (packet.size() < kMinBlock) return FeedResult::ScanEnded;
  return decoder_.feedBlock(packet, true);
}

void StreamQuon::wantForScan(Nav::NavWantTree& wants) const {
  wants.DiskSpace = wants.Veh2OutHeading = true;
}

void StreamQuon::describeSource() {
  Com::TaggedPacket* tag = header().findHeader("{Kvex-Range}");
  if (tag == nullptr) return;
  const auto& address = last_.AddressIPv4;
  tag->setText("Provenance", scanText(last_.Provenance, Lib::kProvenanceNames));
  tag->setText("Address.IPv4", address.usable() ? Lib::dottedAddress(address.value) : "");
  tag->setText("Address.File", scanText(last_.AddressFile));
  tag->setText("Address.Serial", scanText(last_.AddressSerial));
}

}  // namespace Kvex::Sto
