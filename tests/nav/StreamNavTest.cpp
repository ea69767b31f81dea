#include <gtest/gtest.h>
#include <vector>

#include "nav/StreamDask.h"
#include "nav/StreamQuon.h"
#include "synth/NavPackets.h"

namespace Kvex::Sto {
namespace {

using Synth::NavPacket;

constexpr Nano kStart = 1'400'000'000'000'000'000;
constexpr Nano kHour = 3600 * Lib::kNanosPerSecond;

/// A packet of a unit that has found its position; with `timed` it has a time, and its channel has the minute.
std::vector<std::uint8_t> packetAt(const Nav::NavProtocol& protocol, Nano time, bool timed = true) {
  NavPacket packet(protocol);
  packet.time(time).position(52, 1, 80);
  if (!timed) packet.put(1, 65535, 2);
  packet.channel(timed ? 0 : 12, timed ? Synth::minuteChannel(time) : Synth::ChannelBytes());
  return {packet.bytes().begin(), packet.bytes().end()};
}

ByteView view(const std::vector<std::uint8_t>& bytes) {
  return {bytes.data(), bytes.size()};
}

/// Takes packets through both passes, as the reader of a bare file does.
void scan(Stream& stream, const std::vector<std::vector<std::uint8_t>>& packets, Com::TaggedHeader header = {}) {
  stream.takeHeader(std::move(header), {});
  for (const auto& packet : packets) {
    if (stream.take(view(packet), Pass::Probe)) break;
  }
  stream.endProbe();
  for (const auto& packet : packets) stream.take(view(packet), Pass::Scan);
  stream.endScan();
}

TEST(StreamNavTest, HasTimeWhereTheEndIsKnownOrLikely) {
  struct Case {
    const char* what;
    std::vector<Nano> times;  ///< Of timed packets, from the start; one without time follows.
    bool timedEnd;
    bool hasTime;
  };
  constexpr Nano kTick = 10'000'000;
  for (const Case& c : {Case{"timed", {0, kTick, 2 * kTick}, true, true},
                        Case{"untimed end after five hours", {0, kTick, 2 * kTick, 5 * kHour}, false, true},
                        Case{"untimed end after seven hours", {0, kTick, 2 * kTick, 7 * kHour}, false, false},
                        Case{"untimed end at once", {0, kTick, 2 * kTick}, false, false},
                        Case{"one time only", {0, kTick}, false, false}}) {
    SCOPED_TRACE(c.what);
    StreamQuon stream({StreamCodec::Quon, ResourceKind::NavigationFile, 0});
    std::vector<std::vector<std::uint8_t>> packets;
    for (const Nano time : c.times) {
      // The minute of a packet comes with the one before it.
      if (time > kHour) packets.push_back(packetAt(Nav::kQuonProtocol, kStart + time));
      packets.push_back(packetAt(Nav::kQuonProtocol, kStart + time));
    }
    if (!c.timedEnd) packets.push_back(packetAt(Nav::kQuonProtocol, kStart, false));
    scan(stream, packets);
    EXPECT_EQ(stream.hasTime(), c.hasTime);
    if (!c.hasTime) continue;
    EXPECT_EQ(stream.startSample().asInteger(), kStart);
    EXPECT_EQ(stream.endSample().asInteger(), kStart + c.times.back());
    EXPECT_EQ(stream.endSample().flags, 0);
  }
}

TEST(StreamNavTest, KeepsTheStartAsTheFirstPassFoundIt) {
  StreamDask stream({StreamCodec::Dask, ResourceKind::NavigationFile, 0});
  std::vector<std::vector<std::uint8_t>> packets;
  for (int i = 0; i < 5; ++i) packets.push_back(packetAt(Nav::kDaskProtocol, kStart + i * 10'000'000));
  scan(stream, packets);
  const Sample lat = stream.firstValue("Lat");
  EXPECT_EQ(lat.flags, Lib::Flag::kProvisional);
  EXPECT_NEAR(lat.as<double>(), 52, 1e-12);
  EXPECT_EQ(stream.lastValue("Lat").flags,
            (Lib::Flag::kNotAvailable | Lib::Flag::kProvisional));  // the second pass did not want it
  EXPECT_EQ(stream.lastValue("TimeWeekCount").flags, 0);
  EXPECT_EQ(stream.lastValue("NoSuchSignal").flags, Lib::Flag::kNeverWritten);
  std::string text;
  const Com::TaggedPacket* tag = stream.header().findHeader("{Kvex-StreamScan}");
  ASSERT_NE(tag, nullptr);
  EXPECT_TRUE(tag->getText("StreamCodec", text));
  EXPECT_EQ(text, "Dask");
  EXPECT_TRUE(tag->getText("OutputRegularRate", text));
  EXPECT_EQ(text, "");
  EXPECT_EQ(tag->values.size(), 13U);
}

TEST(StreamNavTest, PassesOverRecordsOfOtherSizes) {
  const std::vector<std::uint8_t> quon = packetAt(Nav::kQuonProtocol, kStart);
  StreamDask dask({StreamCodec::Dask, ResourceKind::NavigationFile, 0});
  EXPECT_TRUE(dask.take(view(quon), Pass::Probe));
  StreamQuon stream({StreamCodec::Quon, ResourceKind::RangeFile, 5});
  EXPECT_FALSE(stream.take(view(quon), Pass::Probe));
  std::vector<std::uint8_t> odd = quon;
  odd.push_back(0);
  EXPECT_TRUE(stream.take(view(odd), Pass::Probe));
}

TEST(StreamNavTest, DescribesTheSourceOfAStreamInARangeFile) {
  StreamQuon stream({StreamCodec::Quon, ResourceKind::RangeFile, 5});
  Com::TaggedHeader header;
  header.addHeader(Com::TaggedPacket("{Kvex-Range}"));
  std::vector<std::vector<std::uint8_t>> packets;
  for (int i = 0; i < 5; ++i) {
    std::vector<std::uint8_t> block;
    for (const std::uint8_t byte : Synth::blockSource(0x0A00A8C0, 0)) block.push_back(byte);
    const auto packet = packetAt(Nav::kQuonProtocol, kStart + i * 10'000'000);
    block.insert(block.end(), packet.begin(), packet.end());
    packets.push_back(block);
  }
  scan(stream, packets, std::move(header));
  const Com::TaggedPacket* tag = stream.header().findHeader("{Kvex-Range}");
  std::string text;
  EXPECT_TRUE(tag->getText("Provenance", text));
  EXPECT_EQ(text, "UDP");
  EXPECT_TRUE(tag->getText("Address.IPv4", text));
  EXPECT_EQ(text, "192.168.0.10");
  EXPECT_TRUE(tag->getText("Address.File", text));
  EXPECT_EQ(text, "");
  EXPECT_TRUE(stream.hasTime());
}

}  // namespace
}  // namespace Kvex::Sto
