#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

#include "recording/OggPage.h"
#include "recording/VrelStreamDec.h"
#include "support/Pages.h"

namespace Kvex::Com {
namespace {

using Com::PageFlag;
using Com::PageForm;
using testing::ElementsAre;
using Texts = std::vector<std::string>;

constexpr std::uint32_t kSerial = 0x80000001;

PageForm page(std::uint32_t number, Texts packets, std::uint8_t flags = 0) {
  return {.flags = flags, .serial = kSerial, .number = number, .packets = std::move(packets)};
}
PageForm primary(std::uint32_t number, const std::string& headers) {
  return page(number, {"[Kvex-Zint]headers=" + headers}, PageFlag::kBos);
}
/// A page whose last packet goes on in the next one.
PageForm open(PageForm form) {
  form.lastGoesOn = true;
  return form;
}

/// A stream that has been given pages, and the data packets taken after each of them.
struct Reading {
  explicit Reading(const std::vector<PageForm>& pages, const VrelLimits& limits = {}) : stream(kSerial, limits) {
    stream.expectPrimary();
    add(pages);
  }

  bool add(const PageForm& form) {
    std::string bytes = Com::makePage(form);
    const bool accepted = stream.addPage(Com::pageView(Com::bytesOf(bytes)));
    if (stream.headerSettled()) {
      for (std::string packet; !(packet = Testing::takeData(stream)).empty();) data.push_back(packet);
    }
    return accepted;
  }
  void add(const std::vector<PageForm>& pages) {
    for (const PageForm& form : pages) add(form);
  }

  Texts headers() const {
    Texts tags;
    for (const TaggedPacket& packet : stream.header().headers) tags.push_back(packet.tag + packet.data);
    return tags;
  }

  VrelStreamDec stream;
  Texts data;
};

TEST(VrelStreamDecTest, ReadsHeadersAndLeavesData) {
  const std::string big(255, 'h');
  const struct {
    const char* name;
    std::vector<PageForm> pages;
    VrelState state;
    Texts headers;
    Texts data = {};
  } cases[] = {
      {"no key", {page(0, {"[Kvex-Zint]"}, PageFlag::kBos)}, VrelState::HeaderComplete, {}},
      {"no number", {primary(0, "x")}, VrelState::HeaderComplete, {}},
      {"no tag", {page(0, {"headers=2"}, PageFlag::kBos), page(1, {"d"})}, VrelState::ReadData, {}, {"d"}},
      {"one packet of the first page",
       {page(0, {"[T]", "x"}, PageFlag::kBos), page(1, {"d"})},
       VrelState::ReadData,
       {},
       {"d"}},
      {"one to come", {primary(0, "2"), page(1, {"<a>"})}, VrelState::ReadHeaders, {"<a>"}},
      {"two pages", {primary(0, "2"), page(1, {"<a>"}), page(2, {"<b>1"})}, VrelState::HeaderComplete, {"<a>", "<b>1"}},
      {"no tags", {primary(0, "2"), page(1, {"a", ""})}, VrelState::HeaderComplete, {"a", ""}},
      {"too many on the page",
       {primary(0, "2"), page(1, {"<a>", "<b>", "<c>"}), page(2, {"d"})},
       VrelState::ReadData,
       {"<a>", "<b>"},
       {"d"}},
      {"too many by a page",
       {primary(0, "2"), page(1, {"<a>", "<b>"}), page(2, {"<c>"})},
       VrelState::ReadData,
       {"<a>", "<b>"},
       {"<c>"}},
      {"across pages",
       {primary(0, "1"), open(page(1, {big})), page(2, {"x"}, PageFlag::kContinued)},
       VrelState::HeaderComplete,
       {big + "x"}},
      {"data across pages",
       {primary(0, "0"), open(page(1, {"d", big})), page(2, {"x", "e"}, PageFlag::kContinued)},
       VrelState::ReadData,
       {},
       {"d", big + "x", "e"}},
      {"repeat block",
       {primary(0, "1"), page(1, {"<a>"}), page(2, {"d"}), primary(3, "2"), page(4, {"<x>"}), page(5, {"<y>", "<z>"}),
        page(6, {"e"})},
       VrelState::ReadData,
       {"<a>"},
       {"d", "e"}},
      {"repeat block without headers",
       {primary(0, "0"), page(1, {"d"}), primary(2, "0")},
       VrelState::RepeatComplete,
       {},
       {"d"}},
      {"repeat block not complete", {primary(0, "0"), primary(1, "1")}, VrelState::ReadRepeat, {}},
      {"last page", {primary(0, "0"), page(1, {"d"}, PageFlag::kEos), page(2, {"e"})}, VrelState::ReadData, {}, {"e"}},
      {"both first and last", {page(0, {"[T]"}, PageFlag::kBos | PageFlag::kEos)}, VrelState::HeaderComplete, {}},
      {"gap behind the first page", {primary(0, "1"), page(2, {"<b>"})}, VrelState::HeaderComplete, {"<b>"}},
      {"hole in the header",
       {primary(0, "2"), page(1, {"<a>"}), page(3, {"<b>"}), page(4, {"<c>"})},
       VrelState::HeaderComplete,
       {"<a>", "<b>"}},
      {"hole in a data packet",
       {primary(0, "0"), open(page(1, {"d", big})), page(3, {"x", "e"}, PageFlag::kContinued)},
       VrelState::ReadData,
       {},
       {"d", "e"}},
      {"old and repeated pages",
       {primary(0, "0"), page(2, {"d"}), page(1, {"o"}), page(2, {"r"}), page(3, {"e"})},
       VrelState::ReadData,
       {},
       {"d", "e"}},
      // Broken structures
      {"no first page", {page(0, {"d"})}, VrelState::Failed, {}},
      {"first page within the header",
       {primary(0, "2"), page(1, {"<a>"}), primary(2, "2")},
       VrelState::Failed,
       {"<a>"}},
      {"first page within a repeat block", {primary(0, "0"), primary(1, "1"), primary(2, "1")}, VrelState::Failed, {}},
      {"first page without a packet", {page(0, {}, PageFlag::kBos)}, VrelState::Failed, {}},
      {"first packet not whole", {open(page(0, {big}, PageFlag::kBos))}, VrelState::Failed, {}},
      {"failed stays failed", {page(0, {"d"}), primary(1, "0"), page(2, {"d"})}, VrelState::Failed, {}},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.name);
    const Reading reading(expected.pages);
    EXPECT_EQ(reading.stream.state(), expected.state);
    EXPECT_EQ(reading.headers(), expected.headers);
    EXPECT_EQ(reading.data, expected.data);
  }
}

TEST(VrelStreamDecTest, ChecksTheOrderOfPages) {
  const struct {
    std::vector<std::uint32_t> numbers;
    PageClass last;
    std::int64_t lastPage;
    std::uint64_t accepted;
    std::uint64_t lost;
  } cases[] = {
      {{7}, PageClass::First, 7, 1, 0},
      {{0, 1, 2, 2}, PageClass::Repeated, 2, 3, 0},
      {{0, 1, 2, 2, 3}, PageClass::InSequence, 3, 4, 0},
      {{0, 1, 5}, PageClass::AfterGap, 5, 3, 3},
      {{5, 3}, PageClass::Old, 5, 1, 0},
      {{5, 3, 6}, PageClass::InSequence, 6, 2, 0},
      {{0x7FFFFFFF, 0x80000000}, PageClass::Old, INT32_MAX, 1, 0},
      {{0x80000000, 0x7FFFFFFF}, PageClass::AfterGap, INT32_MAX, 2, UINT32_MAX - 1},
      {{0xFFFFFFFF, 0}, PageClass::InSequence, 0, 2, 0},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(testing::PrintToString(expected.numbers));
    Reading reading({});
    bool accepted = false;
    for (const std::uint32_t number : expected.numbers) {
      accepted = reading.add(page(number, {"[T]"}, PageFlag::kBos));
    }
    const PageCounters& counters = reading.stream.pageCounters();
    EXPECT_EQ(reading.stream.pageClass(), expected.last);
    EXPECT_EQ(reading.stream.lastPage(), expected.lastPage);
    EXPECT_EQ(accepted, expected.last != PageClass::Old && expected.last != PageClass::Repeated);
    EXPECT_EQ(counters.pages, expected.numbers.size());
    EXPECT_EQ(counters.pagesAccepted, expected.accepted);
    EXPECT_EQ(counters.pagesRejected, expected.numbers.size() - expected.accepted);
    EXPECT_EQ(counters.pagesLost, expected.lost);
    EXPECT_EQ(std::accumulate(counters.classCounts.begin(), counters.classCounts.end(), std::uint64_t{0}),
              counters.pages);
  }
}

TEST(VrelStreamDecTest, CountsAndRewinds) {
  const std::vector<PageForm> pages = {
      primary(0, "2"),
      page(1, {"<a>", "<b>", "<c>"}),
      page(2, {"d", "e"}, PageFlag::kMarked),
      page(4, {"f"}),
      page(4, {"f"}, PageFlag::kMarked),
      primary(5, "1"),
      page(7, {"<x>"}),
      page(8, {"<y>"}),
      page(9, {"g"}),
      page(10, {}, PageFlag::kEos | PageFlag::kMarked),
  };
  Reading reading(pages);
  // The header packet that waits behind a hole is left to be taken as data.
  PacketCounters expected = {.primaryPackets = 1,
                             .repeatPrimaries = 1,
                             .headerPackets = 3,
                             .repeatHeaderPackets = 1,
                             .dataPackets = 5,
                             .repeatHeaderHoles = 1,
                             .dataHoles = 1};
  EXPECT_EQ(reading.stream.packetCounters(), expected);
  EXPECT_THAT(reading.data, ElementsAre("d", "e", "f", "<x>", "g"));
  const PageCounters counted = {.pages = 10,
                                .pagesAccepted = 9,
                                .pagesRejected = 1,
                                .pagesLost = 2,
                                .bosPages = 2,
                                .middlePages = 6,
                                .eosPages = 1,
                                .flaggedPages = 2,
                                .classCounts = {0, 1, 0, 1, 6, 2, 0}};
  EXPECT_EQ(reading.stream.pageCounters(), counted);

  reading.stream.rewind();
  EXPECT_EQ(reading.stream.state(), VrelState::HeaderComplete);
  EXPECT_EQ(reading.stream.previousState(), VrelState::ReadData);
  EXPECT_EQ(reading.stream.pageCounters(), PageCounters{});
  EXPECT_EQ(reading.stream.packetCounters(), (PacketCounters{.primaryPackets = 1, .headerPackets = 3}));

  // The second time the header is a repeat block, and the list stays.
  reading.data.clear();
  reading.add(pages);
  EXPECT_THAT(reading.data, ElementsAre("d", "e", "f", "<x>", "g"));
  EXPECT_THAT(reading.headers(), ElementsAre("<a>", "<b>"));
  EXPECT_EQ(reading.stream.pageCounters(), counted);
  expected.repeatPrimaries = 2;
  expected.repeatHeaderPackets = 4;
  EXPECT_EQ(reading.stream.packetCounters(), expected);
}

TEST(VrelStreamDecTest, FailureLastsUntilARewind) {
  Reading reading({primary(0, "0")});
  PageForm foreign = page(1, {"d"});
  foreign.serial = kSerial + 1;
  reading.add(foreign);
  EXPECT_EQ(reading.stream.state(), VrelState::Failed);
  reading.add(page(2, {"d"}));
  EXPECT_EQ(reading.stream.previousState(), VrelState::Failed);
  EXPECT_THAT(reading.data, ElementsAre());
  reading.stream.rewind();
  reading.add(page(3, {"e"}));
  EXPECT_THAT(reading.data, ElementsAre("e"));
}

constexpr VrelLimits kSmall = {.heldBytes = 1 << 20, .headerBytes = 1 << 20};

/// Adds pages that carry a packet on, to twice the limit; gives the most bytes held after a page.
std::size_t addEndlessPacket(VrelStreamDec& stream, std::uint32_t& number) {
  const std::string part(255 * 255, 'x');
  std::size_t most = 0;
  for (std::size_t total = 0; total < 2 * kSmall.heldBytes; total += part.size()) {
    std::string bytes = Com::makePage(open(page(number++, {part}, total == 0 ? 0 : PageFlag::kContinued)));
    stream.addPage(Com::pageView(Com::bytesOf(bytes)));
    most = std::max(most, stream.heldBytes());
  }
  return most;
}

TEST(VrelStreamDecTest, DropsEndlessPackets) {
  Reading reading({primary(0, "0"), page(1, {"d"})}, kSmall);
  std::uint32_t number = 2;
  const std::size_t most = addEndlessPacket(reading.stream, number);
  EXPECT_LE(most, kSmall.heldBytes);
  EXPECT_GE(most, kSmall.heldBytes / 10 * 9);
  EXPECT_EQ(reading.stream.heldBytes(), 0U);
  reading.add(page(number, {"tail", "e"}, PageFlag::kContinued));
  EXPECT_THAT(reading.data, ElementsAre("d", "e"));
  EXPECT_EQ(reading.stream.packetCounters().dataHoles, 1U);
}

TEST(VrelStreamDecTest, FailsWithEndlessHeaders) {
  std::uint32_t number = 1;
  for (const char* headers : {"0", "1"}) {  // in the header itself and in a repeat block
    Reading reading({primary(0, headers)}, kSmall);
    if (*headers == '0') reading.add(primary(number++, "1"));
    addEndlessPacket(reading.stream, number);
    EXPECT_EQ(reading.stream.state(), VrelState::Failed);
  }

  Reading reading({primary(0, "4294967295")}, kSmall);
  number = 1;
  while (reading.stream.state() == VrelState::ReadHeaders) reading.add(page(number++, Texts(255)));
  EXPECT_EQ(reading.stream.state(), VrelState::Failed);
  EXPECT_LE(reading.headers().size() * sizeof(TaggedPacket), kSmall.headerBytes);
}

}  // namespace
}  // namespace Kvex::Com
