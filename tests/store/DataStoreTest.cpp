#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "recording/OggPage.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Sto {
namespace {

using Testing::countDefinition;
using Testing::countPacket;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::StoreReading;
using Testing::TempFile;

struct Source {
  std::uint32_t serial;
  std::vector<Lib::Nano> times;
  std::string grouping = {};
};

/// A recording of streams with these times.
std::string recording(const std::vector<Source>& sources) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  for (const Source& source : sources) {
    Com::StreamForm form{.serial = source.serial, .headers = {countDefinition().headerPacket()}};
    if (!source.grouping.empty()) form.headers.push_back("{Kvex-Grouping}Grouping=" + source.grouping);
    form.primary = Com::primaryText("[Kvex-Zint]", form.headers.size());
    Com::LogicalWriter& stream = writer.addStream(form);
    stream.writeHeader();
    for (const Lib::Nano time : source.times) stream.add(countPacket(time, 1));
  }
  writer.end();
  return out.str();
}

TEST(DataStoreTest, SpanOfAllStreams) {
  constexpr Lib::Nano kMargin = 100'000'000;
  const struct {
    std::vector<Source> sources;
    StoreCode status;
    Lib::Nano start;
    Lib::Nano end;
  } cases[] = {
      {{{1, {10, 30}}}, StoreStatus::Success, 10, 30},
      {{{1, {10, 30}}, {2, {10, 90}}}, StoreStatus::Success, 10, 90},
      {{{1, {10}}, {2, {10}}, {3, {20}}}, StoreStatus::Success, 10 + kMargin, 20},
      {{{1, {20}}, {2, {10}}}, StoreStatus::Success, 10 + kMargin, 20},
      {{{1, {20}}, {2, {}}}, StoreStatus::Success, 20, 20},
      {{{1, {}}}, StoreStatus::NotFound, INT64_MAX, 0},
      {{{1, {50, 40}}}, StoreStatus::Success, 50, 40},
      {{{1, {INT64_MIN, -5}}}, StoreStatus::Success, INT64_MIN, -5},
      {{{1, {INT64_MAX}}, {2, {INT64_MAX - 1}}}, StoreStatus::Success, INT64_MAX - 1, INT64_MAX},
  };
  for (const auto& expected : cases) {
    const TempFile file("span.vrel", recording(expected.sources));
    StoreReading reading(file.path());
    ASSERT_EQ(reading.ids.size(), expected.sources.size());
    Lib::Nano start = 1;
    Lib::Nano end = 1;
    EXPECT_EQ(reading.store.startTime(start), expected.status);
    EXPECT_EQ(reading.store.endTime(end), expected.status);
    EXPECT_EQ(start, expected.start);
    EXPECT_EQ(end, expected.end);
  }
}

TEST(DataStoreTest, IdsNamesAndGroups) {
  const TempFile one("one.vrel", recording({{0xFFFFFFFF, {1}, "Car"}, {7, {1}, "Car"}, {3, {1}}}));
  const TempFile two("TWO.VREL", recording({{7, {1}, "Car"}, {8, {1}}}));
  StoreReading reading(one.path());
  EXPECT_EQ(reading.store.addFile("missing.vrel", reading.ids), StoreStatus::NotFound);
  EXPECT_EQ(reading.store.addFile(two.path(), reading.ids), StoreStatus::Success);
  EXPECT_THAT(reading.ids, ElementsAre(0, 1, 2, 3, 4));
  const struct {
    std::uint32_t serial;
    std::string name;
    std::int32_t group;
    std::int32_t resource;
  } streams[] = {{3, "0", 0, 0}, {7, "Car 0", 1, 0}, {0xFFFFFFFF, "Car 0", 1, 0}, {7, "Car 1", 2, 1}, {8, "1", 3, 1}};
  for (std::uint32_t id = 0; id < std::size(streams); ++id) {
    const StreamInfo info = reading.store.streamInfo(id);
    EXPECT_EQ(info.index, static_cast<std::int32_t>(id));
    EXPECT_EQ(info.serial, streams[id].serial);
    EXPECT_EQ(info.name, streams[id].name);
    EXPECT_EQ(info.groupIndex, streams[id].group);
    EXPECT_EQ(info.resourceIndex, streams[id].resource);
    EXPECT_EQ(info.resourceKind, 1);
    EXPECT_EQ(info.resourceExtension, ".vrel");
    EXPECT_TRUE(info.headerSeen);
    EXPECT_TRUE(info.headerAccepted);
    EXPECT_TRUE(info.hasTime);
  }
  EXPECT_EQ(reading.store.streamInfo(5).index, -1);
  EXPECT_EQ(reading.store.streamInfo(5).serial, UINT32_MAX);
  EXPECT_EQ(reading.subscribe(4, "Count[9]"), StoreStatus::Success);
  EXPECT_EQ(reading.subscribe(4, "Count"), StoreStatus::Success);
  EXPECT_EQ(reading.query.columns().size(), 2U);
  EXPECT_EQ(reading.query.columns()[1].position, 0U);
  for (const char* name : {"", "[0]", "count", "Count "}) EXPECT_EQ(reading.subscribe(4, name), StoreStatus::NotFound);
  EXPECT_EQ(reading.subscribe(5, "Count"), StoreStatus::NotFound);
  EXPECT_EQ(reading.store.subscribe(2, 4, "Count"), StoreStatus::NotFound);
}

TEST(DataStoreTest, FilesThatAreNone) {
  const std::string good = recording({{1, {1}}});
  std::filesystem::create_directory("directory.vrel");
  const TempFile unknown("x.dat", good);
  const TempFile none("x", good);
  const TempFile empty("empty.vrel");
  const TempFile junk("junk.vrel", std::string(300'000, 'O'));
  const TempFile noCodec("no-codec.vrel",
                         Com::makePage({.flags = Com::PageFlag::kBos, .serial = 1, .packets = {"[Kvex-Zin]"}}));
  const TempFile noFirst("no-first.vrel", Com::makePage({.serial = 1, .packets = {"[Kvex-Zint]"}}));
  StoreReading reading;
  for (const std::string& path : {std::string(), std::string("."), std::string("directory.vrel"), unknown.path(),
                                  none.path(), empty.path(), junk.path(), noCodec.path(), noFirst.path()}) {
    EXPECT_EQ(reading.store.addFile(path, reading.ids), StoreStatus::NotFound) << path;
  }
  EXPECT_THAT(reading.ids, IsEmpty());
  std::filesystem::remove("directory.vrel");
}

TEST(DataStoreTest, StatusesSayTheirReason) {
  const TempFile file("reasons.vrel", recording({{1, {1, 5}}, {2, {}}}));
  const TempFile unknown("reasons.dat");
  const TempFile empty("reasons-empty.vrel");
  StoreReading reading(file.path());
  DataStore& store = reading.store;
  std::vector<std::uint32_t> ids;
  std::vector<Lib::Sample> samples;
  SignalQuery query;
  Lib::Nano time = 0;
  const struct {
    StoreStatus status;
    std::string_view reason;
  } cases[] = {
      {store.addFile("no-such-file.vrel", ids), Reason::kNoFile},
      {store.addFile(unknown.path(), ids), Reason::kUnknownKind},
      {store.addFile(empty.path(), ids), Reason::kNoStreams},
      {store.subscribe(7, 0, "Count"), Reason::kNoMode},
      {store.subscribe(kDirectMode, 9, "Count"), Reason::kNoStream},
      {store.subscribe(kDirectMode, 1, "Count"), Reason::kTimelessStream},
      {store.subscribe(kDirectMode, 0, "Counter"), Reason::kNoSignal},
      {store.addToQuery(query, kDirectMode, 0, "Count"), Reason::kNotSubscribed},
      {store.readSamples(query, 1, samples), Reason::kEmptyQuery},
      {StoreReading().store.startTime(time), Reason::kNoTime},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(expected.status, StoreStatus::NotFound) << expected.reason;
    EXPECT_EQ(expected.status.reason, expected.reason);
  }
}

TEST(DataStoreTest, VisitorCannotLockItselfOut) {
  const TempFile file("visitor.vrel", recording({{1, {1, 5}}}));
  StoreReading reading(file.path());
  DataStore& store = reading.store;
  std::vector<Lib::Sample> samples;
  Lib::Nano time = 0;
  const auto visit = [&](auto&& operation) {
    store.visitStream(0, [&](const Stream&, const Resource&) { EXPECT_THROW(operation(), std::logic_error); });
  };
  visit([&] { return store.addFile(file.path(), reading.ids); });
  visit([&] { return store.startTime(time); });
  visit([&] { return store.streamInfo(0); });
  visit([&] { return store.subscribe(kDirectMode, 0, "Count"); });
  visit([&] { return store.seekAll(0); });
  visit([&] { return store.readSamples(reading.query, 1, samples); });
  visit([&] { return store.visitStream(0, [](const Stream&, const Resource&) {}); });
  EXPECT_EQ(reading.subscribe(0, "Count"), StoreStatus::Success);
  StoreReading other(file.path());
  store.visitStream(0, [&](const Stream&, const Resource&) { EXPECT_EQ(other.store.streamInfo(0).endTime, 5); });
  // A visit of another store inside leaves the first one locked.
  store.visitStream(0, [&](const Stream&, const Resource&) {
    other.store.visitStream(
        0, [&](const Stream&, const Resource&) { EXPECT_THROW(store.streamInfo(0), std::logic_error); });
    EXPECT_THROW(store.streamInfo(0), std::logic_error);
  });
  EXPECT_EQ(store.streamInfo(0).endTime, 5);
}

TEST(DataStoreTest, QueriesOfTheOtherMode) {
  const TempFile file("modes.vrel", recording({{1, {1, 5}}, {2, {1, 5}}}));
  StoreReading reading(file.path());
  std::vector<Lib::Sample> samples;
  EXPECT_EQ(reading.store.readSamples(reading.query, 1, samples), StoreStatus::NotFound);
  for (const std::uint32_t id : reading.ids) {
    SignalQuery query;
    EXPECT_EQ(reading.store.subscribe(kRetainMode, id, "Count"), StoreStatus::Success);
    EXPECT_EQ(reading.store.addToQuery(query, kRetainMode, id, "Count"), StoreStatus::Success);
    EXPECT_THROW(reading.store.readSamples(query, 1, samples), std::out_of_range);
  }
}

}  // namespace
}  // namespace Kvex::Sto
