// Overviews, statistics and states against the native samples that they are made of.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <tuple>

#include "support/Command.h"
#include "support/Golden.h"
#include "support/StoreReading.h"

namespace Kvex {
namespace {

struct Timed {
  Nano time;
  Value value;
};

/// All samples of a scalar signal.
std::vector<Timed> samplesOf(File& file, const Signal& signal) {
  std::vector<Timed> samples;
  for (const Batch& batch : file.native(signal, {.flags = true, .stamps = true})) {
    for (std::size_t row = 0; row < batch.rows(); ++row) samples.push_back({batch.time(row), batch.value(0, row)});
  }
  return samples;
}

/// By text, since doubles do not hold every integer; zero equals zero of the other sign.
bool same(const Value& a, const Value& b) {
  return a.text() == b.text() || (a.asDouble() == 0.0 && b.asDouble() == 0.0);
}

class SummaryTest : public testing::TestWithParam<const char*> {
 protected:
  File file_{Support::dataPath(GetParam())};

  std::vector<Signal> scalars() {
    std::vector<Signal> signals;
    for (const Signal& signal : file_.match("0:*")) {
      if (!signal.isArray() && signals.size() < 60) signals.push_back(signal);
    }
    return signals;
  }
};

TEST_P(SummaryTest, StatisticsAreThoseOfTheSamples) {
  const std::vector<Signal> signals = scalars();
  const std::vector<Statistics> all = file_.statistics(signals);
  ASSERT_EQ(all.size(), signals.size());
  for (const Statistics& got : all) {
    SCOPED_TRACE(got.signal.name());
    const std::vector<Timed> samples = samplesOf(file_, got.signal);
    std::vector<Timed> usable;
    std::ranges::copy_if(samples, std::back_inserter(usable), [](const Timed& t) { return t.value.usable(); });
    EXPECT_EQ(got.samples, samples.size());
    EXPECT_EQ(got.usable, usable.size());
    if (samples.size() >= 2) {
      const double seconds = static_cast<double>(samples.back().time - samples.front().time) * 1e-9;
      if (seconds > 0) {
        EXPECT_NEAR(got.rate.value_or(-1), static_cast<double>(samples.size() - 1) / seconds, 1e-6);
      }
    }
    std::uint64_t changes = 0;
    for (std::size_t i = 1; i < usable.size(); ++i) changes += same(usable[i].value, usable[i - 1].value) ? 0 : 1;
    EXPECT_EQ(got.changes, changes);
    if (usable.empty()) {
      EXPECT_EQ(got.first.type(), ValueType::None);
      continue;
    }
    EXPECT_TRUE(same(got.first, usable.front().value));
    EXPECT_EQ(got.last.stamp(), usable.back().value.stamp());
    double smallest = INFINITY;
    double largest = -INFINITY;
    for (const Timed& sample : usable) {
      const double number = sample.value.asDouble();
      if (std::isnan(number)) continue;
      smallest = std::min(smallest, number);
      largest = std::max(largest, number);
    }
    if (smallest <= largest) {
      EXPECT_EQ(got.smallest.asDouble(), smallest);
      EXPECT_EQ(got.largest.asDouble(), largest);
    }
  }
}

/// What several threads find, of files with one and with several streams, of arrays and elements, in a span.
TEST(StatisticsTest, AreTheSameFromSeveralThreads) {
  for (const char* name : {"can_joined_11.vrel", "can_with_zint_11.vrel", "range_recording_11.vrel"}) {
    SCOPED_TRACE(name);
    File file(Support::dataPath(name));
    std::vector<Signal> signals = file.match("*");
    signals.push_back(signals.front());
    const Span whole = file.span();
    ReadOptions options{.start = whole.start + (whole.end - whole.start) / 3, .end = whole.end};
    for (const unsigned threads : {2U, 5U}) {
      const std::vector<Statistics> alone = file.statistics(signals, options);
      options.threads = threads;
      const std::vector<Statistics> shared = file.statistics(signals, options);
      options.threads = 1;
      ASSERT_EQ(shared.size(), alone.size());
      for (std::size_t i = 0; i < alone.size(); ++i) {
        SCOPED_TRACE(alone[i].signal.qualifiedName());
        EXPECT_EQ(shared[i].signal, alone[i].signal);
        EXPECT_EQ(std::tie(shared[i].samples, shared[i].usable, shared[i].changes, shared[i].rate),
                  std::tie(alone[i].samples, alone[i].usable, alone[i].changes, alone[i].rate));
        for (const auto value : {&Statistics::first, &Statistics::last, &Statistics::smallest, &Statistics::largest}) {
          EXPECT_TRUE(same(shared[i].*value, alone[i].*value));
          EXPECT_EQ((shared[i].*value).stamp(), (alone[i].*value).stamp());
        }
      }
    }
  }
}

TEST(StatisticsTest, SeveralThreadsEndWithTheReading) {
  const Testing::TempFile copy("changed.vrel", Support::contentsOf(Support::dataPath("range_recording_11.vrel")));
  File file(copy.path());
  std::stop_source stop;
  stop.request_stop();
  EXPECT_THROW(file.statistics(file.match("*"), {.stop = stop.get_token(), .threads = 3}), Error);
  std::filesystem::copy_file(Support::dataPath("can_joined_11.vrel"), copy.path(),
                             std::filesystem::copy_options::overwrite_existing);
  try {
    file.statistics(file.match("*"), {.threads = 3});
    FAIL() << "a second reading of another file";
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::Unreadable) << error.what();
  }
}

TEST_P(SummaryTest, OverviewCountsEachSampleInItsSlice) {
  const std::vector<Signal> signals = scalars();
  constexpr std::size_t kSlices = 7;
  const Overview overview = file_.overview(signals, kSlices);
  for (std::size_t i = 0; i < signals.size(); ++i) {
    SCOPED_TRACE(signals[i].name());
    std::vector<Slice> expected(kSlices);
    for (const Timed& sample : samplesOf(file_, signals[i])) {
      std::size_t slice = 0;
      while (slice + 1 < kSlices && sample.time >= overview.sliceStart(slice + 1)) ++slice;
      ++expected[slice].samples;
      if (!sample.value.usable()) continue;
      if (expected[slice].usable++ == 0) expected[slice].first = sample.value;
      expected[slice].last = sample.value;
    }
    for (std::size_t slice = 0; slice < kSlices; ++slice) {
      const Slice got = overview.at(i, slice);
      EXPECT_EQ(got.samples, expected[slice].samples);
      EXPECT_EQ(got.usable, expected[slice].usable);
      if (got.usable == 0) continue;
      EXPECT_TRUE(same(got.first, expected[slice].first));
      EXPECT_TRUE(same(got.last, expected[slice].last));
    }
  }
  EXPECT_THROW(file_.overview(signals, 0), Error);
}

TEST_P(SummaryTest, StatesFollowOneAnotherAndHoldAllUsableSamples) {
  for (const Signal& signal : scalars()) {
    SCOPED_TRACE(signal.name());
    std::vector<Value> expected;
    std::uint64_t usable = 0;
    bool held = false;
    for (const Timed& sample : samplesOf(file_, signal)) {
      usable += sample.value.usable() ? 1 : 0;
      if (sample.value.usable() && (!held || !same(sample.value, expected.back()))) expected.push_back(sample.value);
      held = sample.value.usable();
    }
    std::size_t count = 0;
    std::uint64_t counted = 0;
    for (const State& state : file_.states(signal)) {
      ASSERT_LT(count, expected.size());
      EXPECT_TRUE(same(state.value, expected[count]));
      EXPECT_LE(state.from, state.to);
      ++count;
      counted += state.samples;
    }
    EXPECT_EQ(count, expected.size());
    EXPECT_EQ(counted, usable);
  }
}

TEST_P(SummaryTest, TimelineLeavesNoTimeOut) {
  const Span whole = file_.span();
  const ReadOptions part{.start = whole.start + (whole.end - whole.start) / 4, .end = whole.end - kNanosPerSecond / 10};
  for (const Signal& signal : scalars()) {
    SCOPED_TRACE(signal.name());
    for (const ReadOptions& options : {ReadOptions{}, part}) {
      const Stream& stream = file_.stream(signal.stream());
      std::vector<State> states;
      for (const State& state : file_.states(signal, options)) states.push_back(state);
      std::vector<State> timeline;
      for (const State& state : file_.timeline(signal, options)) timeline.push_back(state);
      Nano reached = std::max(stream.start(), options.start.value_or(INT64_MIN));
      for (const State& state : timeline) {
        EXPECT_LE(state.from, reached);
        reached = state.to;
      }
      EXPECT_EQ(reached, std::min(stream.end(), options.end.value_or(INT64_MAX)));
      std::erase_if(timeline, [](const State& state) { return state.value.type() == ValueType::None; });
      ASSERT_EQ(timeline.size(), states.size());
      for (std::size_t i = 0; i < states.size(); ++i) EXPECT_EQ(timeline[i].from, states[i].from);

      States again = file_.timeline(signal, options);
      double share = 0;
      std::uint64_t times = 0;
      for (const StateTotal& total : totalsOf(again)) {
        share += total.share;
        times += total.value.type() == ValueType::None ? 0 : total.times;
      }
      EXPECT_NEAR(share, 1.0, 1e-9);
      EXPECT_EQ(times, states.size());
    }
  }
}

TEST_P(SummaryTest, TotalsOfManySignalsAreThoseOfEach) {
  const Span whole = file_.span();
  const ReadOptions part{.start = whole.start + (whole.end - whole.start) / 3, .end = whole.end - kNanosPerSecond / 7};
  const std::vector<Signal> signals = scalars();
  for (const ReadOptions& options : {ReadOptions{}, part}) {
    const std::vector<std::vector<StateTotal>> all = file_.stateTotals(signals, options);
    ASSERT_EQ(all.size(), signals.size());
    for (std::size_t i = 0; i < signals.size(); ++i) {
      SCOPED_TRACE(signals[i].name());
      States timeline = file_.timeline(signals[i], options);
      const std::vector<StateTotal> alone = totalsOf(timeline);
      ASSERT_EQ(all[i].size(), alone.size());
      for (std::size_t k = 0; k < alone.size(); ++k) {
        EXPECT_TRUE(same(all[i][k].value, alone[k].value));
        EXPECT_EQ(all[i][k].times, alone[k].times);
        EXPECT_EQ(all[i][k].time, alone[k].time);
        EXPECT_EQ(all[i][k].share, alone[k].share);
      }
    }
  }
}

TEST(StateTotalsTest, EqualValuesAreOneTheLongestFirst) {
  File file(Support::dataPath("quon_mode_mix_11.quon"));
  States states = file.states("InsNavMode");
  std::vector<std::string> texts;
  Nano before = INT64_MAX;
  for (const StateTotal& total : totalsOf(states)) {
    EXPECT_LE(total.time, before);
    before = total.time;
    texts.push_back(total.value.text());
  }
  EXPECT_FALSE(texts.empty());
  std::ranges::sort(texts);
  EXPECT_EQ(std::ranges::adjacent_find(texts), texts.end());
}

INSTANTIATE_TEST_SUITE_P(Files, SummaryTest,
                         testing::Values("zint_wild_11.vrel", "quon_mode_mix_11.quon", "can_joined_11.vrel"),
                         [](const testing::TestParamInfo<const char*>& param) {
                           const std::string name = param.param;
                           return name.substr(0, name.rfind('.'));
                         });

}  // namespace
}  // namespace Kvex
