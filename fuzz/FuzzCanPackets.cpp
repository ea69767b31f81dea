// Packets of a CAN bus against a fixed database: each is a length byte and so many bytes. Both passes and a second walk
// go over them, which must give what the first one gave.

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "can/StreamCan.h"
#include "support/Check.h"
#include "synth/CanBus.h"

using namespace Kvex;

namespace {

using Packets = std::vector<std::vector<std::uint8_t>>;

/// Copies of their own, so that a read beyond a packet is seen.
Packets split(std::span<const std::uint8_t> input) {
  Packets packets;
  while (!input.empty()) {
    const std::size_t length = std::min<std::size_t>(input.front(), input.size() - 1);
    packets.emplace_back(input.begin() + 1, input.begin() + 1 + static_cast<std::ptrdiff_t>(length));
    input = input.subspan(1 + length);
  }
  return packets;
}

void scan(Sto::StreamCan& stream, const Packets& packets) {
  for (const auto& packet : packets) stream.take(std::span(packet), Sto::Pass::Scan);
  stream.endScan();
}

std::vector<Lib::Sample> lastValues(const Sto::StreamCan& stream) {
  std::vector<Sto::SignalListing> listings;
  stream.listSignals(listings, UINT32_MAX);
  std::vector<Lib::Sample> values;
  for (const Sto::SignalListing& listing : listings) values.push_back(stream.lastValue(listing.name));
  return values;
}

bool same(const Lib::Sample& a, const Lib::Sample& b) {
  return a.time == b.time && a.flags == b.flags && a.value == b.value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string kHeader = Synth::CanBus::headerPacket();
  const Packets packets = split({data, size});
  Sto::StreamCan stream({Lib::StreamCodec::Can, Sto::ResourceKind::Recording, 1});
  Com::TaggedHeader header;
  header.addHeader(Com::TaggedPacket(kHeader));
  stream.takeHeader(std::move(header), {});
  for (const auto& packet : packets) {
    if (stream.take(std::span(packet), Sto::Pass::Probe)) break;
  }
  stream.endProbe();
  scan(stream, packets);
  const std::vector<Lib::Sample> first = lastValues(stream);
  scan(stream, packets);
  Fuzz::check(std::ranges::equal(first, lastValues(stream), same));
  return 0;
}
