#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <sstream>
#include <vector>

#include "recording/OggPage.h"
#include "support/Pages.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Synth {
namespace {

using Com::PageFlag;
using Com::repairChecksums;
using testing::ElementsAre;
using testing::Lt;

constexpr std::uint32_t kSmall = 5;
constexpr std::uint32_t kLarge = 6;

/// A recording of two streams, one of small packets and one of packets that lie across pages.
struct TwoStreams {
  explicit TwoStreams(const DamagePlan& damage = {}) {
    RecordingWriter writer(bytes);
    LogicalWriter& foreign = writer.addStream({.serial = 9, .primary = "\x01other"});
    LogicalWriter& small = writer.addStream(
        {.serial = kSmall, .primary = primaryText("[Small]", 2), .headers = {"<a>", "<b>"}, .packetsPerPage = 10});
    LogicalWriter& large =
        writer.addStream({.serial = kLarge, .primary = primaryText("[Large]", 0), .bytesPerPage = SIZE_MAX});
    foreign.writeHeader();
    small.writeHeader();
    large.writeHeader();
    writer.setDamage(damage);
    for (int i = 0; i < 1000; ++i) {
      smallPackets.push_back("small " + std::to_string(i));
      largePackets.push_back(std::string(1000, 'L') + std::to_string(i));
      small.add(bytesOf(smallPackets.back()));
      large.add(bytesOf(largePackets.back()));
      foreign.add(bytesOf(smallPackets.back()));
      if (i % 300 == 299) small.writeHeader();
      if (i % 300 == 150) writer.writeJunk("OggS and no page");
    }
    writer.end();
  }

  std::ostringstream bytes;
  std::vector<std::string> smallPackets;
  std::vector<std::string> largePackets;
};

struct StreamReading {
  explicit StreamReading(const TwoStreams& recording, std::uint32_t serial) : stream(serial) {
    stream.expectPrimary();
    Testing::forEachPage(recording.bytes.str(), [&](const ogg_page& page) {
      if (static_cast<std::uint32_t>(ogg_page_serialno(&page)) != serial) return;
      stream.addPage(page);
      for (std::string packet; !(packet = Testing::takeData(stream)).empty();) data.push_back(packet);
    });
  }

  Com::VrelStreamDec stream;
  std::vector<std::string> data;
};

TEST(RecordingWriterTest, RecordsComeBack) {
  const TwoStreams recording;
  const StreamReading small(recording, kSmall);
  const StreamReading large(recording, kLarge);
  EXPECT_EQ(small.data, recording.smallPackets);
  EXPECT_EQ(large.data, recording.largePackets);
  EXPECT_EQ(small.stream.packetCounters().repeatPrimaries, 3U);
  EXPECT_EQ(small.stream.pageCounters().eosPages, 1U);
  EXPECT_EQ(small.stream.pageCounters().pagesLost, 0U);
  EXPECT_THAT(large.stream.pageCounters().pages, Lt(1000U));
}

TEST(RecordingWriterTest, DamageIsDone) {
  const struct {
    const char* name;
    DamagePlan plan;
    bool losesPages;
    bool rejectsPages;
  } cases[] = {
      {"drop", {.drop = 0.1}, true, false},
      {"repeat", {.repeat = 0.1}, false, true},
      {"delay", {.delay = 0.1}, true, true},
      {"flip", {.flip = 0.1}, true, false},
      {"repaired", {.flip = 0.1, .repairChecksums = true}, true, true},
      {"junk", {.junk = 0.1}, false, false},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.name);
    const StreamReading reading(TwoStreams(expected.plan), kSmall);
    const Com::PageCounters& counters = reading.stream.pageCounters();
    EXPECT_EQ(counters.pagesLost > 0, expected.losesPages);
    EXPECT_EQ(counters.pagesRejected > 0, expected.rejectsPages);
    EXPECT_EQ(counters.pages, counters.pagesAccepted + counters.pagesRejected);
    EXPECT_EQ(counters.pagesAccepted, counters.bosPages + counters.middlePages + counters.eosPages);
    EXPECT_EQ(TwoStreams(expected.plan).bytes.str(), TwoStreams(expected.plan).bytes.str());
  }
  EXPECT_EQ(TwoStreams({.truncateAt = 12345}).bytes.str().size(), 12345U);
}

TEST(RecordingWriterTest, PagesAsAskedFor) {
  std::ostringstream out;
  RecordingWriter writer(out);
  LogicalWriter& stream = writer.addStream({.serial = 1, .primary = "[T]", .packetsPerPage = 1});
  const std::string packet = "packet";
  stream.skipPages(3);
  stream.writeHeader();
  stream.addLed(bytesOf(packet));
  stream.resendPage();
  stream.setPageNumber(0xFFFFFFFF);
  stream.setExtraFlags(PageFlag::kMarked);
  stream.add(bytesOf(packet));
  stream.end();

  std::vector<std::uint32_t> numbers;
  std::vector<int> flags;
  std::vector<long> sizes;
  Testing::forEachPage(out.str(), [&](const ogg_page& page) {
    numbers.push_back(static_cast<std::uint32_t>(ogg_page_pageno(&page)));
    flags.push_back(page.header[5]);
    sizes.push_back(page.body_len);
  });
  EXPECT_THAT(numbers, ElementsAre(3, 4, 4, 0xFFFFFFFF, 0));
  EXPECT_THAT(flags, ElementsAre(PageFlag::kBos, 0, 0, PageFlag::kMarked, PageFlag::kMarked | PageFlag::kEos));
  EXPECT_THAT(sizes, ElementsAre(3, 14, 14, 6, 0));
}

TEST(RecordingWriterTest, RepairsChecksums) {
  const auto countPages = [](const std::string& bytes) {
    std::size_t pages = 0;
    Testing::forEachPage(bytes, [&](const ogg_page&) { ++pages; });
    return pages;
  };
  std::string bytes = TwoStreams({.junk = 0.2}).bytes.str();
  const std::size_t pages = countPages(bytes);
  for (std::size_t at = 0; (at = bytes.find("OggS", at)) != std::string::npos; ++at) {
    if (at + 22 < bytes.size()) ++bytes[at + 22];
  }
  EXPECT_EQ(countPages(bytes), 0U);
  repairChecksums(bytesOf(bytes));
  EXPECT_EQ(countPages(bytes), pages);
}

}  // namespace
}  // namespace Kvex::Synth
