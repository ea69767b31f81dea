#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "nav/StatusChannels.h"

namespace Kvex::Nav {
namespace {

using namespace Lib::Flag;
using Bytes = std::array<std::uint8_t, 8>;
using Lib::Nano;

constexpr Nano kNow = 1'200'000'000'000'000'000;
constexpr Nano kSecond = Lib::kNanosPerSecond;

/// A decoder's state in the middle of a walk, at `kNow`.
struct Unit : NavState {
  explicit Unit(const NavProtocol& packetProtocol = kQuonProtocol) : NavState(packetProtocol, false) {
    record.reset();
    setTime(kNow);
    record.BlockNano = record.Nano;
    setField(record.InsNavMode, 4);
  }
  std::optional<Nano> feed(int channel, const Bytes& bytes) {
    return decodeChannel(*this, static_cast<std::uint8_t>(channel), Lib::ByteView(bytes.data(), bytes.size()));
  }
};

/// What a field shows.
struct Shown {
  int flags;
  double value;
  bool operator==(const Shown&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Shown& shown) {
  return out << "flags " << shown.flags << " value " << shown.value;
}
constexpr Shown kUntouched{kReset, 0};

template <class T>
Shown shown(const NavField<T>& field) {
  return {field.flags, static_cast<double>(field.value)};
}

using Reader = std::function<Shown(const NavRecord&)>;
template <class T>
Reader of(NavField<T> NavRecord::*member) {
  return [member](const NavRecord& record) { return shown(record.*member); };
}
template <class T>
Reader of(int receiver, NavField<T> ReceiverBlock::*member) {
  return [=](const NavRecord& record) { return shown(record.receivers[receiver].*member); };
}

Bytes bytesOf(std::uint64_t word) {
  Bytes bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(word >> 8 * i);
  return bytes;
}
Bytes bytesOf(float first, float second) {
  Bytes bytes;
  std::memcpy(bytes.data(), &first, 4);
  std::memcpy(bytes.data() + 4, &second, 4);
  return bytes;
}

using R = NavRecord;
using B = ReceiverBlock;

TEST(StatusChannelsTest, MarkersAndConversions) {
  struct Case {
    const char* what;
    int channel;
    Bytes bytes;
    Reader read;
    Shown expected;
  };
  const std::vector<Case> cases{
      {"closed gate marks the three values", 3, {1, 0, 1, 0, 1, 0, 150, 4}, of(&R::EastAcc), {kReset, 0}},
      {"closed gate leaves the eighth byte", 3, {1, 0, 1, 0, 1, 0, 150, 4}, of(&R::UmacStatus), {0, 4}},
      {"accuracies have no sign", 3, {255, 255, 0, 0, 0, 0, 149, 0}, of(&R::NorthAcc), {0, 65.535}},
      {"biases have one", 7, {255, 255, 0, 0, 0, 0, 0, 0}, of(&R::AxBias), {0, -0.0001}},
      {"up is as good as down", 4, {0, 0, 0, 0, 5, 0, 0, 0}, of(&R::VuAcc), {0, 0.005}},
      {"settings need a state of 0", 33, {1, 0, 1, 0, 1, 0, 1, 0}, of(&R::ZeroVelLeverArmX), {kReset, 0}},
      {"version 255 is the first", 5, {0, 0, 0, 0, 0, 0, 0, 255}, of(&R::ProductVersion), {0, 1}},
      {"low nibble", 6, {0, 0, 0, 0, 0, 0, 0, 0xF7}, of(0, &B::NumMeasGpsL1), {0, 7}},
      {"nibble without value", 6, {0, 0, 0, 0, 0, 0, 0, 0xF7}, of(0, &B::NumMeasGpsL2), {kReset, 0}},
      {"nibble above its enumeration", 64, {0, 0, 0, 0, 0xE0}, of(0, &B::VelRate), {0, 7}},
      {"code above its enumeration", 31, {254}, of(&R::ImuType), {0, 21}},
      {"two bits without value", 56, {0x0C}, of(1, &B::AntPower), {kReset, 0}},
      {"satellites 255", 55, {0, 0, 0, 0, 255}, of(0, &B::NumSats), {kReset, 0}},
      {"version 254", 30, {254, 0, 0, 0, 0, 0, 0, 0}, of(&R::OsVersion1), {0, 254}},
      {"stale innovation", 1, {0xFE}, of(&R::InnPosX), kUntouched},
      {"fresh innovation", 1, {0xFF}, of(&R::InnPosX), {0, -0.1}},
      {"offset to UTC", 16, {0, 0, 0, 0, 0, 0, 9, 0xDB}, of(&R::TimeUtcOffset), {0, -19}},
      {"no offset to UTC", 16, {0, 0, 0, 0, 0, 0, 9, 0xDA}, of(&R::TimeUtcOffset), {kReset, 0}},
      {"base line of 0", 13, {0, 0, 0, 0, 0, 0, 0, 0}, of(&R::BaseLineLength), {kNoValue, -1}},
      {"its accuracy of 0", 15, {0, 0, 0, 0, 0, 0, 0, 0}, of(&R::BaseLineLengthAcc), {0, 0}},
      {"setting without value", 39, {0, 0, 255, 255, 0, 0, 0, 0}, of(&R::OptionNSAngleStd), {kNoValue, -1}},
      {"negative age of corrections", 20, {0xFF, 0xFF}, of(&R::GpsDiffAge), {0, -1}},
      {"no base station", 20, {0, 0, 0, 'A', 'B', 'C'}, of(&R::BaseStationID), {kReset, 0}},
      {"negative size", 21, {0, 0, 0, 0x80}, of(&R::DiskSpace), {kReset, 0}},
      {"largest size", 21, {255, 255, 255, 0x7F}, of(&R::DiskSpace), {0, 2147483647.0 * 1024}},
      {"marker kept as the value", 22, {255, 255}, of(&R::TimeMismatch), {kNotAvailable, 65535}},
      {"second lowest undulation", 48, {0x01, 0x80}, of(&R::Undulation), {kReset, 0}},
      {"third lowest undulation", 48, {0x02, 0x80}, of(&R::Undulation), {0, -163.83}},
      {"dilution", 48, {0, 0, 30, 50}, of(&R::VDOP), {0, 4}},
      {"dilution that cannot be", 48, {0, 0, 50, 50}, of(&R::VDOP), {kReset, 0}},
      {"flags not reported", 31, {0, 0, 0, 0, 0, 0, 0, 0x80}, of(&R::SBASEnabled), {kReset, 0}},
      {"inverted flag set", 31, {0, 0, 0, 0, 0, 0, 0, 0x7D}, of(&R::SBASEnabled), {0, 1}},
      {"inverted flag clear", 31, {0, 0, 0, 0, 0, 0, 0, 0x7D}, of(&R::PsrDiffEnabled), {0, 0}},
      {"address of ones", 41, {0, 0, 0, 0, 255, 255, 255, 255}, of(&R::WiFiIPAddress), kUntouched},
      {"serial number of ones", 40, {0, 0, 0, 0, 255, 255, 255, 0}, of(&R::SerialNumber), kUntouched},
      {"negative serial number", 40, {0, 0, 0, 0, 254, 255, 255, 0}, of(&R::SerialNumber), {0, -2}},
      {"voltage in the finer form", 75, {0, 0, 50, 0, 0, 0, 0, 40}, of(&R::SupplyVolt), {0, 12}},
      {"voltage in the coarser form", 75, {0, 0, 50, 0, 0, 0, 0, 255}, of(&R::SupplyVolt), {0, 10}},
      {"last slot", 77, {0, 0, 0, 0, 0, 0, 0x40, 0x00}, of(&R::BaseStationSlot3), {0, 1}},
      {"slots of zero and ones", 77, {0, 0, 0, 0, 255, 255, 255, 255}, of(&R::BaseStationSlot0), {kReset, 0}},
      {"up to three hours", 23, {0, 0, 0x30, 0x2A}, of(&R::UpTime), {0, 10800}},
      {"then minutes", 23, {0, 0, 0x31, 0x2A}, of(&R::UpTime), {0, 10860}},
      {"up to a week", 23, {0, 0, 0xDC, 0x50}, of(&R::UpTime), {0, 604800}},
      {"then hours", 23, {0, 0, 0xDD, 0x50}, of(&R::UpTime), {0, 608400}},
      {"antenna far out", 57, {0x18, 0xFC, 0, 0, 0, 0, 149, 3}, of(&R::GAPx), {0, -3}},
      {"antenna factor of ones", 57, {0x18, 0xFC, 0, 0, 0, 0, 0, 255}, of(&R::GAPx), {0, -1}},
      {"antenna factor of 0", 57, {0x18, 0xFC, 0, 0, 0, 0, 0, 0}, of(&R::GAPx), {kReset, 0}},
      {"filter type above its enumeration", 87, {0x1E}, of(&R::LinJerkFiltType), {0, 13}},
      {"negative filter parameter", 63, bytesOf(-1.0F, 0.5F), of(&R::AngAccFiltFreq), {kReset, 0}},
      {"filter parameter that is no number", 74, bytesOf(std::nanf(""), 0.5F), of(&R::LinAccFiltFreq), {kReset, 0}},
      {"script id", 30, {0, 0, 0, 0x39, 0x30, 0}, of(&R::OsScriptID), {0, double(0x353433323130)}},
      {"no calibration day", 59, {0, 0, 0, 0, 255, 255}, of(&R::DateCalibration), {kReset, 0}},
      {"calibration date", 59, {0, 0, 0, 0, 26, 0}, of(&R::DateCalibration), {0, 19800201}},
  };
  for (const Case& c : cases) {
    Unit unit;
    unit.feed(c.channel, c.bytes);
    const Shown got = c.read(unit.record);
    EXPECT_EQ(got.flags, c.expected.flags) << c.what;
    EXPECT_NEAR(got.value, c.expected.value, 1e-9 * std::max(1.0, std::abs(c.expected.value))) << c.what;
  }
}

TEST(StatusChannelsTest, TheSistersDiffer) {
  struct Case {
    int channel;
    Bytes bytes;
    Reader read;
    Shown quon, dask;
  };
  const Case cases[] = {
      {3, {0, 0, 0, 0, 0, 0, 0, 4}, of(&R::UmacStatus), {0, 4}, kUntouched},
      {5, {0, 0, 0, 0, 0, 0, 0, 255}, of(&R::ProductVersion), {0, 1}, {0, 255}},
      {26, {100}, of(&R::RemoteLeverArmX), {0, 0.1}, {0, 1.0}},
      {29, {0, 0, 0, 0, 0, 0, 0, 1}, of(&R::OptionHeave), kUntouched, {0, 1}},
      {30, {0, 0, 0, 0, 0, 0, 255, 255}, of(&R::SerialNumber), {0, 7}, {kNotAvailable, 7}},
      {40, {0, 0, 0, 0, 9, 0, 0, 0}, of(&R::SerialNumber), {0, 9}, {0, 7}},
      {40, {0, 0, 0, 0, 9, 0, 0, 0}, of(&R::LPHeaveLatency), kUntouched, {0, 0.09}},
      {48, {0, 0, 0, 0, 0, 1}, of(&R::OutputDatum), {0, 1}, kUntouched},
      {75, {0, 0, 50, 0, 0, 0, 0, 40}, of(&R::SupplyVolt), {0, 12}, {0, 10}},
      {87, {0x41}, of(&R::LinJerkFiltOrder), {0, 4}, kUntouched},
      {93, {0, 0, 1}, of(&R::NMEAOutputEnabled), {0, 1}, kUntouched},
      {94, {0, 0, 0, 0, 0, 0, 3}, of(&R::GpsDiffNumMeasGalileoL1), {0, 3}, kUntouched},
  };
  for (const Case& c : cases) {
    for (const bool isDask : {false, true}) {
      Unit unit(isDask ? kDaskProtocol : kQuonProtocol);
      unit.setField(unit.record.SerialNumber, 7);
      unit.feed(c.channel, c.bytes);
      EXPECT_EQ(c.read(unit.record), isDask ? c.dask : c.quon) << "channel " << c.channel << (isDask ? " Dask" : "");
    }
  }
}

TEST(StatusChannelsTest, UnwantedFields) {
  struct Case {
    const char* what;
    int channel;
    Bytes bytes;
    Reader read;
    Shown expected;
  };
  const Case cases[] = {
      {"are marked", 48, {1, 0}, of(&R::Undulation), {kNotAvailable, 5}},
      {"innovations stay", 1, {0xFF}, of(&R::InnPosX), {0, 5}},
      {"the temperature stays", 59, {0, 0, 0, 0, 0, 0, 1, 1}, of(&R::ImuTemp), {0, 5}},
      {"some counts go to 0", 18, {1, 1, 1, 1}, of(&R::ImuChars), {kNotAvailable, 0}},
      {"some have no test", 40, {3, 0}, of(&R::TxVersionId), {0, 3}},
      {"parts go by their rate's group", 75, {0, 0, 0, 0, 0, 1, 1}, of(&R::ImuAccelType), {0, 5}},
      {"events have no test", 24, {0, 0, 0, 0, 1, 0, 0, 1}, of(&R::Trig1FallUpdateCount), {0, 6}},
  };
  for (const Case& c : cases) {
    Unit unit;
    unit.wants.wantAll(false);
    for (auto* field : {&unit.record.Undulation, &unit.record.InnPosX, &unit.record.ImuTemp}) unit.setField(*field, 5);
    for (auto* field : {&unit.record.ImuChars, &unit.record.Trig1FallUpdateCount}) unit.setField(*field, 5);
    unit.setField(unit.record.ImuAccelType, 5);
    unit.feed(c.channel, c.bytes);
    EXPECT_EQ(c.read(unit.record), c.expected) << c.what;
  }

  // Counts that go to 0 take the time of each packet, also behind one without time.
  for (const int channel : {2, 17, 18, 61}) {
    Unit unit;
    unit.wants.wantAll(false);
    unit.record.reset();
    unit.feed(channel, {});
    unit.setTime(kNow);
    unit.record.BlockNano = unit.record.Nano;
    unit.feed(channel, {});
    const ReceiverBlock& receiver = unit.record.receivers[channel == 2 ? 0 : channel == 17 ? 1 : 2];
    const NavField<std::uint32_t>& count = channel == 18 ? unit.record.ImuChars : receiver.Chars;
    EXPECT_EQ(count.flags, kNotAvailable) << channel;
    EXPECT_EQ(count.stamp, kNow) << channel;
  }
}

TEST(StatusChannelsTest, CountsGoOnWhereTheUnitsWrap) {
  Unit unit;
  NavField<std::uint32_t>& count = unit.record.CmdChars;
  for (const auto& [before, raw, after] :
       {std::array{0x1FFFFU, 3U, 0x20003U}, std::array{0x10003U, 3U, 0x10003U}, std::array{0xFFFFFFFFU, 0U, 0U}}) {
    count.value = before;
    unit.feed(50, bytesOf(raw));
    EXPECT_EQ(count.value, after);
  }
  unit.record.ImuResetCount.value = 0x1FE;
  unit.feed(59, {0, 0, 0xFD});
  EXPECT_EQ(unit.record.ImuResetCount.value, 0x2FDU);
}

TEST(StatusChannelsTest, WithoutTimeAWriteSaysSo) {
  Unit unit;
  unit.record.reset();
  unit.feed(19, {'2', '1', '0', '9', '2', '8', 'b', '7'});
  EXPECT_EQ(unit.record.DevID.flags, kUntimed);
  EXPECT_EQ(unit.record.DevIDText.flags, kUntimed);
  EXPECT_EQ(shown(unit.record.DateFirmware), (Shown{kUntimed, 20210928}));
}

TEST(StatusChannelsTest, DeviceIdGivesDateHousingAndServices) {
  struct Case {
    const char* id;
    Shown date, hwConfig, gps, beiDou;
  };
  // Of flags that are not reported, older devices have the first and lack the second.
  const Case cases[] = {
      {"170630s1", {0, 20170630}, {kReset, 0}, {0, 1}, {0, 0}},
      {"180000x1", {0, 20180000}, {0, 6}, {kReset, 0}, {kReset, 0}},
      {"21092", {kReset, 0}, {kReset, 0}, {kReset, 0}, {kReset, 0}},
  };
  for (const Case& c : cases) {
    Unit unit;
    Bytes id{};
    std::copy_n(c.id, std::strlen(c.id), id.begin());
    unit.feed(19, id);
    unit.feed(31, {0, 0, 0, 0, 0, 0, 255, 0});
    unit.feed(58, {0, 0, 0, 0, 0, 0, 0, 255});
    EXPECT_EQ(shown(unit.record.DateFirmware), c.date) << c.id;
    EXPECT_EQ(shown(unit.record.HwConfig), c.hwConfig) << c.id;
    EXPECT_EQ(shown(unit.record.GnssGpsEnabled), c.gps) << c.id;
    EXPECT_EQ(shown(unit.record.GnssBeiDouEnabled), c.beiDou) << c.id;
  }
  Unit unit;
  unit.feed(19, {'1', '7', '0', '1', '0', '1'});
  EXPECT_EQ(unit.record.NanoFirmware.value, 1167264018 * kSecond);  // behind the newest leap second
}

/// An event as its channel sends it: a GPS minute, and milliseconds into it.
Bytes event(std::int32_t minute, int milliseconds, int number) {
  return bytesOf(static_cast<std::uint32_t>(minute) | std::uint64_t(milliseconds) << 32 | std::uint64_t(number) << 56);
}

TEST(StatusChannelsTest, TriggerLevelFollowsTheEdges) {
  constexpr int kFall = 24;
  constexpr int kRise = 43;
  struct Step {
    int channel, milliseconds;
    std::int32_t level;
    std::uint32_t count;
    int since;  // milliseconds
  };
  const std::vector<std::vector<Step>> runs{
      {{kRise, 10, 1, 1, 10}, {kFall, 20, -1, 2, 20}, {kRise, 30, 1, 3, 30}},
      {{kFall, 10, -1, 1, 10}, {kFall, 20, -1, 1, 10}, {kRise, 5, -1, 1, 10}},
      // A fall that was lost behind a later rise counts when it comes: two edges, the level stays.
      {{kRise, 10, 1, 1, 10}, {kRise, 30, 1, 1, 10}, {kFall, 20, 1, 3, 30}},
      {{kFall, 10, -1, 1, 10}, {kFall, 30, -1, 1, 10}, {kRise, 20, -1, 3, 30}},
  };
  for (const auto& run : runs) {
    Unit unit;
    int number = 0;
    for (const Step& step : run) {
      const Bytes bytes = event(0, step.milliseconds, ++number);
      EXPECT_EQ(unit.feed(step.channel, bytes), step.milliseconds * 1'000'000);
      EXPECT_EQ(unit.feed(step.channel, bytes), std::nullopt) << "the same event again";
      EXPECT_EQ(shown(unit.record.Trig1TranLevel), (Shown{0, double(step.level)}));
      EXPECT_EQ(unit.record.Trig1TranUpdateCount.value, step.count);
      EXPECT_EQ(unit.record.Trig1TranLevel.stamp, step.since * 1'000'000);
    }
  }
  Unit unit;
  unit.feed(kRise, event(0, 10, 1));
  unit.record.Trig1TranLevel = {};  // both edges known before there is a level; at the same time the fall is later
  unit.feed(kFall, event(0, 10, 1));
  EXPECT_EQ(unit.record.Trig1TranLevel.value, -1);
  EXPECT_EQ(unit.record.Trig1TranUpdateCount.value, 3U);
}

TEST(StatusChannelsTest, WheelSpeedComesFromTwoCounts) {
  Unit unit;
  unit.feed(44, {0xE8, 0x03});  // 100 pulses per metre
  const auto count = [&](std::uint32_t pulses, int milliseconds) {
    unit.feed(45, bytesOf(pulses | std::uint64_t(milliseconds) << 32));
  };
  const Nano minute = kNow / (60 * kSecond) * (60 * kSecond);
  count(1000, 59'000);  // `kNow` is at a full minute: the count came in the one before
  EXPECT_EQ(unit.record.WSpeedNano.value, minute - kSecond);
  EXPECT_EQ(unit.record.WSpeedFreq.flags, kReset);
  unit.setTime(kNow + kSecond);
  count(800, 1'000);
  EXPECT_EQ(shown(unit.record.WSpeedFreq), (Shown{0, -100}));
  EXPECT_EQ(shown(unit.record.WSpeedVel), (Shown{0, -1}));
  EXPECT_EQ(shown(unit.record.WSpeedSpeed), (Shown{0, 1}));
  EXPECT_EQ(unit.record.WSpeedVel.stamp, minute);
  EXPECT_EQ(unit.record.WSpeedCount.stamp, minute + kSecond);
  count(900, 65'535);  // no time: the rate stands
  EXPECT_EQ(shown(unit.record.WSpeedFreq), (Shown{0, -100}));
  count(700, 1'000);  // the same time again
  EXPECT_EQ(unit.record.WSpeedFreq.flags, kNotAvailable);
}

TEST(StatusChannelsTest, ReferenceFrame) {
  Unit unit;
  const NavRecord& record = unit.record;
  unit.setField(unit.record.Lat, 52.0);
  unit.setField(unit.record.Lon, -1.0);
  unit.setField(unit.record.Alt, 100.0);

  // 1.2 m ahead and none aside, with the frame's X axis to the north: its origin lies 1.2 m to the south.
  unit.feed(25, {0xE8, 0x03, 0});
  EXPECT_NEAR((record.Lat.value - record.RefLat.value) * record.RefLatRadius.value, 1.2, 1e-6);
  EXPECT_EQ(record.RefLon.value, -1.0);
  unit.record.RefLat.reset();
  unit.feed(25, {0xE8, 0x03, 0, 0, 0, 0, 0x00, 0x80});
  unit.feed(25, {0x80, 0, 0, 0, 0x80, 0, 0, 0});
  unit.feed(25, {0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 0});
  EXPECT_FALSE(record.RefLat.usable()) << "an offset without value";

  const std::uint64_t position = 100'000'000 | std::uint64_t{200'000'000} << 32;
  unit.feed(66, bytesOf(position));
  EXPECT_FALSE(record.RefLat.usable()) << "half a frame";
  unit.feed(67, bytesOf(50'000 | std::uint64_t{0x80000000} << 32));
  EXPECT_FALSE(record.RefLat.usable()) << "no heading";
  unit.feed(67, bytesOf(50'000));
  EXPECT_NEAR(record.RefLat.value, 10.0, 1e-9);
  EXPECT_NEAR(record.RefLon.value, 20.0, 1e-9);
  EXPECT_NEAR(record.RefAlt.value, 50.0, 1e-9);
  unit.feed(25, {0xE8, 0x03, 0});
  EXPECT_NEAR(record.RefLat.value, 10.0, 1e-9) << "an offset behind a whole frame";
}

TEST(StatusChannelsTest, InnovationsExpireAfterAMinute) {
  Unit unit;
  const NavField<double>& field = unit.record.InnPosX;
  const auto after = [&](Nano nanos) {
    unit.setTime(kNow + nanos);
    expireValues(unit);
    return int{field.flags};
  };
  unit.feed(1, {3});
  EXPECT_EQ(after(60 * kSecond), 0);
  EXPECT_EQ(after(60 * kSecond + 1), kNotAvailable | kExpired);
  unit.feed(1, {3});
  EXPECT_EQ(after(61 * kSecond), 0);
  unit.record.InnPosX.flags = kUntimed;
  EXPECT_EQ(after(600 * kSecond), kUntimed);
}

TEST(StatusChannelsTest, AnyBytesAreTaken) {
  constexpr Nano kTimes[] = {std::numeric_limits<Nano>::min(), -1, 0, kNow, std::numeric_limits<Nano>::max()};
  constexpr double kPlaces[] = {0.0, 90.0, -6378137.0, 1e300, std::numeric_limits<double>::infinity()};
  std::mt19937_64 random(11);
  for (const NavProtocol& protocol : {kQuonProtocol, kDaskProtocol}) {
    Unit unit(protocol);
    for (int round = 0; round < 20'000; ++round) {
      unit.setTime(kTimes[random() % std::size(kTimes)]);
      for (auto* field : {&unit.record.Lat, &unit.record.Lon, &unit.record.Alt}) {
        unit.setField(*field, kPlaces[random() % std::size(kPlaces)]);
      }
      // Random bytes, and now and then the extremes.
      const std::uint64_t words[] = {random(), random(), 0, ~std::uint64_t{0}, 0x8080808080808080, 0x7F7F7F7F7F7F7F7F};
      unit.feed(static_cast<int>(random() % 256), bytesOf(words[random() % std::size(words)]));
      expireValues(unit);
    }
    decodeChannel(unit, 19, {});
    EXPECT_EQ(unit.record.NanoLocal.flags, kReset) << "a signal that no channel writes";
  }
}

}  // namespace
}  // namespace Kvex::Nav
