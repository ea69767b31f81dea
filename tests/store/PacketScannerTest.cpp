#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

#include "nav/NavFraming.h"
#include "range/RangeFormat.h"
#include "store/PacketScanner.h"
#include "support/StoreReading.h"

namespace Kvex::Sto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Testing::TempFile;
using Bytes = std::string;

Bytes checked(Bytes packet) {
  packet.back() = 0;
  for (std::size_t at = 1; at + 1 < packet.size(); ++at) packet.back() = static_cast<char>(packet.back() + packet[at]);
  return packet;
}
Bytes quon(char fill) {
  return checked('\xE7' + Bytes(71, fill));
}
Bytes dask(char fill) {
  return checked('\xE8' + Bytes(83, fill));
}
/// A range packet of `size` bytes in all.
Bytes range(char type, std::size_t size) {
  const std::size_t length = size - 4;
  return checked(Bytes{'W', type, static_cast<char>(length), static_cast<char>(length >> 8)} + Bytes(length, 'r'));
}

struct Found {
  std::int64_t offset;
  std::uint32_t type;
  Bytes bytes;

  bool operator==(const Found&) const = default;
};

struct Scan {
  std::vector<Found> packets;
  ScanCounters counters;
  std::uint32_t pending = 0;
};

template <class Framing>
Scan scan(const Bytes& bytes, std::int64_t start = 0) {
  const TempFile path("scan.bin", bytes);
  Lib::InputFile file;
  file.open(path.path());
  PacketScanner<Framing> scanner;
  scanner.restart(start);
  Scan result;
  while (scanner.next(file)) {
    const Lib::ByteView packet = scanner.packet();
    result.packets.push_back({scanner.packetOffset(), scanner.type(), {packet.data(), packet.data() + packet.size()}});
  }
  EXPECT_FALSE(scanner.next(file));
  result.counters = scanner.counters();
  result.pending = scanner.pendingBytes();
  return result;
}

/// The same search over one small buffer that bytes are read into and moved out of.
template <class Framing>
Scan plainScan(const Bytes& bytes) {
  Scan result;
  Bytes buffer;
  std::size_t read = 0;
  std::int64_t head = 0;
  bool synced = true;
  ScanCounters& counters = result.counters;
  for (;;) {
    std::size_t i = 0;
    Frame frame;
    for (;; ++i) {
      frame = Framing::inspect(reinterpret_cast<const std::uint8_t*>(buffer.data()) + i, buffer.size() - i);
      if (frame.state != Frame::State::Failed) synced = true;
      if (frame.state != Frame::State::Failed || std::exchange(synced, false)) break;
    }
    buffer.erase(0, i);
    head += static_cast<std::int64_t>(i);
    counters.junkBytes += i;
    counters.lostSyncs += i > 0 ? 1 : 0;
    if (frame.state == Frame::State::Good) {
      if (++counters.packets == 1) counters.junkBytes = counters.lostSyncs = 0;
      result.packets.push_back({head, frame.type, buffer.substr(0, frame.size)});
      buffer.erase(0, frame.size);
      head += frame.size;
    } else if (frame.state == Frame::State::Partial) {
      const Bytes more = bytes.substr(read, std::min<std::size_t>(2048, 2560 - buffer.size()));
      if (more.empty()) break;
      buffer += more;
      read += more.size();
    }
  }
  result.pending = static_cast<std::uint32_t>(buffer.size());
  return result;
}

TEST(PacketScannerTest, FindsPackets) {
  const Bytes a = quon('a');
  const Bytes b = dask('b');
  Bytes inside = '\xE7' + Bytes(20, 'x') + a;  // a frame that fails, with a true packet in it
  const struct {
    const char* name;
    Bytes bytes;
    std::vector<std::int64_t> offsets;
    std::uint64_t junk;
    std::uint64_t lostSyncs;
    std::uint32_t pending;
  } cases[] = {
      {"nothing", "", {}, 0, 0, 0},
      {"both kinds", a + b + a, {0, 72, 156}, 0, 0, 0},
      {"noise ahead", Bytes(10, 'n') + a, {10}, 0, 0, 0},
      {"noise between", a + Bytes(10, 'n') + b, {0, 82}, 10, 1, 0},
      {"packet inside a failed frame", a + inside + b, {0, 93, 165}, 21, 1, 0},
      {"sync byte ahead of a packet", a + '\xE7' + b, {0, 73}, 1, 1, 0},
      {"end cut off", a + b.substr(0, 83), {0}, 0, 0, 83},
      {"noise at the end", a + Bytes(5, 'n'), {0}, 5, 1, 0},
      {"only noise", Bytes(100'000, 'n'), {}, 100'000, 50, 0},
      {"wrong check byte", a + a.substr(0, 71) + 'x' + b, {0, 144}, 72, 1, 0},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.name);
    const Scan found = scan<Nav::NavFraming>(expected.bytes);
    std::vector<std::int64_t> offsets;
    for (const Found& packet : found.packets) offsets.push_back(packet.offset);
    EXPECT_EQ(offsets, expected.offsets);
    EXPECT_EQ(found.counters.packets, expected.offsets.size());
    EXPECT_EQ(found.counters.junkBytes, expected.junk);
    if (expected.junk < 1000) {
      EXPECT_EQ(found.counters.lostSyncs, expected.lostSyncs);
    }
    EXPECT_EQ(found.pending, expected.pending);
  }
  EXPECT_THAT(scan<Nav::NavFraming>(a + b, 30).packets,
              ElementsAre(Found{72, static_cast<std::uint32_t>(Nav::Protocols::Dask), b}));
  EXPECT_THAT(scan<Nav::NavFraming>(a, 1000).packets, IsEmpty());
}

TEST(PacketScannerTest, RangeFramesOfAllSizes) {
  for (int size = 4; size <= 2560; size += 71) {
    Bytes full = range(1, static_cast<std::size_t>(size));
    if (size > 5) std::fill(full.begin() + 4, full.end(), '\xFF');
    EXPECT_EQ(scan<Rng::RangeFormat>(checked(full)).packets.size(), size == 4 ? 0U : 1U) << size;
  }
  const Bytes tooLarge = Bytes("W\x01\xFD\x09", 4) + range(2, 100);  // claims 2561 bytes
  EXPECT_THAT(scan<Rng::RangeFormat>(tooLarge).packets, ElementsAre(Found{4, 2, range(2, 100)}));
  const Bytes all = range(0, 2560) + Bytes("W\0\0\0", 4) + range(7, 5) + range(3, 2559) + "W\x01";
  const Scan found = scan<Rng::RangeFormat>(all);
  EXPECT_THAT(found.packets, ElementsAre(Found{0, 0, range(0, 2560)}, Found{2560, 0, Bytes("W\0\0\0", 4)},
                                         Found{2564, 7, range(7, 5)}, Found{2569, 3, range(3, 2559)}));
  EXPECT_EQ(found.pending, 2U);
}

/// Packets with noise, cuts and changed bytes; a few of them are true sync bytes.
template <class MakePacket>
Bytes damaged(std::mt19937& random, const Bytes& syncs, MakePacket&& makePacket) {
  Bytes bytes;
  while (bytes.size() < 150'000) {
    Bytes piece = makePacket();
    if (random() % 6 == 0) piece.resize(random() % piece.size());
    if (random() % 6 == 0) piece[random() % std::max<std::size_t>(piece.size(), 1)] = static_cast<char>(random());
    bytes += piece;
    if (random() % 8 == 0) {
      Bytes noise(random() % (random() % 8 == 0 ? 9000 : 60), '\0');
      for (char& byte : noise) byte = random() % 30 == 0 ? syncs[random() % syncs.size()] : static_cast<char>(random());
      bytes += noise;
    }
  }
  return bytes;
}

template <class Framing>
void compareWithPlainScan(const Bytes& bytes) {
  const Scan found = scan<Framing>(bytes);
  const Scan plain = plainScan<Framing>(bytes);
  EXPECT_GT(found.packets.size(), 50U);
  EXPECT_TRUE(found.packets == plain.packets);
  EXPECT_EQ(found.counters.junkBytes, plain.counters.junkBytes);
  EXPECT_EQ(found.counters.lostSyncs, plain.counters.lostSyncs);
  EXPECT_EQ(found.counters.packets, plain.counters.packets);
  EXPECT_EQ(found.pending, plain.pending);
}

TEST(PacketScannerTest, ReadsAheadWithoutAnyDifference) {
  for (std::uint32_t seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    compareWithPlainScan<Nav::NavFraming>(damaged(random, "\xE7\xE8", [&] {
      return random() % 2 == 0 ? quon(static_cast<char>(random())) : dask(static_cast<char>(random()));
    }));
    compareWithPlainScan<Rng::RangeFormat>(damaged(random, "W", [&] {
      return range(static_cast<char>(random() % 5), 5 + random() % (random() % 4 == 0 ? 2600 : 200));
    }));
  }
}

}  // namespace
}  // namespace Kvex::Sto
