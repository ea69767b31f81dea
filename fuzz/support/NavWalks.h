#pragma once

#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "library/Checksum.h"
#include "nav/NavProtocol.h"
#include "support/Check.h"

namespace Kvex::Fuzz {

/// Takes the input as packets of a navigation protocol, each made good by its sync byte and check byte, and feeds them
/// to a decoder: a first pass, and two walks that must give the same. The first byte picks how much is wanted. (Where
/// only the first walk finds the packets' period, the second one rightly knows more.)
template <class Decoder>
void walkNavPackets(const Nav::NavProtocol& protocol, std::span<const std::uint8_t> input) {
  if (input.empty()) return;
  const int wantLevel = input[0] % 12;
  input = input.subspan(1);
  std::vector<std::vector<std::uint8_t>> packets;  // copies of their own, so that a read beyond a packet is seen
  for (; input.size() >= protocol.packetSize; input = input.subspan(protocol.packetSize)) {
    auto& packet = packets.emplace_back(input.begin(), input.begin() + protocol.packetSize);
    packet.front() = protocol.sync;
    packet.back() = Lib::byteSum(packet.data() + 1, packet.size() - 2);
  }

  const auto decoder = std::make_unique<Decoder>(/*scanFirst=*/true);
  for (const auto& packet : packets) {
    if (decoder->feedPacket(std::span(packet), /*check=*/true) == Nav::FeedResult::ScanEnded) break;
  }
  decoder->setWantLevel(wantLevel);
  const auto walk = [&] {
    decoder->finishScan(/*fill=*/true);
    std::uint64_t sum = 0;
    for (const auto& packet : packets) {
      decoder->feedPacket(std::span(packet), /*check=*/true);
      const Nav::NavRecord& record = decoder->record;
      for (const auto* field : {&record.Lat, &record.Vf, &record.IsoAoX, &record.Dist3d, &record.points[0].Track}) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &field->value, sizeof bits);
        sum = sum * 31 + bits + field->flags;
      }
      sum = sum * 31 + static_cast<std::uint64_t>(record.Nano.value) + record.Nano.flags;
    }
    return sum;
  };
  const Lib::Nano period = decoder->time.packetPeriod;
  const std::uint64_t first = walk();
  if (decoder->time.packetPeriod == period) check(walk() == first);
}

}  // namespace Kvex::Fuzz
