// Opening files, what is in them, and finding signals.

#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <map>
#include <sstream>

#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex {
namespace {

using Support::dataPath;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::TempFile;

/// The code with which an operation fails; none where it does not.
template <class Operation>
std::optional<ErrorCode> codeOf(Operation&& operation) {
  try {
    operation();
  } catch (const Error& error) {
    return error.code();
  }
  return std::nullopt;
}

TEST(FileTest, FailsToOpenWithACodeAndTheFile) {
  const TempFile empty("open-empty.vrel");
  const TempFile foreign("open-foreign.vrel", std::string(5000, 'x'));
  const TempFile unknown("open.dat", "x");
  const struct {
    std::string path;
    ErrorCode code;
  } cases[] = {{"no-such-file.vrel", ErrorCode::NotFound},
               {std::filesystem::temp_directory_path().string(), ErrorCode::Unreadable},
               {unknown.path(), ErrorCode::UnknownKind},
               {empty.path(), ErrorCode::Empty},
               {foreign.path(), ErrorCode::Empty}};
  for (const auto& expected : cases) {
    try {
      const File file(expected.path);
      ADD_FAILURE() << expected.path;
    } catch (const Error& error) {
      EXPECT_EQ(nameOf(error.code()), nameOf(expected.code)) << expected.path;
      EXPECT_EQ(error.file(), expected.path);
      EXPECT_NE(error.reason(), "");
    }
  }
}

TEST(FileTest, FirstAndLastValuesAreOfEachType) {
  constexpr Nano kTime = 1'417'651'425'000'000'000;
  const struct {
    ValueType type;
    const char* base;
    std::uint32_t bits;
    const char* mapped;
  } kinds[] = {
      {ValueType::Bool, "B", 1, "B"},     {ValueType::Float, "U", 8, "R32"},  {ValueType::Double, "U", 8, "R64"},
      {ValueType::UInt8, "U", 8, "U8"},   {ValueType::UInt16, "U", 8, "U16"}, {ValueType::UInt32, "U", 8, "U32"},
      {ValueType::UInt64, "U", 8, "U64"}, {ValueType::Int8, "S", 8, "S8"},    {ValueType::Int16, "S", 8, "S16"},
      {ValueType::Int32, "S", 8, "S32"},  {ValueType::Int64, "S", 64, "S64"}};
  Synth::ZintDefinition definition = Testing::countDefinition();
  for (std::uint64_t id = 10; const auto& kind : kinds) {
    definition.signals.push_back({.id = id,
                                  .name = kind.mapped,
                                  .bitOffset = 96,
                                  .bitSize = kind.bits,
                                  .base = kind.base,
                                  .mapped = kind.mapped});
    definition.messages.front().signals.push_back(id++);
  }
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  auto& stream = writer.addStream(
      {.serial = 1, .primary = Com::primaryText("[Kvex-Zint]", 1), .headers = {definition.headerPacket()}});
  stream.writeHeader();
  for (const std::uint8_t value : {3, 1}) {
    std::vector<std::uint8_t> packet = Testing::countPacket(kTime + value, 0, 8);
    packet[2 + 12] = value;
    stream.add(packet);
  }
  writer.end();
  const TempFile path("types.vrel", out.str());
  const File file(path.path());
  for (const auto& kind : kinds) {
    const Signal signal = file.signal(kind.mapped);
    const bool isBool = kind.type == ValueType::Bool;
    ASSERT_TRUE(signal.first() && signal.last()) << kind.mapped;
    EXPECT_EQ(signal.first()->type(), kind.type) << kind.mapped;
    EXPECT_EQ(signal.last()->type(), kind.type) << kind.mapped;
    EXPECT_EQ(signal.last()->text(), isBool ? "true" : "1") << kind.mapped;
  }
}

TEST(FileTest, StopsAndReportsItsOpening) {
  const std::string path = dataPath("range_recording_11.vrel");
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(codeOf([&] { File(path, {.stop = stop.get_token()}); }), ErrorCode::Cancelled);
  std::map<Activity, double> fractions;
  const File file(path, {.progress = [&](const Progress& progress) {
                    EXPECT_GE(progress.fraction, fractions[progress.activity]);
                    fractions[progress.activity] = progress.fraction;
                  }});
  EXPECT_EQ(fractions[Activity::SecondPass], 1.0);
  EXPECT_THROW(File(path, {.progress = [](const Progress&) { throw std::runtime_error("enough"); }}),
               std::runtime_error);
}

TEST(TimeTest, ALeapSecondReadsAsTheSecondAfterIt) {
  const Nano before = *nanoFromUtc("2016-12-31T23:59:59.25Z");
  const std::int64_t midnight = 1'483'228'800;
  const std::pair<Nano, std::int64_t> cases[] = {{0, -750'000'000},
                                                 {kNanosPerSecond, 250'000'000},
                                                 {2 * kNanosPerSecond, 250'000'000},
                                                 {3 * kNanosPerSecond, 1'250'000'000}};
  for (const auto& [later, expected] : cases) {
    EXPECT_EQ(unixNanos(before + later), midnight * kNanosPerSecond + expected);
  }
  EXPECT_EQ(utcText(before + kNanosPerSecond), "2016-12-31T23:59:60.250000000Z");
}

TEST(FileTest, JudgesAFile) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 1,
                                                 .primary = Com::primaryText("[Kvex-Zint]", 1),
                                                 .headers = {Testing::countDefinition().headerPacket()},
                                                 .packetsPerPage = 1});
  stream.writeHeader();
  for (std::uint32_t i = 1; i <= 20; ++i) stream.add(Testing::countPacket(i, i));
  const std::string unclosed = out.str();
  writer.end();
  const std::string whole = out.str();
  const std::size_t lastPage = unclosed.rfind("OggS");
  const TempFile closed("judge-closed.vrel", whole);
  const TempFile open("judge-open.vrel", unclosed);
  const TempFile cut("judge-cut.vrel", unclosed.substr(0, unclosed.size() - 3));
  const TempFile junk("judge-junk.vrel", whole.substr(0, lastPage) + std::string(50, '#') + whole.substr(lastPage));
  const std::size_t fourthPage = whole.find("OggS", 1 + whole.find("OggS", 1 + whole.find("OggS", 1)));
  const std::size_t fifthPage = whole.find("OggS", fourthPage + 1);
  const TempFile gap("judge-gap.vrel", whole.substr(0, fourthPage) + whole.substr(fifthPage));
  const struct {
    std::string path;
    Judgement judgement;
    DamageKind kind;
  } cases[] = {{closed.path(), Judgement::Whole, {}},
               {open.path(), Judgement::OpenEnded, DamageKind::EndMissing},
               {cut.path(), Judgement::OpenEnded, DamageKind::CutOff},
               {gap.path(), Judgement::Damaged, DamageKind::PagesMissing},
               {junk.path(), Judgement::Damaged, DamageKind::JunkBytes}};
  for (const auto& expected : cases) {
    const File file(expected.path);
    EXPECT_EQ(file.judgement(), expected.judgement) << expected.path;
    const auto& places = file.damage().places();
    if (expected.judgement == Judgement::Whole) {
      EXPECT_THAT(places, IsEmpty());
    } else {
      EXPECT_TRUE(std::ranges::any_of(places, [&](const Place& place) { return place.kind == expected.kind; }));
    }
  }
}

TEST(FileTest, FindsOneSignalByName) {
  const File file(dataPath("range_recording_11.vrel"));
  EXPECT_EQ(file.signal("2:Lat").stream(), 2U);
  EXPECT_EQ(file.signal("Target1_RangeLon").qualifiedName(), "0:Target1_RangeLon");
  const Signal element = file.signal("Hunter_PolygonPointsLat[3]");
  EXPECT_EQ(element.element(), 3U);
  EXPECT_EQ(element.count(), 1U);
  const struct {
    const char* text;
    ErrorCode code;
    std::vector<std::string> candidates;
  } cases[] = {{"Lat", ErrorCode::Ambiguous, {"1:Lat", "2:Lat", "3:Lat"}},
               {"9:Lat", ErrorCode::NoSuchStream, {}},
               {"Hunter_PolygonPointsLat[24]", ErrorCode::NoSuchSignal, {}},
               {"Target1_RangeLom", ErrorCode::NoSuchSignal, {"Target1_RangeLon"}}};
  for (const auto& expected : cases) {
    try {
      file.signal(expected.text);
      ADD_FAILURE() << expected.text;
    } catch (const Error& error) {
      EXPECT_EQ(nameOf(error.code()), nameOf(expected.code)) << expected.text;
      for (const std::string& name : expected.candidates) EXPECT_THAT(error.candidates(), testing::Contains(name));
    }
  }
}

TEST(FileTest, FindsSignalsByPatternAndByWords) {
  const File file(dataPath("range_recording_11.vrel"));
  const auto names = [](const std::vector<Signal>& signals) {
    std::vector<std::string> result;
    for (const Signal& signal : signals) result.push_back(signal.qualifiedName());
    return result;
  };
  EXPECT_THAT(names(file.match("[12]:Speed?d")), IsEmpty()) << "a stream is no pattern";
  EXPECT_THAT(names(file.match("2:Speed?d")), ElementsAre("2:Speed2d", "2:Speed3d"));
  EXPECT_THAT(names(file.match("Target[12]_RangeLon")), ElementsAre("0:Target1_RangeLon", "0:Target2_RangeLon"));
  EXPECT_THAT(names(file.match("speed2d")), IsEmpty());
  EXPECT_THAT(names(file.search("SPEED2D hold")), testing::Contains("1:Speed2dHold"));
  EXPECT_THAT(names(file.search("nothing of this kind")), IsEmpty());
}

TEST(FileTest, SeveralFilesAreReadInParallel) {
  const auto rows = [](const std::string& name) {
    File file(dataPath(name));
    std::size_t count = 0;
    for (const Batch& batch : file.nativeTables(file.streams().front().signals())) count += batch.rows();
    return count;
  };
  for (const char* name : {"quon_mode_mix_11.quon", "zint_plain_11.vrel"}) {
    auto other = std::async(std::launch::async, rows, name);
    const std::size_t own = rows(name);
    EXPECT_EQ(other.get(), own);
  }
}

TEST(FileTest, LaterReadingTakesThePlaceOfAnEarlierOne) {
  File file(dataPath("zint_plain_11.vrel"));
  Reader first = file.native(file.signals().front(), {.batchRows = 1});
  ASSERT_TRUE(first.next());
  file.statistics(file.signals().front());
  EXPECT_EQ(codeOf([&] { first.next(); }), ErrorCode::Superseded);
  std::stop_source stop;
  Reader second = file.grid(file.signals().front(), 1'000'000, {.batchRows = 1, .stop = stop.get_token()});
  ASSERT_TRUE(second.next());
  stop.request_stop();
  EXPECT_EQ(codeOf([&] {
              while (second.next()) {
              }
            }),
            ErrorCode::Cancelled);
  EXPECT_TRUE(file.grid(file.signals().front(), 1'000'000).next()) << "a stop ends one reading only";
}

}  // namespace
}  // namespace Kvex
