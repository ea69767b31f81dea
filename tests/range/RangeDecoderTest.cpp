#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <random>

#include "range/RangeDecoder.h"
#include "range/StreamYeld.h"
#include "synth/RangeChase.h"
#include "synth/RangePackets.h"

namespace Kvex::Rng {
namespace {

using namespace Lib::Flag;
using Lib::Nano;
using Synth::ChannelBytes;
using Synth::RangePacket;

constexpr int kResetFlags = kNeverWritten | kUntimed;
constexpr Nano kSecond = 1'000'000'000;
constexpr Nano kTime = 23'100'000 * 60 * kSecond + 5 * kSecond;

/// A decoder past its first pass, which found nothing, and that wants everything.
struct Unit {
  explicit Unit(bool timed = true) {
    decoder.reset();
    for (int i = 0; timed && i < 2; ++i) {
      feed(RangePacket::longForm(4, 4).time(kTime).channel(0, Synth::minuteChannel(kTime)));
    }
  }

  void feed(RangePacket packet) { decoder.feedRaw(packet.bytes()); }
  /// A long packet of the first target at the unit's time, with a channel that holds nothing.
  RangePacket report(std::size_t size = RangePacket::kFullLong) const {
    return RangePacket::longForm(1, 4, size).time(kTime).channel(2, {});
  }
  void feedChannel(std::uint8_t id, const ChannelBytes& data) { feed(report().channel(id, data)); }

  std::unique_ptr<RangeDecoder> owner = std::make_unique<RangeDecoder>();
  RangeDecoder& decoder = *owner;
  const RangeBody& body = decoder.record().body;
  const RangeTarget& t = decoder.record().targets[0];
};

template <class T>
void expectField(const NavField<T>& field, int flags, std::type_identity_t<T> value, const char* what) {
  EXPECT_EQ(field.flags, flags) << what;
  EXPECT_EQ(field.value, value) << what;
}

TEST(RangeFrameTest, Checks) {
  const std::vector<std::uint8_t> good = [] {
    RangePacket packet(9, 8);
    const auto bytes = packet.put(4, 0xFF02F0, 3).bytes();
    return std::vector(bytes.begin(), bytes.end());
  }();
  struct Case {
    const char* name;
    std::size_t available, changed;
    FrameCheck check;
    std::size_t size;
  };
  for (const Case& c :
       {Case{"good", 8, 100, FrameCheck::Good, 8}, Case{"no head", 3, 100, FrameCheck::Incomplete, 0},
        Case{"cut off", 7, 100, FrameCheck::Incomplete, 8}, Case{"other sync", 8, 0, FrameCheck::Bad, 0},
        Case{"broken body", 8, 5, FrameCheck::Bad, 8}, Case{"broken check", 8, 7, FrameCheck::Bad, 8}}) {
    std::vector<std::uint8_t> bytes = good;
    if (c.changed < bytes.size()) bytes[c.changed] ^= 0x10;
    const Frame frame = checkFrame(ByteView(bytes).from(0, c.available));
    EXPECT_EQ(frame.check, c.check) << c.name;
    EXPECT_EQ(frame.size, c.size) << c.name;
  }
}

TEST(RangeDecoderTest, DropsPacketsWithoutATrace) {
  const RangePacket packets[] = {
      RangePacket::longForm(0, 4), RangePacket::longForm(5, 4),
      RangePacket::longForm(1, 5), RangePacket::longForm(1, 4, 49),
      RangePacket(0, 45),          RangePacket(1, 57),
      RangePacket(4, 60),          RangePacket(7, 60),
  };
  for (RangePacket packet : packets) {
    Unit unit;
    unit.feed(packet.time(kTime + kSecond));
    EXPECT_EQ(unit.body.ProductFamily.stamp, kTime) << "type " << int{packet.bytes()[1]};
  }
}

TEST(RangeDecoderTest, LongPacketsGainGroupsWithTheirLength) {
  struct Group {
    std::size_t needs;
    NavField<double> RangeTarget::*field;
  };
  constexpr Group kGroups[] = {{50, &RangeTarget::RangeLon},
                               {54, &RangeTarget::HunterVelL},
                               {61, &RangeTarget::RangeAccLon},
                               {90, &RangeTarget::NearestHunPolyPtToTarPolyScale},
                               {90, &RangeTarget::PolygonOriginPosY},
                               {106, &RangeTarget::UnitPosY},
                               {114, &RangeTarget::Roll}};
  for (std::size_t size = 50; size <= RangePacket::kFullLong; ++size) {
    Unit unit;
    unit.feed(unit.report(size));
    for (const Group& group : kGroups)
      EXPECT_EQ((unit.t.*group.field).flags, size < group.needs ? kNotAvailable : 0) << size;
    EXPECT_EQ(unit.t.FeatPointType.flags, size < 64 ? kNotAvailable : kNoValue) << size;
    EXPECT_EQ(unit.t.Range_SensorPointsDist2d[11].flags, size < 186 ? kNotAvailable : 0) << size;
  }
}

TEST(RangeDecoderTest, MarksAtTheEndsOfARange) {
  Unit unit;
  struct Case {
    std::uint32_t raw;
    int flags;
    double value;
  };
  for (const Case& c :
       {Case{5000, 0, 5.0}, Case{0x7FFFFFFF, kHigh, 2147483.647}, Case{0x80000000, kNotAvailable, 2147483.647},
        Case{0x80000001, kLow, -2147483.647}, Case{0x08000000, 0, 134217.728}}) {
    unit.feed(unit.report().put(12, c.raw, 4));
    expectField(unit.t.RangeLon, c.flags, c.value, "RangeLon");
  }
  unit.feed(RangePacket::shortForm().time(kTime).put(8, 0x08000000, 4).put(36, 0xC0, 1));
  expectField(unit.t.RangeLon, kNotAvailable, 134217.728, "a short packet's own mark");
  expectField(unit.t.ModeStatus, 0, 0, "a short packet has no mode 3");
  unit.feed(unit.report().put(40, 0xC0, 1));
  expectField(unit.t.ModeStatus, 0, 3, "a long packet has");

  unit.feedChannel(16, ChannelBytes().putWord(0, 0).putWord(2, 65534).putWord(4, 65535).putWord(6, 1000));
  expectField(unit.t.RangeLonStd, kLow, 0.0, "RangeLonStd");
  expectField(unit.t.RangeLatStd, kHigh, 65.534, "RangeLatStd");
  expectField(unit.t.RangeVerStd, kNotAvailable, 0.0, "RangeVerStd");
  expectField(unit.t.RangeResStd, 0, 1.0, "RangeResStd");
  unit.feedChannel(18, ChannelBytes().putFloat(0, -1.0F).putFloat(4, std::nanf("")));
  EXPECT_EQ(unit.t.AccelFilterFreq.flags, kNotAvailable);
  EXPECT_EQ(unit.t.AccelFilterZeta.flags, kNotAvailable);
  unit.feedChannel(6, ChannelBytes().put(0, 0xFF0201, 3).put(3, 42, 3));
  EXPECT_EQ(unit.body.OsVersion3.flags, kNotAvailable);
  expectField(unit.body.OsScriptID, 0, 0x323430303030, "the text 000042");
}

TEST(RangeDecoderTest, AMarkAloneIsNoWrite) {
  Unit unit;
  unit.feed(unit.report());
  EXPECT_TRUE(unit.t.RangeLon.written);
  EXPECT_TRUE(unit.body.Nano.written);
  unit.decoder.reset();
  EXPECT_FALSE(unit.t.RangeLon.written);
  unit.feed(unit.report().put(12, 0x80000000, 4));
  EXPECT_FALSE(unit.t.RangeLon.written);
  EXPECT_TRUE(unit.t.RangeLat.written);
}

TEST(RangeDecoderTest, AnotherFeatureMarksTheOldPoint) {
  Unit unit;
  const auto report = [&](std::uint16_t id) { return unit.report().put(61, 1, 1).put(62, id, 2); };
  struct Case {
    std::uint16_t id;
    bool channel;
    int idFlags, pointFlags;
  };
  for (const Case& c : {Case{7, true, 0, 0}, Case{7, false, 0, 0}, Case{8, false, 0, kNotAvailable},
                        Case{8, true, 0, 0}, Case{0, false, kNoValue, kNotAvailable}, Case{65534, true, kNoValue, 0},
                        Case{65535, false, kNotAvailable, kNotAvailable}}) {
    RangePacket packet = report(c.id);
    unit.feed(c.channel ? packet.channel(20, ChannelBytes().put(0, 10, 8)) : packet.channel(2, {}));
    EXPECT_EQ(unit.t.FeatPointId.flags, c.idFlags) << c.id;
    EXPECT_EQ(unit.t.FeatPointLat.flags, c.pointFlags) << c.id;
  }
}

TEST(RangeDecoderTest, CountersCountOn) {
  Unit unit;
  for (const std::uint16_t raw : {65530, 5, 5, 4}) unit.feedChannel(3, ChannelBytes().putWord(0, raw));
  expectField(unit.t.WirelessChars, 0, 131076U, "two wraps");
  unit.decoder.setWants([] {
    RangeWantTree wants;
    wants.wantAll(false);
    return wants;
  }());
  unit.feedChannel(3, ChannelBytes().putWord(0, 9));
  expectField(unit.t.WirelessChars, kNeverWritten, 0U, "unwanted");
}

TEST(RangeDecoderTest, AddressesGiveTheProvenance) {
  constexpr std::uint32_t kHunt = 0x746E7568, kTgt1 = 0x31746774, kUdp = 0x0A02A8C0;
  struct Case {
    std::uint8_t mode;
    std::uint32_t target;
    int provenance, adr, address, ipv4, file;
  };
  constexpr int kNone = kNotAvailable;
  for (const Case& c : {Case{2, kUdp, 0, 0, 0, 0, kNone}, Case{2, kTgt1, 16, 0, 0, kNone, 0},
                        Case{2, 0, 18, kNone, kNone, kNone, kNone}, Case{1, kUdp, 17, 0, kNone, kNone, kNone},
                        Case{1, 0, 17, kNone, kNone, kNone, kNone}}) {
    Unit unit;
    unit.feed(unit.report()
                  .put(40, std::uint64_t{c.mode} << 6, 1)
                  .channel(9, ChannelBytes().put(0, kHunt, 4).put(4, c.target, 4)));
    expectField(unit.body.Hunter_Provenance, 0, 16, "Hunter_Provenance");
    expectField(unit.body.Hunter_AddressFile, 0, kHunt, "Hunter_AddressFile");
    EXPECT_EQ(unit.t.Provenance.value, c.provenance);
    EXPECT_EQ(unit.t.IPv4Adr.flags, c.adr);
    EXPECT_EQ(unit.t.Address.flags, c.address);
    EXPECT_EQ(unit.t.AddressIPv4.flags, c.ipv4);
    EXPECT_EQ(unit.t.AddressFile.flags, c.file);
  }
}

TEST(RangeDecoderTest, FirmwareDateFromTheVersionText) {
  struct Case {
    const char* text;
    int flags;
    std::uint32_t date;
  };
  for (const Case& c : {Case{"200114.l", 0, 20200114}, Case{"20011", kNotAvailable, 0}, Case{"20z?14", 0, 0}}) {
    Unit unit;
    unit.feedChannel(1, ChannelBytes().putText(c.text));
    expectField(unit.body.DateFirmware, c.flags, c.date, c.text);
    EXPECT_EQ(unit.body.NanoFirmware.flags, c.flags) << c.text;
  }
}

TEST(RangeDecoderTest, PointsArriveInPieces) {
  const std::vector<Synth::OutlinePoint> points(30, {1.5, -2.5});
  Unit unit;
  unit.feed(RangePacket::polygon(1, 60, 20, points));
  expectField(unit.t.PolygonPointsUsed, 0, 24, "cut at the list");
  EXPECT_EQ(unit.t.PolygonPointsLon[19].flags, kResetFlags);
  expectField(unit.t.PolygonPointsLon[20], 0, 1.5, "first of the piece");
  expectField(unit.t.PolygonPointsLat[23], 0, -2.5, "last of the list");
  unit.feed(RangePacket::polygon(1, 5, 200, points, {.full = true, .wide = true}));
  expectField(unit.t.PolygonPointsUsed, 0, 5, "beyond the list");
  unit.feed(RangePacket::polygon(1, 6, 0, points).put(9, 30, 1));
  unit.feed(RangePacket::polygon(5, 6, 0, points));
  expectField(unit.t.PolygonPointsUsed, 0, 5, "too many points for the packet, no such vehicle");

  const std::vector<Synth::SensorPoint> sensors(2, {.place = {1, -2}, .heading = 300, .rangeMax = 9, .id = 0x44434241});
  for (const bool full : {false, true}) {
    for (const bool wide : {false, true}) {
      Unit other;
      other.feed(RangePacket::sensors(2, 10, sensors, {.full = full, .wide = wide}));
      const RangeBody& b = other.body;
      expectField(b.Hunter_SensorPointsLat[11], 0, -2.0, "Lat");
      expectField(b.Hunter_SensorPointsVert[11], 0, 0.0, "Vert");
      expectField(b.Hunter_SensorPointsHeading[11], 0, 300.0, "Heading");
      expectField(b.Hunter_SensorPointsRangeMax[11], 0, 9.0, "RangeMax");
      expectField(b.Hunter_SensorPointsID[11], 0, 0x44434241, "ID");
      EXPECT_EQ(b.Hunter_SensorPointsLon[9].flags, kResetFlags);
    }
  }
}

TEST(RangeDecoderTest, SourcesAreListedOnce) {
  Unit unit;
  const std::vector<std::uint8_t> inner(72);
  const auto feed = [&](std::uint32_t address, std::uint8_t port, std::size_t cut = 0) {
    unit.feed(RangePacket::source(address, port, std::span(inner).subspan(cut)));
  };
  feed(0, 0);
  feed(9, 255);
  feed(9, 0, 1);
  for (std::uint32_t address = 1; address <= 9; ++address) {
    feed(address, 200);
    feed(1, 3);
  }
  for (std::size_t i = 0; i < kSources; ++i) {
    expectField(unit.decoder.record().sources[i].address, 0, static_cast<std::uint32_t>(i + 1), "address");
    expectField(unit.decoder.record().sources[i].provenance, 0, 19, "provenance");
  }
}

TEST(RangeDecoderTest, WithoutTimeValuesAreUntimed) {
  Unit unit(false);
  unit.feed(unit.report().untimed().put(12, 5000, 4).put(62, 0, 2));
  EXPECT_EQ(unit.body.Nano.flags, kNotAvailable);
  expectField(unit.t.RangeLon, kUntimed, 5.0, "RangeLon");
  expectField(unit.t.FeatPointId, kUntimed | kNoValue, 0, "FeatPointId");
  EXPECT_EQ(unit.t.RangeLon.stamp, 0);
  EXPECT_EQ(unit.body.NanoFromStart.flags, kNotAvailable);
}

TEST(RangeTimeTest, MinutesTurnOnAFallOfTheWord) {
  struct Case {
    int from, to, minutes;
  };
  for (const Case& c : {Case{59990, 10, 1}, Case{2001, 1999, 1}, Case{59990, 2000, 0}, Case{2000, 10, 0}}) {
    Unit unit;
    const Nano minute = kTime - 5 * kSecond;
    unit.feed(unit.report().put(4, static_cast<std::uint64_t>(c.from), 2));
    unit.feed(unit.report().put(4, static_cast<std::uint64_t>(c.to), 2));
    EXPECT_EQ(unit.body.Nano.value, minute + c.minutes * 60 * kSecond + c.to * kSecond / 1000) << c.from;
  }
}

TEST(RangeTimeTest, PacketsAheadOfTheFirstTimeAreCountedBack) {
  // 300 cycles of four targets without a minute; the offset to UTC comes late.
  constexpr int kCycles = 300;
  std::vector<RangePacket> packets;
  for (int cycle = 0; cycle <= kCycles + 10; ++cycle) {
    for (std::uint8_t target = 1; target <= 4; ++target) {
      RangePacket packet =
          RangePacket::longForm(target, 4).time(kTime + (cycle - kCycles) * RangeTimeState::kCyclePeriod);
      packet.channel(2, {});
      if (cycle == kCycles - 1 && target == 4) packet.channel(0, Synth::minuteChannel(kTime));
      if (cycle == kCycles + 5 && target == 1) packet.channel(7, ChannelBytes().putWord(0, 18));
      packets.push_back(packet);
    }
  }
  RangeDecoder decoder;
  std::size_t scanned = 0;
  while (decoder.feedRaw(packets[scanned].bytes()) != RangeDecoder::Feed::PassDone) ++scanned;
  EXPECT_EQ(scanned, 4U * (kCycles + 5)) << "the pass goes on until the offset is found";
  for (int walk = 0; walk < 2; ++walk) {
    decoder.reset();
    const RangeBody& body = decoder.record().body;
    expectField(body.Nano, 0, kTime - 3 * kSecond, "laid in at the start");
    expectField(body.TimeUtcOffset, 0, 18, "laid in at the start");
    for (const bool written : {body.Nano.written, body.NanoFromStart.written, body.TimeUtcOffset.written}) {
      EXPECT_FALSE(written);
    }
    for (std::size_t i = 0; i < packets.size(); ++i) {
      decoder.feedRaw(packets[i].bytes());
      const auto cycle = static_cast<std::int64_t>(i / 4) - kCycles;
      // A cycle's first packet is counted with the cycle before.
      const bool early = i < 4 * kCycles && i % 4 != 0;
      ASSERT_EQ(body.Nano.value, kTime + (cycle + (early ? 1 : 0)) * RangeTimeState::kCyclePeriod) << i;
      ASSERT_EQ(body.NanoFromFirst.value, body.Nano.value - kTime);
    }
  }
}

TEST(RangeTimeTest, WithoutAMinuteThereIsNone) {
  RangeDecoder decoder;
  RangePacket packet = RangePacket::longForm(1, 4).time(kTime).channel(2, {});
  for (int i = 0; i < 5; ++i) EXPECT_EQ(decoder.feedRaw(packet.bytes()), RangeDecoder::Feed::Taken);
  decoder.reset();
  decoder.feedRaw(packet.bytes());
  EXPECT_EQ(decoder.record().body.Nano.flags, kNotAvailable);
  EXPECT_FALSE(decoder.clock().references().known());
}

TEST(RangeWantsTest, RequirementsAreFollowedThrough) {
  RangeWantTree wants;
  wants.wantAll(false);
  wants.targets[2][TargetGroup::IsoNearestTarPolyPtToHunPtPcX] = true;
  wants.settleWants();
  for (const TargetGroup group : {TargetGroup::NearestTarPolyPtToHunPtPosX, TargetGroup::PolygonPointsPosX,
                                  TargetGroup::PolygonPointsUsed, TargetGroup::Range2TargetHeading}) {
    EXPECT_TRUE(wants.targets[2][group]);
  }
  EXPECT_TRUE(wants.targets[0][TargetGroup::ModeStatus]) << "required of all targets by a body group";
  EXPECT_FALSE(wants.targets[0][TargetGroup::PolygonPointsPosX]);
  EXPECT_TRUE(wants.body[BodyGroup::Hunter_Heading]);
  EXPECT_FALSE(wants.body[BodyGroup::DevID]);
}

TEST(RangeDecoderTest, WantingLessChangesNoWantedValue) {
  // The same chase with everything wanted and with one group of each kind; the ISO copies follow either way.
  Synth::RangeChase chase(3, kTime);
  RangeDecoder all, some;
  all.reset();
  some.reset();
  RangeWantTree wants;
  wants.wantAll(false);
  wants.targets[1][TargetGroup::IsoPrX] = wants.targets[1][TargetGroup::IsoNearestHunPolyPtToTarPtPcX] = true;
  wants.body[BodyGroup::Lane_IsoLatDisLine1toA] = wants.body[BodyGroup::TimeWeekCount] = true;
  wants.settleWants();
  some.setWants(wants);
  const auto expectSame = [](const auto& a, const auto& b) {
    ASSERT_EQ(a.flags, b.flags);
    ASSERT_EQ(a.stamp, b.stamp);
    ASSERT_EQ(a.value, b.value);
  };
  for (int i = 0; i < 3000; ++i) {
    const Synth::ChasePacket packet = chase.next();
    if (packet.stream != 0) continue;
    all.feedRaw(packet.bytes);
    some.feedRaw(packet.bytes);
    const RangeTarget& a = all.record().targets[1];
    const RangeTarget& b = some.record().targets[1];
    expectSame(a.IsoPrY, b.IsoPrY);
    expectSame(a.RangeRes, b.RangeRes);
    expectSame(a.IsoNearestHunPolyPtToTarPtPcX, b.IsoNearestHunPolyPtToTarPtPcX);
    expectSame(all.record().body.Lane_IsoLatDisLine8toA, some.record().body.Lane_IsoLatDisLine8toA);
    expectSame(all.record().body.TimeWeekSecond, some.record().body.TimeWeekSecond);
  }
  EXPECT_EQ(some.record().targets[1].Visible.flags, 0);
  EXPECT_EQ(some.record().targets[1].IsoVrX.flags, kNeverWritten) << "unwanted fields are marked once";
  EXPECT_EQ(some.record().targets[0].RangeLon.flags, kNeverWritten);
}

/// Packets of every type and length with wild contents, and a right check byte. The sanitizers judge.
TEST(RangeDecoderTest, TakesAnyBytes) {
  std::mt19937_64 random(1);
  Sto::StreamYeld stream({Lib::StreamCodec::Yeld, Sto::ResourceKind::Recording, 0});
  stream.takeHeader({}, {});
  for (int pass = 0; pass < 3; ++pass) {
    for (std::uint8_t type = 0; type < 9; ++type) {
      for (std::size_t size = 5; size < 300; ++size) {
        RangePacket packet(type, size);
        for (std::size_t offset = 4; offset + 1 < size; ++offset) packet.put(offset, random(), 1);
        if (random() % 4 != 0) packet.put(6, 1 + random() % 4, 1).put(7, random() % 5, 1);
        if (random() % 2 != 0) packet.put(type == 0 ? 37 : type == 1 ? 49 : 41, random() % 24, 1);
        const auto bytes = packet.bytes();
        std::vector<std::uint8_t> record(8 + size + random() % 3);
        std::copy(bytes.begin(), bytes.end(), record.begin() + 8);
        stream.take(ByteView(record), pass == 0 ? Sto::Pass::Probe : Sto::Pass::Scan);
        stream.take(ByteView(record).from(0, random() % record.size()), Sto::Pass::Scan);
      }
    }
    if (pass == 0) stream.endProbe();
    if (pass == 1) stream.endScan();
  }
  EXPECT_TRUE(stream.startSample().type == Lib::ValueType::Int64);
}

}  // namespace
}  // namespace Kvex::Rng
