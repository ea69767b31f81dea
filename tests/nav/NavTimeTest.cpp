#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

#include "nav/QuonDecoder.h"
#include "synth/NavPackets.h"

namespace Kvex::Nav {
namespace {

using Lib::Nano;
using Synth::ChannelBytes;
using Synth::NavPacket;

constexpr Nano kMillisecond = 1'000'000;
constexpr Nano kMinute = 60'000 * kMillisecond;
constexpr std::int32_t kMinutes = 20'000'000;

/// One packet: its mode, millisecond word, and the minute if its channel has it.
struct Tick {
  int mode;
  int milliseconds;
  std::optional<std::int32_t> minute{};
};

NavPacket packetOf(const Tick& tick) {
  NavPacket packet(kQuonProtocol);
  packet.mode(static_cast<std::uint8_t>(tick.mode)).put(1, static_cast<std::uint64_t>(tick.milliseconds), 2);
  packet.channel(0, ChannelBytes().put(0, static_cast<std::uint32_t>(tick.minute.value_or(0x00FFFFFF)), 4));
  return packet;
}

FeedResult feed(QuonDecoder& decoder, const Tick& tick) {
  return decoder.feedPacket(packetOf(tick).bytes(), true);
}

/// The times of a walk over packets, none for a packet without one; with a first pass or without.
std::vector<std::optional<Nano>> timesOf(QuonDecoder& decoder, const std::vector<Tick>& ticks) {
  if (decoder.time.mode == TimeMode::FirstPass) {
    for (const Tick& tick : ticks) feed(decoder, tick);
    decoder.finishScan(true);
  }
  std::vector<std::optional<Nano>> times;
  for (const Tick& tick : ticks) {
    feed(decoder, tick);
    const auto& nano = decoder.record.Nano;
    times.push_back(nano.usable() ? std::optional(nano.value) : std::nullopt);
  }
  return times;
}

std::vector<Tick> steadyTicks(int count, int first, int period, int minuteAt) {
  std::vector<Tick> ticks;
  for (int i = 0; i < count; ++i) {
    ticks.push_back({4, (first + i * period) % 60'000, i == minuteAt ? std::optional(kMinutes) : std::nullopt});
  }
  return ticks;
}

TEST(NavTimeTest, CountsBackFromTheFirstTimedPacket) {
  // 50 packets without time ahead of one at ten seconds into the minute.
  std::vector<Tick> ticks = steadyTicks(60, 9500, 10, 49);
  for (int i = 0; i < 48; ++i) ticks[static_cast<std::size_t>(i)].milliseconds = 65535;
  QuonDecoder decoder(true);
  const auto times = timesOf(decoder, ticks);
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(times[i], kMinutes * kMinute + (9500 + 10 * static_cast<Nano>(i)) * kMillisecond) << i;
  }
  EXPECT_EQ(decoder.time.mode, TimeMode::Filled);
  EXPECT_EQ(decoder.record.NanoFromStart.value, 590 * kMillisecond);
  EXPECT_EQ(decoder.record.NanoFromFirst.value, 90 * kMillisecond);
  EXPECT_EQ(decoder.record.NanoFromOrigin.value, 1'090 * kMillisecond);
  EXPECT_EQ(decoder.record.NanoFromOriginSeconds.value, 1.09);
  EXPECT_EQ(decoder.record.TimeWeekCount.value, (kMinutes * kMinute) / Lib::kNanosPerWeek);

  // A walk can begin again at any time, and gives the same.
  decoder.finishScan(true);
  EXPECT_EQ(decoder.record.Nano.value, times[0]);
  EXPECT_EQ(timesOf(decoder, ticks), times);
}

TEST(NavTimeTest, MovesTheClockOverTheMinute) {
  struct Case {
    const char* what;
    std::vector<Tick> ticks;
    std::vector<std::optional<Nano>> fromMinute;  ///< Milliseconds from the minute reported, without a first pass.
  };
  const Case cases[] = {
      {"rollover", {{4, 59'980, kMinutes}, {4, 59'990}, {4, 0}, {4, 10}}, {{}, 59'990, 60'000, 60'010}},
      {"threshold", {{4, 2001, kMinutes}, {4, 1999}}, {{}, 61'999}},
      {"a gap that ends too late", {{4, 50'000, kMinutes}, {4, 2000}}, {{}, 2000}},
      {"no word", {{4, 0, kMinutes}, {4, 65535}, {4, 20}}, {{}, {}, 20}},
      {"a raw packet has no time", {{4, 0, kMinutes}, {1, 10}, {4, 20}}, {{}, {}, 20}},
      {"minute from channel again", {{4, 0, kMinutes}, {4, 10, kMinutes + 5}, {4, 20}}, {{}, 10, 300'020}},
      {"mode 1 has no minute", {{1, 0, kMinutes}, {4, 10}}, {{}, {}}},
      {"negative minute", {{4, 0, -5}, {4, 10}}, {{}, {}}},
  };
  for (const Case& c : cases) {
    QuonDecoder decoder(false);
    const auto times = timesOf(decoder, c.ticks);
    for (std::size_t i = 0; i < times.size(); ++i) {
      std::optional<Nano> expected = c.fromMinute[i];
      if (expected) *expected = kMinutes * kMinute + *expected * kMillisecond;
      EXPECT_EQ(times[i], expected) << c.what << ' ' << i;
    }
  }
}

TEST(NavTimeTest, SurvivesMinutesBeyondAllRange) {
  QuonDecoder decoder(true);
  timesOf(decoder, {{4, 59'990, INT32_MAX}, {4, 59'995}, {4, 0}, {4, 10, INT32_MAX}, {4, 20}});
  EXPECT_TRUE(decoder.record.Nano.usable());
}

TEST(NavTimeTest, FindsReferencesWithoutAFirstPass) {
  QuonDecoder decoder(false);
  timesOf(decoder, {{1, 0}, {2, 90'0, kMinutes}, {2, 910}, {3, 920}});
  const NavTimeReferences& known = decoder.time.references;
  const Nano minute = kMinutes * kMinute;
  EXPECT_EQ(decoder.time.mode, TimeMode::Running);
  EXPECT_EQ(known.first, minute + 910 * kMillisecond);
  EXPECT_EQ(known.start, minute + 890 * kMillisecond);
  EXPECT_EQ(known.origin, minute);
  EXPECT_EQ(known.init, minute + 880 * kMillisecond);  // four packets counted, this one among them

  QuonDecoder backwards(false);
  timesOf(backwards, {{4, 110, kMinutes}, {4, 100}, {4, 90}});
  EXPECT_EQ(backwards.time.packetPeriod, -10 * kMillisecond);
  EXPECT_EQ(backwards.time.references.start, minute + 110 * kMillisecond);
  EXPECT_EQ(backwards.time.references.origin, minute + 1000 * kMillisecond);
}

TEST(NavTimeTest, KeepsAStreamWithoutTimeUntimed) {
  QuonDecoder decoder(true);
  for (const auto& time : timesOf(decoder, steadyTicks(5, 0, 10, -1))) EXPECT_EQ(time, std::nullopt);
  EXPECT_EQ(decoder.time.mode, TimeMode::Searching);
  EXPECT_EQ(decoder.record.Lat.flags, Lib::Flag::kUntimed);
  // Packets without time stand in sequence all the same.
  const double index = decoder.record.Index.value;
  feed(decoder, {4, 50});
  EXPECT_GT(decoder.record.Index.value, index);
  EXPECT_LT(decoder.record.Index.value, 1.001);
  // One timed packet gives no period: those ahead of it stay without time.
  QuonDecoder once(true);
  const auto times = timesOf(once, {{4, 65535, kMinutes}, {4, 10}, {4, 65535}});
  EXPECT_EQ(times, (std::vector<std::optional<Nano>>{{}, kMinutes * kMinute + 10 * kMillisecond, {}}));
}

TEST(NavTimeTest, EndsTheFirstPassWhenAllIsKnown) {
  QuonDecoder decoder(true);
  const auto packet = [](int mode, int milliseconds) {
    NavPacket p = packetOf({mode, milliseconds, kMinutes});
    p.position(52, 1, 80).velocity({1, 2, -3}).attitude({350, 1, 2});
    return p;
  };
  EXPECT_EQ(decoder.feedPacket(packet(2, 0).bytes(), true), FeedResult::Decoded);
  EXPECT_EQ(decoder.feedPacket(packet(3, 10).bytes(), true), FeedResult::Decoded);
  EXPECT_EQ(decoder.feedPacket(packet(3, 20).bytes(), true), FeedResult::Decoded);
  EXPECT_EQ(decoder.record.Lat.flags, Lib::Flag::kNeverWritten);  // the first pass decodes nothing
  NavPacket last = packet(3, 30);
  last.channel(16, ChannelBytes().putWord(0, 100).putWord(4, 0xFFFF).putByte(7, 18 * 2 + 1));
  EXPECT_EQ(decoder.feedPacket(last.bytes(), true), FeedResult::ScanEnded);

  decoder.finishScan(true);
  const NavRecord& record = decoder.record;
  EXPECT_EQ(record.Nano.value, kMinutes * kMinute);
  EXPECT_NEAR(record.Lat.value, 52, 1e-12);
  for (const bool written : {record.Nano.written, record.Lat.written, record.RxVersionId.written}) {
    EXPECT_FALSE(written) << "laid in, not written by a packet";
  }
  EXPECT_EQ(record.Lat.flags, Lib::Flag::kProvisional);
  EXPECT_NEAR(record.Vu.value, 3, 1e-12);
  EXPECT_NEAR(record.Heading.value, 350, 1e-4);
  EXPECT_NEAR(record.Imu2VehHeading.value, 0.573, 1e-3);
  EXPECT_EQ(record.Imu2VehRoll.flags, Lib::Flag::kProvisional);
  EXPECT_EQ(record.TimeUtcOffset.value, 18);
  EXPECT_EQ(record.TimeUtcOffset.flags, 0);
  EXPECT_EQ(record.NanoFromInit.value, 10 * kMillisecond);
  EXPECT_EQ(record.Ax.flags, Lib::Flag::kReset);
}

TEST(NavTimeTest, MeasuresTheOutputRate) {
  QuonDecoder decoder(false);
  timesOf(decoder, steadyTicks(101, 0, 20, 0));
  EXPECT_FALSE(decoder.record.OutputRegularRate.usable());
  timesOf(decoder, {{4, 2020}});
  EXPECT_EQ(decoder.record.OutputRegularRate.value, 50);
  decoder.wants.OutputRegularRate = false;
  decoder.settleWants();
  timesOf(decoder, {{4, 2040}});
  EXPECT_EQ(decoder.record.OutputRegularRate.flags, Lib::Flag::kNotAvailable);
}

}  // namespace
}  // namespace Kvex::Nav
