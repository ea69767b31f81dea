#include "nav/QuonDecoder.h"

#include "library/Enumerations.h"

namespace Kvex::Nav {

using Lib::ByteView;

namespace {

constexpr std::size_t kSourceSize = 5;
constexpr std::uint8_t kNoProvenance = 255;

// Values of `Provenance` that say what an address is. Those between are serial ports.
constexpr std::uint8_t kUdp = 0;
constexpr std::uint8_t kFile = 16;

}  // namespace

FeedResult QuonDecoder::feedBlock(ByteView block, bool check) {
  if (block.size() >= kSourceSize) {
    setSource(block.u32(0), block.u8(4));
    block = block.from(kSourceSize);
  }
  FeedResult result = FeedResult::Nothing;
  for (; block.size() >= protocol.packetSize; block = block.from(protocol.packetSize)) {
    const FeedResult fed = feedPacket(block.from(0, protocol.packetSize), check);
    if (fed == FeedResult::Nothing) continue;
    result = fed;
    if (result == FeedResult::ScanEnded) break;
  }
  return result;
}

void QuonDecoder::setSource(std::uint32_t address, std::uint8_t provenance) {
  if (!wants.Provenance || provenance == kNoProvenance) {
    markNotAvailable(record.Provenance, record.Address, record.AddressIPv4, record.AddressFile, record.AddressSerial);
    return;
  }
  setField(record.Provenance, static_cast<std::uint8_t>(Lib::kProvenanceNames.clamped(provenance)));
  setField(record.Address, address);
  if (provenance == kUdp) {
    setField(record.AddressIPv4, address);
  } else if (provenance == kFile) {
    setField(record.AddressFile, address);
  } else if (provenance < kFile) {
    setField(record.AddressSerial, provenance);
  }
}

}  // namespace Kvex::Nav
