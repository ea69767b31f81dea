#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording/CopiedStream.h"
#include "recording/OggPage.h"

namespace Kvex::Com {
namespace {

using Strings = std::vector<std::string>;

/// What a foreign stream's pages of these numbers come to; page 0 opens it, and each other one has its number as
/// packet.
struct Copied {
  Strings packets;
  std::uint64_t lost = 0;
  std::uint64_t holes = 0;
};

Copied copyForeign(const std::vector<std::uint32_t>& numbers) {
  CopiedStream stream(1, /*foreign=*/true);
  Copied copied;
  bool reading = false;
  for (const std::uint32_t number : numbers) {
    const bool first = number == 0;
    std::string bytes = makePage({.flags = first ? PageFlag::kBos : std::uint8_t{0},
                                  .serial = 1,
                                  .number = number,
                                  .packets = {first ? "\x01other" : std::to_string(number)}});
    const ogg_page page = pageView(bytesOf(bytes));
    if (!std::exchange(reading, true)) {
      stream.readHeader(page);
      stream.beginData();
    }
    stream.addDataPage(page);
    stream.takeData([&](std::span<const std::uint8_t> packet, std::int64_t /*granule*/) {
      copied.packets.emplace_back(packet.begin(), packet.end());
    });
  }
  EXPECT_TRUE(stream.headerWhole());
  copied.lost = stream.pagesLost();
  copied.holes = stream.holes();
  return copied;
}

TEST(CopiedStreamTest, CountsThePagesThatAForeignStreamLost) {
  const struct {
    const char* fault;
    std::vector<std::uint32_t> numbers;
    Strings packets;
    std::uint64_t lost;
    std::uint64_t holes;
  } cases[] = {
      {"none", {0, 1, 2}, {"1", "2"}, 0, 0},
      {"a page twice", {0, 1, 1, 2}, {"1", "2"}, 0, 0},
      {"a page that comes too late", {0, 2, 1, 3}, {"2", "3"}, 2, 1},
      {"a gap", {0, 1, 5}, {"1", "5"}, 3, 1},
      {"the first page twice", {0, 0, 1}, {"1"}, 0, 0},
  };
  for (const auto& c : cases) {
    const Copied copied = copyForeign(c.numbers);
    EXPECT_EQ(copied.packets, c.packets) << c.fault;
    EXPECT_EQ(copied.lost, c.lost) << c.fault;
    EXPECT_EQ(copied.holes, c.holes) << c.fault;
  }
}

}  // namespace
}  // namespace Kvex::Com
