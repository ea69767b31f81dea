// What is lost in a harmed file, between which times, and how that is put.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <set>
#include <sstream>

#include "front/DamageTexts.h"
#include "support/Pages.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex {
namespace {

using testing::HasSubstr;
using Testing::TempFile;

/// 2023-11-14 22:13:02 UTC.
constexpr Nano kStart = 1'384'035'200'000'000'000;

/// Two streams of a page for each second from the start, 1 from second 0 to 20, 2 from second 0 to 10. Page 0 holds the
/// primary packet and page 1 the header.
std::string makeRecording() {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  std::vector<Com::LogicalWriter*> streams;
  for (const std::uint32_t serial : {1U, 2U}) {
    streams.push_back(&writer.addStream({.serial = serial,
                                         .primary = Com::primaryText("[Kvex-Zint]", 1),
                                         .headers = {Testing::countDefinition().headerPacket()},
                                         .packetsPerPage = 1}));
  }
  for (Com::LogicalWriter* stream : streams) stream->writeHeader();
  for (std::uint32_t second = 0; second <= 20; ++second) {
    const auto packet = Testing::countPacket(kStart + second * kNanosPerSecond, second);
    for (Com::LogicalWriter* stream : streams) {
      if (stream == streams.front() || second <= 10) stream->add(packet);
    }
  }
  writer.end();
  return out.str();
}

/// The recording without the pages of these numbers of a stream.
std::string without(const std::string& recording, int serial, const std::set<long>& numbers) {
  std::string kept;
  Testing::forEachPage(recording, [&](ogg_page& page) {
    if (ogg_page_serialno(&page) == serial && numbers.contains(ogg_page_pageno(&page))) return;
    kept.append(reinterpret_cast<const char*>(page.header), static_cast<std::size_t>(page.header_len));
    kept.append(reinterpret_cast<const char*>(page.body), static_cast<std::size_t>(page.body_len));
  });
  return kept;
}

TEST(DamageTest, FindsTheTimesBetweenWhichDataIsLost) {
  const std::string whole = makeRecording();
  const struct {
    const char* what;
    int serial;
    std::set<long> pages;
    DamageKind kind;
    double from;  ///< Seconds from the first record.
    double to;
    double lostOf0;  ///< Seconds.
    double lostOf1;
  } cases[] = {
      {"in the middle", 1, {7, 8, 9}, DamageKind::PagesMissing, 4, 8, 4, 0},
      {"at two places", 1, {7, 12}, DamageKind::PagesMissing, 4, 6, 4, 0},
      {"the first data, from the start of the file", 2, {2, 3}, DamageKind::PagesMissing, 0.1, 2, 0, 1.9},
      {"the last data, its end page left", 1, {21, 22}, DamageKind::PagesMissing, 18, 18, 0, 0},
      {"the last data of a stream that ends early", 2, {10, 11, 12}, DamageKind::PagesMissing, 7, 20, 0, 13},
      {"the header", 2, {1}, DamageKind::HeaderIncomplete, 0, 20, 0, 20},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    const TempFile harmed("damage-times.vrel", without(whole, expected.serial, expected.pages));
    const File file(harmed.path());
    EXPECT_EQ(file.judgement(), Judgement::Damaged);
    ASSERT_FALSE(file.damage().places().empty());
    const Place& place = file.damage().places().front();
    EXPECT_EQ(nameOf(place.kind), nameOf(expected.kind));
    EXPECT_EQ(place.stream, static_cast<std::uint32_t>(expected.serial - 1));
    const auto seconds = [](Nano time) { return static_cast<double>(time - kStart) * 1e-9; };
    EXPECT_DOUBLE_EQ(seconds(place.from), expected.from);
    if (expected.to > expected.from) {
      EXPECT_DOUBLE_EQ(seconds(place.to), expected.to);
    } else {
      EXPECT_EQ(place.to, kNoTime);
    }
    EXPECT_DOUBLE_EQ(static_cast<double>(file.damage().timeLost(0)) * 1e-9, expected.lostOf0);
    EXPECT_DOUBLE_EQ(static_cast<double>(file.damage().timeLost(1)) * 1e-9, expected.lostOf1);
  }
}

TEST(DamageTest, MissesAStreamWhoseFirstPageIsLost) {
  const TempFile harmed("damage-first.vrel", without(makeRecording(), 2, {0}));
  const File file(harmed.path());
  EXPECT_EQ(file.streams().size(), 1U);
  EXPECT_EQ(file.judgement(), Judgement::Damaged);
  ASSERT_EQ(file.damage().places().size(), 1U);
  EXPECT_EQ(nameOf(file.damage().places()[0].kind), "pagesUnclaimed");
  EXPECT_EQ(file.damage().places()[0].count, 13U) << "its header, eleven records and the end";
}

TEST(DamageTest, LeavesStreamsOfAnotherKindAlone) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& own = writer.addStream({.serial = 1,
                                              .primary = Com::primaryText("[Kvex-Zint]", 1),
                                              .headers = {Testing::countDefinition().headerPacket()}});
  Com::LogicalWriter& other = writer.addStream({.serial = 9, .primary = "OpusHead", .headers = {"tags"}});
  own.writeHeader();
  other.writeHeader();
  own.add(Testing::countPacket(kStart, 1));
  other.add(Testing::countPacket(kStart, 1));
  writer.end();
  const TempFile path("damage-other.vrel", out.str());
  EXPECT_EQ(File(path.path()).judgement(), Judgement::Whole);
}

TEST(DamageTextsTest, SaysWhatIsLostAndWhen) {
  // 2024-05-10 09:00:00 UTC, leap seconds counted.
  const Nano start = *nanoFromUtc("2024-05-10T09:00:00Z");
  const auto at = [&](double seconds) { return start + static_cast<Nano>(seconds * 1e9); };
  const Span file{start, at(60)};
  const struct {
    Place place;
    const char* text;
  } cases[] = {
      {{.kind = DamageKind::PagesMissing, .stream = 1, .from = at(7.0), .to = at(10.1), .count = 18},
       "stream 1: 18 pages missing, 3.1 s of data lost between 7.0 s and 10.1 s (09:00:07.0 to 09:00:10.1 UTC)"},
      {{.kind = DamageKind::PagesMissing, .stream = 0, .from = at(7.96), .to = at(8.96), .count = 1},
       "stream 0: 1 page missing, 1.0 s of data lost between 8.0 s and 9.0 s (09:00:08.0 to 09:00:09.0 UTC)"},
      {{.kind = DamageKind::JunkBytes, .from = at(-0.01), .to = at(0.0104), .count = 1},
       "1 byte belongs to no good packet, 0.020 s of data lost between -0.010 s and 0.010 s (08:59:59.990 to "
       "09:00:00.010 UTC)"},
      {{.kind = DamageKind::JunkBytes, .from = at(12.34), .count = 5}, "5 bytes belong to no good packet, near 12.3 s"},
      {{.kind = DamageKind::JunkBytes, .from = at(60), .count = 5}, "5 bytes belong to no good packet, near the end"},
      {{.kind = DamageKind::JunkBytes, .count = 5}, "5 bytes belong to no good packet"},
      {{.kind = DamageKind::PagesLate, .stream = 3, .from = start, .count = 2},
       "stream 3: 2 pages came too late and were dropped, near the start"},
      {{.kind = DamageKind::CutOff, .from = at(60), .count = 1},
       "the file ends within a packet, of which 1 byte is there"},
      {{.kind = DamageKind::EndMissing, .stream = 2, .from = at(60)},
       "stream 2: no end page: the recording was not closed, or its end is missing"},
  };
  for (const auto& [place, text] : cases) EXPECT_EQ(Front::DamageTexts(file, "packet").text(place), text);

  const Place overMidnight{.kind = DamageKind::PagesMissing, .stream = 0, .from = at(1), .to = at(3), .count = 2};
  EXPECT_THAT(Front::DamageTexts({start, at(86'400)}, "page").text(overMidnight),
              HasSubstr("(2024-05-10T09:00:01.0 to 2024-05-10T09:00:03.0 UTC)"));
  EXPECT_EQ(Front::DamageTexts({}, "page").text(overMidnight), "stream 0: 2 pages missing");
}

}  // namespace
}  // namespace Kvex
