#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "nav/DaskDecoder.h"
#include "nav/NavTables.h"
#include "nav/QuonDecoder.h"
#include "synth/NavPackets.h"

namespace Kvex::Nav {
namespace {

using Lib::Nano;
using Synth::ChannelBytes;
using Synth::NavPacket;

constexpr Nano kStart = 1'400'000'000'000'000'000;

Lib::ByteView view(const std::vector<std::uint8_t>& bytes) {
  return {bytes.data(), bytes.size()};
}

/// A decoder in the middle of a walk at `kStart`, with a packet of mode 4 behind it.
template <class Decoder>
struct Walking : Decoder {
  Walking() : Decoder(false) {
    for (int i = 0; i < 2; ++i) feed(regular(4));
  }
  NavPacket regular(int mode) const {
    NavPacket packet(this->protocol);
    packet.time(kStart).mode(static_cast<std::uint8_t>(mode)).channel(0, Synth::minuteChannel(kStart));
    packet.acceleration({1, 2, 3}).angularRate({4, 5, 6}).position(50, 10, 100).velocity({7, 8, 9});
    return packet.attitude({90, 1, 2});
  }
  FeedResult feed(NavPacket packet) { return this->feedPacket(packet.bytes(), true); }
};

TEST(NavDecoderTest, GoesByTheMode) {
  struct Case {
    int mode;
    int type;         ///< `OutputPacketType`
    int inertial;     ///< Flags of `Ax`
    int position;     ///< Flags of `Lat`
    int speed;        ///< Flags of `Speed2d`
    int numberOfObs;  ///< What channel 0 has left in `GpsNumObs`.
  };
  constexpr int kNone = Lib::Flag::kNotAvailable;
  constexpr int kFirst = Lib::Flag::kProvisional;
  for (const Case& c : {Case{0, 1, kNone, kNone, kNone, 0},
                        {1, 2, 0, kNone, kNone, 9},
                        {2, 2, 0, kFirst, kNone, 9},
                        {3, 2, 0, 0, 0, 9},
                        {4, 2, 0, 0, 0, 9},
                        {5, 1, 0, 0, 0, 0},
                        {6, 3, kNone, kNone, kNone, 9},
                        {7, 3, kNone, kNone, kNone, 9},
                        {8, 1, 0, 0, 0, 0},
                        {10, 3, kNone, kNone, kNone, 9},
                        {11, 3, kNone, kNone, kNone, 0},
                        {12, 1, 0, 0, 0, 0},
                        {19, 1, 0, 0, 0, 0},
                        {20, 1, kNone, kNone, kNone, 9},
                        {23, 1, 0, 0, 0, 0},
                        {255, 1, 0, 0, 0, 0}}) {
    SCOPED_TRACE(c.mode);
    Walking<QuonDecoder> decoder;
    NavPacket packet = decoder.regular(c.mode);
    packet.channel(0, Synth::minuteChannel(kStart).putByte(4, 9));
    EXPECT_EQ(decoder.feed(packet), FeedResult::Decoded);
    EXPECT_EQ(decoder.record.OutputPacketType.value, c.type);
    EXPECT_EQ(decoder.record.InsNavMode.value, std::min(c.mode, 23));
    EXPECT_EQ(decoder.record.Ax.flags, c.inertial);
    EXPECT_EQ(decoder.record.Lat.flags, c.position);
    EXPECT_EQ(decoder.record.Speed2d.flags, c.speed);
    EXPECT_EQ(decoder.record.GpsNumObs.value, c.numberOfObs);
  }
}

TEST(NavDecoderTest, ReadsTheStructuredPart) {
  Walking<QuonDecoder> decoder;
  decoder.feed(decoder.regular(4).put(52, 0xFFFFFF, 3).put(49, 0x000001, 3));
  EXPECT_EQ(decoder.record.Heading.value, 359.9999427042205);
  EXPECT_EQ(decoder.record.Vd.value, 0.0001);
  EXPECT_EQ(decoder.record.Vu.value, -0.0001);
  EXPECT_EQ(decoder.record.Ay.value, 2.0);
  EXPECT_NEAR(decoder.record.Wz.value, 6.0, 1e-3);
  EXPECT_NEAR(decoder.record.Lon.value, 10.0, 1e-12);
  EXPECT_EQ(decoder.record.Alt.stamp, kStart);

  // Marker values and values that are not finite leave their field, and no other.
  const std::uint64_t notANumber = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN());
  decoder.feed(decoder.regular(4).put(49, 0x800000, 3).put(23, notANumber, 8).put(3, 0x800000, 3).put(55, 0x800000, 3));
  const NavRecord& r = decoder.record;
  EXPECT_EQ((std::vector<int>{r.Vd.flags, r.Vu.flags, r.Lat.flags, r.Ax.flags, r.Pitch.flags}),
            std::vector<int>(5, Lib::Flag::kNotAvailable));
  EXPECT_EQ((std::vector<int>{r.Vn.flags, r.Lon.flags, r.Alt.flags, r.Ay.flags, r.Roll.flags}), std::vector<int>(5, 0));
  EXPECT_EQ(r.Vd.value, 0.0001);
}

TEST(NavDecoderTest, MarksWhatAPacketWrites) {
  Walking<QuonDecoder> decoder;
  NavRecord& r = decoder.record;
  r.clearWritten();
  decoder.feed(decoder.regular(4).put(49, 0x800000, 3));
  for (const bool written : {r.Nano.written, r.Index.written, r.Lat.written, r.IsoYaw.written, r.IsoRoll.written}) {
    EXPECT_TRUE(written);
  }
  EXPECT_FALSE(r.Vd.written) << "a mark alone";
  EXPECT_FALSE(r.NanoLocal.written) << "a stamp alone";
  r.clearWritten();
  decoder.feed(decoder.regular(6));
  EXPECT_FALSE(r.Lat.written);
  EXPECT_TRUE(r.InsNavMode.written);
}

TEST(NavDecoderTest, TakesTheTimeOfATriggerPacketFromItsEvent) {
  const auto event = [](const Walking<QuonDecoder>& decoder, int channel, std::uint8_t number) {
    NavPacket packet = decoder.regular(22);
    return packet.channel(static_cast<std::uint8_t>(channel),
                          Synth::minuteChannel(kStart).putWord(4, 50).putByte(6, 1).putByte(7, number));
  };
  constexpr Nano kEvent = kStart / 60'000'000'000 * 60'000'000'000 + 50'004'000;
  for (const auto& [channel, type] : {std::pair{24, 4}, {43, 5}, {65, 6}, {79, 8}, {80, 9}, {81, 10}}) {
    Walking<QuonDecoder> decoder;
    decoder.feed(event(decoder, channel, 1));
    EXPECT_EQ(decoder.record.OutputPacketType.value, type);
    EXPECT_EQ(decoder.record.OutputPacketType.stamp, kEvent);
    EXPECT_EQ(decoder.record.InsNavMode.value, 4);
    EXPECT_EQ(decoder.record.Nano.value, kEvent);
    EXPECT_TRUE(decoder.record.Speed2d.usable());
    EXPECT_FALSE(decoder.record.Jx.usable());
    // The same event again has no time, but is decoded.
    decoder.feed(event(decoder, channel, 1));
    EXPECT_EQ(decoder.record.Nano.flags, Lib::Flag::kNotAvailable);
    EXPECT_EQ(decoder.record.OutputPacketType.value, type);
    EXPECT_TRUE(decoder.record.Speed2d.usable());
  }
}

TEST(NavDecoderTest, TakesTheProductNameFromATextPacket) {
  for (const bool dask : {false, true}) {
    Walking<QuonDecoder> quonDecoder;
    Walking<DaskDecoder> daskDecoder;
    NavDecoder& decoder = dask ? static_cast<NavDecoder&>(daskDecoder) : quonDecoder;
    NavPacket packet(decoder.protocol);
    packet.productText(std::string(18, 'a') + std::string(60, 'b'));
    decoder.feedPacket(packet.bytes(), true);
    EXPECT_EQ(textOf(decoder.record.ProductName), std::string(18, 'a') + std::string(47, 'b'));
    EXPECT_EQ(decoder.record.ProductName.flags, Lib::Flag::kUntimed);  // the packet has no time
    EXPECT_EQ(decoder.record.OutputPacketType.value, 3);
  }
}

TEST(NavDecoderTest, ChecksPackets) {
  Walking<QuonDecoder> decoder;
  NavPacket packet = decoder.regular(4);
  std::vector<std::uint8_t> good(packet.bytes().begin(), packet.bytes().end());
  std::vector<std::uint8_t> bad = good;
  bad[30] ^= 1;
  std::vector<std::uint8_t> foreign = good;
  foreign[0] = 0xE8;
  EXPECT_EQ(decoder.feedPacket(view(good), true), FeedResult::Decoded);
  EXPECT_EQ(decoder.feedPacket(view(bad), true), FeedResult::Nothing);
  EXPECT_EQ(decoder.feedPacket(view(bad), false), FeedResult::Decoded);
  EXPECT_EQ(decoder.feedPacket(view(foreign), true), FeedResult::Nothing);
  EXPECT_EQ(decoder.feedPacket(view(good).from(0, 71), true), FeedResult::Nothing);
  EXPECT_EQ(decoder.feedPacket({}, false), FeedResult::Nothing);

  std::vector<std::uint8_t> stamped(8, 0xAA);
  stamped.insert(stamped.end(), good.begin(), good.end());
  EXPECT_EQ(decoder.feedStamped(view(stamped).from(0, 79), false), FeedResult::Nothing);
  stamped.push_back(7);
  EXPECT_EQ(decoder.feedStamped(view(stamped), true), FeedResult::Decoded);
  stamped[8 + 30] ^= 1;
  EXPECT_EQ(decoder.feedStamped(view(stamped), true), FeedResult::Nothing);
}

TEST(NavDecoderTest, ReadsBlocksBehindTheirSource) {
  Walking<QuonDecoder> decoder;
  const auto block = [&](std::uint32_t address, std::uint8_t provenance, bool damaged) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint8_t byte : Synth::blockSource(address, provenance)) bytes.push_back(byte);
    for (const int mode : {3, 4}) {
      NavPacket packet = decoder.regular(mode);
      bytes.insert(bytes.end(), packet.bytes().begin(), packet.bytes().end());
    }
    if (damaged) bytes.back() ^= 1;
    bytes.resize(bytes.size() + 71);
    return bytes;
  };
  const NavRecord& r = decoder.record;
  EXPECT_EQ(decoder.feedBlock(view(block(0x0100007F, 0, false)), true), FeedResult::Decoded);
  EXPECT_EQ(r.InsNavMode.value, 4);
  EXPECT_EQ((std::vector<int>{r.Provenance.flags, r.AddressIPv4.flags, r.AddressFile.flags, r.AddressSerial.flags}),
            (std::vector<int>{0, 0, Lib::Flag::kNeverWritten, Lib::Flag::kNeverWritten}));
  EXPECT_EQ(r.AddressIPv4.value, 0x0100007FU);
  EXPECT_EQ(decoder.feedBlock(view(block(5, 16, true)), true), FeedResult::Decoded);
  EXPECT_EQ(r.InsNavMode.value, 3);  // the damaged second packet is passed over
  EXPECT_EQ(r.AddressFile.value, 5U);
  decoder.feedBlock(view(block(6, 15, false)), true);
  EXPECT_EQ(r.AddressSerial.value, 15);
  decoder.feedBlock(view(block(7, 200, false)), true);
  EXPECT_EQ(r.Provenance.value, 19);
  EXPECT_EQ(r.Address.value, 7U);
  EXPECT_EQ(r.AddressSerial.value, 15);
  EXPECT_EQ(decoder.feedBlock(view(block(8, 255, false)).from(0, 76), true), FeedResult::Nothing);
  EXPECT_EQ(r.Address.flags, Lib::Flag::kNotAvailable);
}

TEST(NavDecoderTest, ReadsWhatOnlyDaskPacketsHold) {
  Walking<DaskDecoder> decoder;
  NavRecord& r = decoder.record;
  EXPECT_EQ(decoder.protocol.packetSize, 84U);
  NavPacket packet = decoder.regular(4);
  packet.put(62, 0xFFFF, 2).put(64, 100, 2).put(66, 3, 2).put(68, 0x07, 1).channel(12, {});
  r.TxPacketCounter.value = 0x1FFFF;
  decoder.setField(r.GpsPosMode, 3);
  decoder.setField(r.HeadSearchType, 2);
  markNotAvailable(r.GpsAttMode);
  decoder.feed(packet);
  EXPECT_EQ(r.Heave.value, -0.002);
  EXPECT_NE(r.LPHeave.flags & Lib::Flag::kNotAvailable, 0);
  EXPECT_EQ(r.TxPacketCounter.value, 0x20003U);
  EXPECT_EQ(r.GpsPosMode.value, 0);
  EXPECT_EQ(r.HeadSearchType.value, 2);
  EXPECT_FALSE(r.GpsAttMode.usable());
  EXPECT_EQ(r.RxVersionId.value, 0);

  decoder.setField(r.LPHeaveLatency, 1);
  decoder.setField(r.LPHeavePeriod, 1);
  decoder.setField(r.GpsAttMode, 5);
  decoder.feed(packet.put(68, 0, 1));
  EXPECT_EQ(r.LPHeave.value, 0.2);
  EXPECT_EQ(r.GpsAttMode.value, 6);
  EXPECT_EQ(r.HeadSearchType.value, 0);
  EXPECT_FALSE(r.Jx.usable());
  EXPECT_FALSE(r.IsoJnX.usable());
  decoder.finishScan(true);
  EXPECT_EQ(r.RxVersionId.value, 21);
}

/// What a reader sees of a signal: a value that is not available does not count.
struct Seen {
  std::string name;
  int flags;
  Nano stamp;
  std::uint64_t value;
  bool operator==(const Seen&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Seen& seen) {
  return out << seen.name << " flags " << seen.flags << " stamp " << seen.stamp << " value " << seen.value;
}

/// All signals of a record that `wants` asks for.
std::vector<Seen> seenOf(const Sto::SignalTable& table, const NavRecord& record, const NavWantTree& wants) {
  std::vector<Seen> signals;
  table.forEach([&](const Sto::SignalRow& row) {
    NavWantTree withRow = wants;
    row.want(&withRow, row.blockIndex);
    if (std::memcmp(&withRow, &wants, sizeof wants) != 0) return;
    const Sto::Sample sample = row.read(&record);
    const bool counts = (sample.flags & (Lib::Flag::kNotAvailable | Lib::Flag::kNeverWritten)) == 0;
    signals.push_back({row.name, sample.flags, counts ? sample.time : 0, counts ? sample.value : 0});
  });
  return signals;
}

/// Wanted signals read the same whatever else is wanted, also in a walk that wants less than the one before.
template <class Decoder>
void holdAgainstEverythingWanted(const Sto::SignalTable& table, std::uint32_t seed) {
  constexpr int kPackets = 1500;
  std::mt19937 random(seed);
  Decoder all(true);
  Decoder few(true);
  for (Decoder* decoder : {&all, &few}) {
    Synth::NavDrive drive(decoder->protocol, seed, kStart);
    for (int i = 0; i < kPackets; ++i) decoder->feedPacket(drive.next(), true);
  }
  for (const unsigned oneIn : {1U, 4U, 40U, 400U}) {
    few.wants.wantAll(false);
    few.wants.DiskSpace = true;  // IMU part types come in its channel and have another group
    table.forEach([&](const Sto::SignalRow& row) {
      if (random() % oneIn == 0) row.want(&few.wants, row.blockIndex);
    });
    few.settleWants();
    all.finishScan(true);
    few.finishScan(true);
    Synth::NavDrive drive(all.protocol, seed, kStart);
    for (int i = 0; i < kPackets; ++i) {
      const auto packet = drive.next();
      all.feedPacket(packet, true);
      few.feedPacket(packet, true);
      if (i % 50 != 0) continue;
      const auto expected = seenOf(table, all.record, few.wants);
      const auto got = seenOf(table, few.record, few.wants);
      for (std::size_t s = 0; s < got.size(); ++s) ASSERT_EQ(got[s], expected[s]) << "one in " << oneIn << ", " << i;
    }
  }
}

/// A packet of random bytes with a mode and a channel that exist, or nearly.
std::vector<std::uint8_t> randomPacket(const NavProtocol& protocol, std::mt19937& random) {
  constexpr std::uint8_t kModes[] = {0, 1, 2, 3, 4, 4, 4, 4, 6, 7, 10, 11, 20, 21, 22, 30};
  std::vector<std::uint8_t> packet(protocol.packetSize);
  const bool empty = random() % 4 == 0;
  for (std::uint8_t& byte : packet) byte = empty && random() % 2 == 0 ? 0xFF : static_cast<std::uint8_t>(random());
  packet[21] = kModes[random() % std::size(kModes)];
  packet[protocol.channelOffset] = static_cast<std::uint8_t>(random() % (ChannelState::kChannelCount + 2));
  return packet;
}

/// Readers of native samples pass by the signals of other channels than the one that a packet reports.
template <class Decoder>
void expectOnlyTheReportedChannelChanges(const Sto::SignalTable& table) {
  constexpr int kPackets = 4000;
  std::vector<Sto::SignalRow> ofChannels;
  table.forEach([&](const Sto::SignalRow& row) {
    if (row.message != Sto::SignalRow::kAnyMessage) ofChannels.push_back(row);
  });
  EXPECT_GT(ofChannels.size(), table.count() / 2U);
  std::mt19937 random(1);
  Decoder decoder(false);
  for (int i = 0; i < kPackets; ++i) {
    std::vector<std::uint8_t> flags;
    for (const Sto::SignalRow& row : ofChannels) flags.push_back(row.read(&decoder.record).flags);
    decoder.record.clearWritten();
    decoder.reportedChannel = Sto::SignalRow::kNoMessage;
    decoder.feedPacket(view(randomPacket(decoder.protocol, random)), false);
    for (std::size_t row = 0; row < ofChannels.size(); ++row) {
      if (ofChannels[row].message == decoder.reportedChannel) continue;
      Lib::withType(ofChannels[row].valueType, [&](auto tag) {
        const auto* field = ofChannels[row].template fields<typename decltype(tag)::Type>(&decoder.record);
        ASSERT_FALSE(field->written) << ofChannels[row].name << " in channel " << decoder.reportedChannel;
        ASSERT_EQ(field->flags, flags[row]) << ofChannels[row].name << " in channel " << decoder.reportedChannel;
      });
    }
  }
}

TEST(NavDecoderTest, ChangesOnlyWhatTheReportedChannelHolds) {
  expectOnlyTheReportedChannelChanges<QuonDecoder>(Sto::StaticAccessQuon::table());
  expectOnlyTheReportedChannelChanges<DaskDecoder>(Sto::StaticAccessDask::table());
}

TEST(NavDecoderTest, ReadsTheSameWhateverIsWanted) {
  for (std::uint32_t seed = 1; seed <= 3; ++seed) {
    holdAgainstEverythingWanted<QuonDecoder>(Sto::StaticAccessQuon::table(), seed);
    holdAgainstEverythingWanted<DaskDecoder>(Sto::StaticAccessDask::table(), seed);
  }
}

}  // namespace
}  // namespace Kvex::Nav
