// Pages are read where they lie, and most packets are handed out of them. Held against libogg, which copies both.

#include <gtest/gtest.h>
#include <random>
#include <sstream>

#include "recording/OggPage.h"
#include "recording/PageChecksum.h"
#include "support/Golden.h"
#include "support/PlainReading.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Com {
namespace {

using Random = std::mt19937;

std::size_t draw(Random& random, std::size_t choices) {
  return random() % choices;
}

/// A recording of three streams with pages and packets of very different sizes, packets over several pages among them.
std::string makeRecording(Random& random) {
  std::ostringstream out;
  Synth::RecordingWriter recording(out);
  std::vector<Synth::LogicalWriter*> streams;
  for (const std::size_t bytesPerPage : {60, 700, 20000}) {
    streams.push_back(&recording.addStream({.serial = static_cast<std::uint32_t>(random()),
                                            .primary = Synth::primaryText("[Kvex-Zint]", 1),
                                            .headers = {"<header>"},
                                            .bytesPerPage = bytesPerPage}));
    streams.back()->writeHeader();
  }
  for (int packets = 0; packets < 300; ++packets) {
    const std::size_t sizes[] = {0, 3, 21, 254, 255, 256, 510, 900, 70'000};
    const std::vector<std::uint8_t> packet(sizes[draw(random, draw(random, 40) == 0 ? 9 : 7)],
                                           static_cast<std::uint8_t>(random()));
    Synth::LogicalWriter& stream = *streams[draw(random, streams.size())];
    stream.add(packet);
    if (draw(random, 60) == 0) stream.writeHeader();
    if (draw(random, 60) == 0) stream.skipPages(2);
    if (draw(random, 60) == 0) stream.resendPage();
  }
  recording.end();
  return out.str();
}

/// Harms a recording in one place.
void harm(std::string& recording, Random& random) {
  const std::size_t place = draw(random, recording.size());
  const std::size_t count = std::min(draw(random, 300), recording.size() - place);
  switch (draw(random, 6)) {
    case 0:
      recording[place] = static_cast<char>(random());
      return;
    case 1:
      recording.erase(place, count);
      return;
    case 2:
      recording.insert(place, std::string(count, 'O') + "OggS");
      return;
    case 3:
      recording.resize(place);
      return;
    default:
      break;
  }
  // In the header of a page, whose checksum then holds all the same.
  const auto pages = Com::findPages(Com::bytesOf(recording));
  if (pages.empty()) return;
  const std::span<std::uint8_t> page = pages[draw(random, pages.size())];
  constexpr std::size_t kPlaces[] = {4, 5, 5, 14, 18, 18};  // version, flags, serial number, page number
  std::uint8_t& byte = page[kPlaces[draw(random, std::size(kPlaces))]];
  byte = static_cast<std::uint8_t>(byte ^ 1U << draw(random, 3));
  Com::repairChecksum(page);
}

std::string firstDifference(const Testing::ReadingLog& a, const Testing::ReadingLog& b) {
  const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (inA == a.end() && inB == b.end()) return "";
  const auto text = [](auto line, auto end) { return line == end ? "the end" : line->substr(0, 60); };
  return "line " + std::to_string(inA - a.begin()) + ": " + text(inA, a.end()) + " / " + text(inB, b.end());
}

TEST(PageReaderTest, ReadsHarmedRecordingsAsLiboggDoes) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    Random random(seed);
    std::string recording = makeRecording(random);
    for (std::size_t places = draw(random, 6); places > 0 && !recording.empty(); --places) harm(recording, random);
    const Testing::TempFile file("harmed.vrel", recording);
    for (const std::size_t blockSize : {4096, 0x10000}) {
      ASSERT_EQ(
          firstDifference(Testing::readPlainly(recording, blockSize), Testing::readInPlace(file.path(), blockSize)), "")
          << "seed " << seed << ", blocks of " << blockSize;
    }
  }
}

TEST(PageReaderTest, KeepsPacketsOfPagesThatGo) {
  PacketAssembler assembler(1);
  std::string first = Com::makePage({.serial = 1, .number = 0, .packets = {"one", "two", "", "three"}});
  std::string second = Com::makePage({.serial = 1, .number = 1, .packets = {"four"}});
  const auto take = [&] {
    Lib::ByteView packet;
    const int result = assembler.takePacket(packet);
    return std::to_string(result) + std::string(reinterpret_cast<const char*>(packet.data()), packet.size());
  };
  ASSERT_TRUE(assembler.addPage(Com::pageView(Com::bytesOf(first)), PacketAssembler::PageBytes::Stay));
  ASSERT_TRUE(assembler.addPage(Com::pageView(Com::bytesOf(second)), PacketAssembler::PageBytes::Stay));
  EXPECT_EQ(take(), "1one");
  const std::size_t held = assembler.heldBytes();
  ASSERT_TRUE(assembler.keep());
  EXPECT_EQ(assembler.heldBytes(), held);
  first.assign(first.size(), 'x');
  second.assign(second.size(), 'x');
  EXPECT_EQ(take(), "1two");
  EXPECT_EQ(take(), "1");
  EXPECT_EQ(take(), "1three");
  EXPECT_EQ(take(), "1four");
  EXPECT_EQ(take(), "0");
}

TEST(PageChecksumTest, BothWaysGiveWhatEachBitGives) {
  Random random(1);
  std::vector<std::uint8_t> bytes(2000);
  std::ranges::generate(bytes, std::ref(random));
  for (std::size_t count = 0; count < bytes.size(); count += 1 + count / 50) {
    const Lib::ByteView part(bytes.data() + draw(random, bytes.size() - count), count);
    const auto begun = static_cast<std::uint32_t>(random());
    std::uint32_t sum = begun;
    for (std::size_t i = 0; i < count; ++i) {
      sum ^= static_cast<std::uint32_t>(part.u8(i)) << 24;
      for (int bit = 0; bit < 8; ++bit) sum = (sum << 1) ^ (sum >> 31) * 0x04C11DB7;
    }
    EXPECT_EQ(pageChecksum(part, begun), sum) << count;
    EXPECT_EQ(pageChecksumByTables(part, begun), sum) << count;
  }
}

}  // namespace
}  // namespace Kvex::Com
