// What happened during a recording, and where a signal changed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <random>

#include "front/GapFinder.h"
#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex {
namespace {

using Support::dataPath;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::TempFile;

/// The usable values of a signal that differ from the one before, from its native samples.
std::vector<Change> changesByHand(File& file, const Signal& signal) {
  std::vector<Change> changes;
  Value last;
  for (const Batch& batch : file.native({signal}, {.flags = true, .stamps = true})) {
    const auto column = batch.column<std::uint8_t>(0);
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      if (!column.valid(row)) continue;
      const Value value(column[row], column.stamp(row), column.flags(row));
      if (last.type() != ValueType::None && last.get<std::uint8_t>() != column[row]) {
        changes.push_back({column.stamp(row), batch.time(row), last, value});
      }
      last = value;
    }
  }
  return changes;
}

TEST(EventTest, ModesAreTheChangesOfTheirSignals) {
  File file(dataPath("quon_mode_mix_11.quon"));
  std::size_t modes = 0;
  for (const char* name : {"InsNavMode", "GpsPosMode", "GpsVelMode", "GpsAttMode"}) {
    const Signal signal = file.signal(name);
    ASSERT_EQ(signal.type(), ValueType::UInt8) << name;
    const std::vector<Change> expected = changesByHand(file, signal);
    const std::vector<Change> changes = file.changes(signal);
    ASSERT_EQ(changes.size(), expected.size()) << name;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      EXPECT_EQ(changes[i].time, expected[i].time);
      EXPECT_EQ(changes[i].record, expected[i].record);
      EXPECT_EQ(changes[i].before.text(), expected[i].before.text());
      EXPECT_EQ(changes[i].after.text(), expected[i].after.text());
    }
    modes += changes.size();
  }
  ASSERT_GT(modes, 0U);
  const Events events = file.events({.kinds = {EventKind::Mode}});
  EXPECT_EQ(events.list.size(), modes);
  EXPECT_TRUE(std::ranges::is_sorted(events.list, {}, &Event::time));
}

TEST(EventTest, ATriggersEdgesComeAtTheirOwnTimes) {
  File file(dataPath("quon_triggers_11.quon"));
  const Events events = file.events({.kinds = {EventKind::Trigger}});
  ASSERT_FALSE(events.list.empty());
  EXPECT_EQ(events.inAll, events.list.size());
  for (const Event& event : events.list) {
    EXPECT_LE(event.time, event.record) << event.text;
    EXPECT_EQ(event.text.substr(event.text.find("number ") + 7), event.after.text());
    EXPECT_TRUE(event.signal.ends_with("UpdateCount"));
  }
  const Events limited = file.events({.kinds = {EventKind::Trigger}, .limit = 2});
  ASSERT_EQ(limited.list.size(), 2U);
  EXPECT_EQ(limited.inAll, events.inAll);
  EXPECT_EQ(limited.list[1].text, events.list[1].text);
  const Events part = file.events({.kinds = {EventKind::Trigger}, .start = events.list[1].time});
  EXPECT_EQ(part.list.front().time, events.list[1].time);
  EXPECT_THAT(file.events({.kinds = {EventKind::Target}}).list, IsEmpty());
}

TEST(EventTest, GapsAndDamageStandWhereTheDataEnds) {
  constexpr Nano kStart = 1'384'035'200'000'000'000;
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 1,
                                                 .primary = Com::primaryText("[Kvex-Zint]", 1),
                                                 .headers = {Testing::countDefinition().headerPacket()},
                                                 .packetsPerPage = 1});
  stream.writeHeader();
  for (std::uint32_t i = 0; i < 40; ++i) {
    const Nano pause = i < 20 ? 0 : 6 * kNanosPerSecond;
    stream.add(Testing::countPacket(kStart + i * kNanosPerSecond + pause, i));
  }
  const TempFile path("events-gap.vrel", out.str());  // without its end
  File file(path.path());
  const Events events = file.events();
  ASSERT_EQ(events.list.size(), 2U);
  const Event& gap = events.list[0];
  EXPECT_EQ(nameOf(gap.kind), "gap");
  EXPECT_EQ(gap.time, kStart + 19 * kNanosPerSecond);
  EXPECT_EQ(gap.record, kStart + 26 * kNanosPerSecond);
  EXPECT_EQ(gap.text, "no packet for 7 s, usually one each 1 s");
  EXPECT_EQ(nameOf(events.list[1].kind), "damage");
  EXPECT_EQ(events.list[1].time, kStart + 45 * kNanosPerSecond);
}

std::vector<std::uint64_t> lengthsOf(const std::vector<Front::GapFinder::Gap>& gaps) {
  std::vector<std::uint64_t> lengths;
  for (const Front::GapFinder::Gap& gap : gaps) lengths.push_back(gap.length());
  std::ranges::sort(lengths);
  return lengths;
}

TEST(GapFinderTest, FindsDistancesOfMoreThanFivePeriods) {
  const struct {
    const char* what;
    std::vector<Nano> times;
    std::vector<std::uint64_t> gaps;
  } cases[] = {
      {"nothing", {}, {}},
      {"one packet", {5}, {}},
      {"exactly five periods", {0, 10, 20, 70, 80}, {}},
      {"more", {0, 10, 20, 71, 80, 90}, {51}},
      {"times that stand and run back", {0, 10, 10, 20, 5, 15, 25, 125, 135}, {100}},
      {"the whole range", {INT64_MIN, INT64_MAX, INT64_MIN, INT64_MIN + 1, INT64_MIN + 2}, {UINT64_MAX}},
  };
  for (const auto& expected : cases) {
    Front::GapFinder finder(100);
    for (const Nano time : expected.times) finder.add(time);
    EXPECT_EQ(lengthsOf(finder.gaps()), expected.gaps) << expected.what;
  }
}

TEST(GapFinderTest, KeepsTheLongestOfVeryMany) {
  constexpr std::size_t kLimit = 50;
  std::mt19937_64 random(7);
  Front::GapFinder finder(kLimit);
  std::vector<std::uint64_t> expected;
  Nano time = 0;
  for (int i = 0; i < 200'000; ++i) {
    const bool gap = i % 100 == 99;
    const auto distance = gap ? 1'000 + static_cast<Nano>(random() % 100'000) : 100;
    time += distance;
    if (gap && i > 0) expected.push_back(static_cast<std::uint64_t>(distance));
    finder.add(time);
  }
  std::ranges::sort(expected);
  std::vector<std::uint64_t> found = lengthsOf(finder.gaps());
  EXPECT_EQ(finder.period(), 100U);
  ASSERT_GE(found.size(), kLimit);
  EXPECT_LE(found.size(), 2 * kLimit);
  EXPECT_TRUE(std::ranges::equal(std::span(found).last(kLimit), std::span(expected).last(kLimit)));
}

/// The native samples of one signal of each record of its table: whether it has one, and its value.
std::vector<std::optional<double>> samplesOf(File& file, const std::vector<Signal>& signals, bool multiplexed) {
  std::vector<std::optional<double>> samples;
  ReadOptions options;
  options.multiplexed = multiplexed;
  for (const Batch& batch : file.native(signals, options)) {
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      for (std::size_t i = 0; i < signals.size(); ++i) {
        const Value value = batch.value(i, row);
        samples.push_back(value.type() == ValueType::None ? std::nullopt : std::optional(value.asDouble()));
      }
    }
  }
  return samples;
}

TEST(MultiplexedTest, ASignalHasSamplesOnlyWhereItsMultiplexerSelectsIt) {
  std::size_t selected = 0;
  std::size_t others = 0;
  for (const char* name : {"can_fd_11.vrel", "can_absolute_11.vrel"}) {
    File file(dataPath(name));
    for (const Signal& signal : file.signals()) {
      if (!signal.multiplexer()) continue;
      const Signal multiplexer = file.signal(signal.multiplexer()->signal);
      // The factors of these two are 0 and -1: their values are not the raw ones.
      if (multiplexer.name() == "WiperRate_261" || multiplexer.name() == "ClutchLevel16") continue;
      const auto plain = samplesOf(file, {multiplexer, signal}, false);
      const auto kept = samplesOf(file, {multiplexer, signal}, true);
      ASSERT_EQ(kept.size(), plain.size());
      for (std::size_t row = 0; row + 1 < plain.size(); row += 2) {
        ASSERT_EQ(plain[row], kept[row]);
        if (!plain[row]) continue;
        const auto raw = static_cast<std::uint64_t>(*plain[row]);
        const bool selects = std::ranges::any_of(signal.multiplexer()->values,
                                                 [&](const auto& r) { return r.first <= raw && raw <= r.last; });
        ++(selects ? selected : others);
        EXPECT_EQ(kept[row + 1], selects ? plain[row + 1] : std::nullopt) << signal.name();
      }
    }
  }
  EXPECT_GT(selected, 0U);
  EXPECT_GT(others, 0U);
}

}  // namespace
}  // namespace Kvex
