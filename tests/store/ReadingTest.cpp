#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include "support/Pages.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"
#include "synth/VehicleDrive.h"
#include "zint/ComDecoder.h"

namespace Kvex::Sto {
namespace {

using Testing::countDefinition;
using Testing::countPacket;
using Testing::differenceOf;
using Testing::StoreReading;
using Testing::TempFile;

Com::StreamForm countForm(std::uint32_t serial) {
  return {.serial = serial,
          .primary = Com::primaryText("[Kvex-Zint]", 1),
          .headers = {countDefinition().headerPacket()},
          .packetsPerPage = 1};
}

TEST(ReadingTest, ValueIsOfTheFirstRecordAtOrAfter) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(countForm(1));
  stream.writeHeader();
  std::uint32_t count = 0;
  for (const Lib::Nano time : {100, 200, 200, 150, 300, 300}) stream.add(countPacket(time, ++count));
  writer.end();
  const TempFile file("rule.vrel", out.str());
  StoreReading reading(file.path());
  reading.subscribe(0, "Count");

  const struct {
    bool seek;
    Lib::Nano time;
    std::uint32_t count;
    Lib::Nano stamp;
  } steps[] = {
      {true, INT64_MIN, 1, 100},  {false, 50, 1, 100},  {false, 100, 1, 100},      {false, 101, 2, 200},
      {false, 200, 2, 200},       {false, 201, 5, 300}, {false, 300, 5, 300},      {false, 301, 6, 300},
      {false, INT64_MAX, 6, 300}, {false, 400, 6, 300}, {true, 150, 2, 200},       {false, 150, 2, 200},
      {true, 1000, 6, 300},       {true, 250, 5, 300},  {true, INT64_MAX, 6, 300}, {true, 0, 1, 100},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.time);
    if (step.seek) reading.store.seekAll(step.time);
    const std::vector<Lib::Sample> samples = reading.read(step.time);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].asInteger(), step.count);
    EXPECT_EQ(samples[0].time, step.stamp);
    EXPECT_EQ(samples[0].flags, 0);
  }
}

/// Two streams with small pages and repeat blocks, one of large packets, and a foreign one.
std::string drive(std::uint64_t seed, const Synth::DamagePlan& damage = {}) {
  std::mt19937_64 random(seed);
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  const auto form = [&](std::uint32_t serial) {
    return Com::StreamForm{.serial = serial,
                           .primary = Com::primaryText("[Kvex-Zint]", 1),
                           .headers = {Synth::VehicleDrive::definition().headerPacket()},
                           .packetsPerPage = 1 + random() % 6};
  };
  Com::LogicalWriter& one = writer.addStream(form(1));
  Com::LogicalWriter& two = writer.addStream(form(2));
  Com::LogicalWriter& large = writer.addStream(countForm(3));
  Com::LogicalWriter& foreign = writer.addStream({.serial = 4, .primary = "other", .packetsPerPage = 9});
  for (Com::LogicalWriter* stream : {&one, &two, &large, &foreign}) stream->writeHeader();
  writer.setDamage(damage);
  Synth::VehicleDrive driveOne(1'000'000'000);
  Synth::VehicleDrive driveTwo(1'000'500'000);
  for (std::uint32_t i = 0; i < 600; ++i) {
    one.add(driveOne.next());
    two.add(driveTwo.next());
    if (random() % 40 == 0) foreign.add(countPacket(0, 0));
    if (random() % 30 == 0) large.add(countPacket(driveOne.time() - 500, i, random() % 200'000));
    if (random() % 60 == 0) one.writeHeader();
    if (random() % 60 == 0) two.writePrimary();
    if (random() % 60 == 0) two.skipPages(1);
    if (random() % 60 == 0) one.resendPage();
    if (random() % 90 == 0) one.setPageNumber(static_cast<std::uint32_t>(random() % 100));
  }
  writer.end();
  return out.str();
}

/// All signals of a recording at `count` times.
std::vector<Lib::Sample> walk(const std::string& bytes, int count, bool& sound) {
  const TempFile file("walk.vrel", bytes);
  StoreReading reading(file.path());
  reading.store.visitStream(0, [&](const Stream&, const Resource& resource) { sound = resource.health.sound(); });
  reading.subscribeAll();
  return reading.walk(count);
}

TEST(ReadingTest, HoppingGivesTheSameAsReadingAll) {
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    const std::string bytes = drive(seed);
    bool hops = false;
    bool hopsWithJunk = true;
    const std::vector<Lib::Sample> hopped = walk(bytes, 200, hops);
    EXPECT_EQ(differenceOf(hopped, walk(bytes + "x", 200, hopsWithJunk)), "");
    EXPECT_TRUE(hops);
    EXPECT_FALSE(hopsWithJunk);
    EXPECT_GT(hopped.size(), 200U);
  }
}

TEST(ReadingTest, WalksAgainAndJoinsLate) {
  const Synth::DamagePlan damages[] = {{}, {.drop = 0.1}, {.repeat = 0.1, .delay = 0.1, .flip = 0.1, .junk = 0.1}};
  for (const Synth::DamagePlan& damage : damages) {
    const TempFile file("again.vrel", drive(7, damage));
    StoreReading early(file.path());
    early.subscribeAll();
    const std::vector<Lib::Sample> first = early.walk(50);
    EXPECT_EQ(differenceOf(first, early.walk(50)), "");

    StoreReading late(file.path());
    const Lib::Nano start = late.startTime();
    late.subscribe(0, "Nano");
    for (StoreReading* reading : {&early, &late}) {
      reading->store.seekAll(start);
      for (Lib::Nano t = start; t < start + 1'000'000'000; t += 100'000'000) reading->read(t);
    }
    late.query = {};
    late.subscribeAll();
    EXPECT_EQ(differenceOf(early.read(start + 2'000'000'000), late.read(start + 2'000'000'000)), "");
  }
}

TEST(ReadingTest, JoinsLateAfterASeekToTheSmallestTime) {
  const TempFile file("smallest.vrel", drive(1));
  StoreReading reading(file.path());
  reading.store.seekAll(INT64_MIN);
  reading.subscribe(0, "GnssInt1_Altitude");
  EXPECT_EQ(reading.read(INT64_MIN).at(0).flags, 0);
}

TEST(ReadingTest, Cancels) {
  const TempFile file("cancel.vrel", drive(1));
  StoreReading reading(file.path());
  reading.subscribeAll();
  const std::size_t streams = reading.ids.size();
  reading.store.cancel();
  std::vector<Lib::Sample> samples;
  EXPECT_EQ(reading.store.seekAll(0), StoreStatus::Cancelled);
  const StoreStatus read = reading.store.readSamples(reading.query, INT64_MAX, samples);
  EXPECT_EQ(read, StoreStatus::NotFound);
  EXPECT_EQ(read.reason, Reason::kCancelled);
  const StoreStatus added = reading.store.addFile(file.path(), reading.ids);
  EXPECT_EQ(added, StoreStatus::NotFound);
  EXPECT_EQ(added.reason, Reason::kCancelled);
  EXPECT_EQ(reading.ids.size(), streams);
  reading.store.clearCancel();
  StoreReading other(file.path());
  other.subscribeAll();
  EXPECT_EQ(differenceOf(reading.walk(20), other.walk(20)), "");
}

/// A walk over packets that lie far apart looks at the cancel flag with each, and its progress does not fall.
TEST(ReadingTest, SparseSeekIsCancelledInItsMidst) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(countForm(1));
  stream.writeHeader();
  constexpr Lib::Nano kDay = 86'400 * Lib::kNanosPerSecond;
  constexpr std::uint32_t kPackets = 500;
  for (std::uint32_t i = 0; i < kPackets; ++i) stream.add(countPacket(i * kDay, i));
  writer.end();
  const TempFile file("sparse.vrel", out.str());
  Sto::StoreConfig config;
  config.progressInterval = 0;  // a report with each look
  config.progressRingBits = 20;
  DataStore store(config, allCodecs());
  std::vector<std::uint32_t> ids;
  ASSERT_EQ(store.addFile(file.path(), ids), StoreStatus::Success);
  ASSERT_EQ(store.subscribe(kDirectMode, 0, "Count"), StoreStatus::Success);
  while (store.progress().take()) {
  }
  ASSERT_EQ(store.seekAll(kPackets * kDay), StoreStatus::Success);
  float last = 0;
  std::size_t reports = 0;
  while (const auto record = store.progress().take()) {
    EXPECT_EQ(record->phase, Phase::Seek);
    EXPECT_GE(record->percent, last);
    last = record->percent;
    ++reports;
  }
  EXPECT_EQ(last, 100);
  EXPECT_GT(reports, kPackets / 2);
}

TEST(ReadingTest, LargeHeaderPackets) {
  Synth::ZintDefinition definition = countDefinition();
  definition.signals[1].comment = std::string(700'000, 'c');
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::StreamForm form = countForm(1);
  form.headers = {definition.headerPacket()};
  Com::LogicalWriter& stream = writer.addStream(form);
  stream.writeHeader();
  for (std::uint32_t i = 0; i < 10; ++i) stream.add(countPacket(i, i));
  const TempFile file("header.vrel", out.str());
  StoreReading reading(file.path());
  EXPECT_EQ(reading.subscribe(0, "Count"), StoreStatus::Success);
  reading.store.seekAll(0);
  EXPECT_EQ(reading.read(5).at(0).asInteger(), 5);
}

/// The first time of a stream where identification holds all of its data, up to the end of the file.
Lib::Nano plainFirstTime(const std::string& bytes, std::uint32_t serial) {
  Com::VrelStreamDec pages(serial);
  pages.expectPrimary();
  bool known = false;
  Testing::forEachPage(bytes, [&](const ogg_page& page) {
    if (static_cast<std::uint32_t>(ogg_page_serialno(&page)) != serial) return;
    known |= page.body[0] == '[';
    if (known) pages.addPage(page);
  });
  Zint::ComDecoder decoder;
  decoder.setDefinitions(countDefinition().document());
  while (decoder.state() == Zint::ComDecoder::State::Probing) {
    const std::string packet = Testing::takeData(pages);
    if (packet.empty()) return INT64_MAX;
    decoder.probe({reinterpret_cast<const std::uint8_t*>(packet.data()), packet.size()});
  }
  return decoder.time().value;
}

TEST(ReadingTest, WaitsForHeadersThatNeverComplete) {
  std::mt19937 random(3);
  for (int trial = 0; trial < 12; ++trial) {
    SCOPED_TRACE(trial);
    std::ostringstream out;
    Synth::RecordingWriter writer(out);
    Com::LogicalWriter& endless =
        writer.addStream({.serial = 1, .primary = Com::primaryText("[Kvex-Zint]", 9), .headers = {"<a>"}});
    Com::LogicalWriter& large = writer.addStream(countForm(2));
    Com::LogicalWriter& small = writer.addStream(countForm(3));
    large.setPageNumber(1'000'000);
    large.add(countPacket(1, 0));  // no page of a stream that is known
    large.setPageNumber(0);
    for (Com::LogicalWriter* stream : {&endless, &large, &small}) stream->writeHeader();
    for (std::uint32_t i = 10; i < 130; ++i) {
      large.add(countPacket(i, i, random() % 20'000));
      small.add(countPacket(1000 + i, i));
      if (trial > 0 && random() % 50 == 0) large.writeHeader();
      if (trial > 0 && random() % 40 == 0) large.skipPages(random() % 2);
      if (trial > 4 && random() % 50 == 0) large.writePrimary();
      if (trial > 8 && random() % 30 == 0) small.writeHeader();
    }
    writer.end();
    const TempFile file("endless.vrel", out.str());
    const StoreReading reading(file.path());
    ASSERT_EQ(reading.ids.size(), 3U);
    EXPECT_FALSE(reading.store.streamInfo(0).headerSeen);
    for (const std::uint32_t serial : {2U, 3U}) {
      const Lib::Nano expected = plainFirstTime(out.str(), serial);
      const StreamInfo info = reading.store.streamInfo(serial - 1);
      EXPECT_EQ(info.hasTime ? info.startTime : INT64_MAX, expected) << serial;
    }
  }
}

}  // namespace
}  // namespace Kvex::Sto
