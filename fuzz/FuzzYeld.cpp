// Packets of a range unit: each is a type byte, a length byte and so many bytes of body, put into a frame with a right
// check byte. A first pass, and two walks that must give the same.

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "range/RangeDecoder.h"
#include "support/Check.h"
#include "synth/RangePackets.h"

using namespace Kvex;

namespace {

using Packets = std::vector<std::vector<std::uint8_t>>;

/// Copies of their own, so that a read beyond a packet is seen. The length byte counts in pairs beyond 200, so that
/// lane reports and long packets and more fit.
Packets frames(std::span<const std::uint8_t> input) {
  Packets packets;
  while (input.size() >= 2) {
    const std::uint8_t type = input[0];
    const std::size_t length = std::min<std::size_t>(input[1] < 200 ? input[1] : 2U * input[1] - 200, input.size() - 2);
    Synth::RangePacket packet(type, 5 + length);
    for (std::size_t i = 0; i < length; ++i) packet.put(4 + i, input[2 + i], 1);
    const auto bytes = packet.bytes();
    packets.emplace_back(bytes.begin(), bytes.end());
    input = input.subspan(2 + length);
  }
  return packets;
}

/// A number of all that the packets left in the record.
std::uint64_t walk(Rng::RangeDecoder& decoder, const Packets& packets) {
  decoder.reset();
  std::uint64_t sum = 0;
  for (const auto& packet : packets) {
    decoder.feedRaw(std::span(packet));
    const Rng::RangeRecord& record = decoder.record();
    sum = sum * 31 + static_cast<std::uint64_t>(record.body.Nano.value) + record.body.Nano.flags;
    for (const Rng::RangeTarget& target : record.targets) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &target.RangeRes.value, sizeof bits);
      sum = sum * 31 + bits + target.IsoPolygonPointsPcX[0].flags + target.StaticTargetType.value;
    }
  }
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Packets packets = frames({data + 1, size - 1});
  const auto decoder = std::make_unique<Rng::RangeDecoder>();
  for (const auto& packet : packets) {
    if (decoder->feedRaw(std::span(packet)) == Rng::RangeDecoder::Feed::PassDone) break;
  }
  if (data[0] != 0) {
    // Wants picked by the first byte.
    Rng::RangeWantTree wants;
    wants.wantAll(false);
    for (std::size_t i = data[0] % 7; i < static_cast<std::size_t>(Rng::TargetGroup::Count); i += 7) {
      wants.targets[i % Rng::kTargets][static_cast<Rng::TargetGroup>(i)] = true;
    }
    for (std::size_t i = data[0] % 11; i < static_cast<std::size_t>(Rng::BodyGroup::Count); i += 11) {
      wants.body[static_cast<Rng::BodyGroup>(i)] = true;
    }
    wants.settleWants();
    decoder->setWants(wants);
  }
  const std::uint64_t first = walk(*decoder, packets);
  Fuzz::check(walk(*decoder, packets) == first);
  return 0;
}
