// What a rescue promises, of recordings cut off anywhere and damaged in many ways.

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <kvex/Writing.h>
#include <random>
#include <set>
#include <sstream>

#include "recording/OggPage.h"
#include "support/Command.h"
#include "support/Packets.h"
#include "support/Pages.h"
#include "synth/DemoRecording.h"

namespace Kvex {
namespace {

using testing::HasSubstr;
using Testing::TempFile;

constexpr Nano kStart = 1'384'035'200'000'000'000;

/// A tenth of a second or more of a protocol.
std::string demoOf(const Synth::DemoProtocol& protocol, int steps) {
  std::ostringstream out;
  const Synth::DemoProtocol* const chosen[] = {&protocol};
  Synth::DemoRecording demo(out, chosen, 1);
  for (int step = 0; step < steps; ++step) demo.writeStep();
  demo.end();
  return out.str();
}

/// Two streams with packets that lie across pages, a foreign stream between them, and repeat blocks.
std::string mixedRecording(const Synth::DamagePlan& damage = {}, int packets = 60) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  const std::string header = Testing::countDefinition().headerPacket();
  const auto form = [&](std::uint32_t serial, std::size_t perPage) {
    return Com::StreamForm{.serial = serial,
                           .primary = Com::primaryText("[Kvex-Zint]", 2),
                           .headers = {header, "{Kvex-Grouping}Grouping=Run\n"},
                           .packetsPerPage = perPage,
                           .bytesPerPage = SIZE_MAX};
  };
  Com::LogicalWriter& small = writer.addStream(form(1, 4));
  Com::LogicalWriter& large = writer.addStream(form(2, SIZE_MAX));
  Com::LogicalWriter& foreign = writer.addStream({.serial = 3, .primary = "\x01other", .packetsPerPage = 3});
  writer.setDamage(damage);
  for (Com::LogicalWriter* stream : {&small, &foreign, &large}) stream->writeHeader();
  for (int i = 0; i < packets; ++i) {
    const Nano time = kStart + i * kNanosPerSecond / 10;
    small.add(Testing::countPacket(time, static_cast<std::uint32_t>(i)));
    large.add(Testing::countPacket(time, static_cast<std::uint32_t>(i),
                                   i % 15 == 0 ? 66'000 : 100 + static_cast<std::size_t>(i)));
    foreign.add(Testing::countPacket(time, static_cast<std::uint32_t>(i)));
    if (i % 25 == 24) small.writeHeader();
  }
  writer.end();
  return out.str();
}

enum class Outcome { Nothing, Losses, NoLoss };

/// Rescues bytes and holds the result against the promises.
Outcome rescueAndCheck(const std::string& bytes) {
  const TempFile damaged("rescue-in.vrel", bytes);
  const TempFile result("rescue-out.vrel");
  const TempFile again("rescue-again.vrel");
  const Testing::PacketsBySerial readable = Testing::packetsOf(damaged.path());
  RescueReport report;
  try {
    report = rescue(damaged.path(), result.path(), {.force = true});
  } catch (const Error& error) {
    EXPECT_EQ(error.code(), ErrorCode::Empty) << error.what();
    for (const auto& [serial, packets] : readable) EXPECT_TRUE(packets.empty()) << serial;
    return Outcome::Nothing;
  }
  const File file(result.path());
  EXPECT_EQ(file.judgement(), Judgement::Whole) << file.damage().sentence();
  Testing::PacketsBySerial saved = Testing::packetsOf(result.path());
  for (const auto& [serial, packets] : readable) {
    EXPECT_TRUE(saved.contains(serial) || packets.empty()) << "stream " << serial;
    EXPECT_TRUE(Testing::isWithin(packets, saved[serial])) << "stream " << serial;
  }
  const RescueReport second = rescue(result.path(), again.path(), {.force = true});
  EXPECT_FALSE(second.lost);
  EXPECT_TRUE(Support::contentsOf(result.path()) == Support::contentsOf(again.path()));
  return report.lost ? Outcome::Losses : Outcome::NoLoss;
}

TEST(RescueTest, SavesAllOfARecordingOfAnyKindThatIsCutOffAtAnyByte) {
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) {
    const std::string whole = demoOf(protocol, 1);
    bool saved = false;
    // Every byte of the small ones; of the larger ones a number that is prime to the sizes of their parts.
    const std::size_t step = whole.size() < 3000 ? 1 : 13;
    for (std::size_t size = 0; size <= whole.size(); size += step) {
      SCOPED_TRACE(std::string(protocol.name) + " of " + std::to_string(size) + " bytes");
      const Outcome outcome = rescueAndCheck(whole.substr(0, size));
      ASSERT_FALSE(HasFailure());
      ASSERT_FALSE(saved && outcome == Outcome::Nothing);
      saved |= outcome != Outcome::Nothing;
    }
    EXPECT_EQ(rescueAndCheck(whole), Outcome::NoLoss);
  }
}

TEST(RescueTest, KeepsItsPromisesForRecordingsDamagedAtRandom) {
  std::mt19937_64 random(14);
  int losses = 0;
  int recordings = 0;
  const auto rate = [&] { return random() % 3 == 0 ? 0.2 : 0.02; };
  for (; recordings < 3000; ++recordings) {
    Synth::DamagePlan plan{.seed = random()};
    for (double Synth::DamagePlan::*chance :
         {&Synth::DamagePlan::drop, &Synth::DamagePlan::repeat, &Synth::DamagePlan::delay, &Synth::DamagePlan::flip,
          &Synth::DamagePlan::junk}) {
      if (random() % 2 == 0) plan.*chance = rate();
    }
    plan.repairChecksums = random() % 8 == 0;
    if (random() % 4 == 0) plan.truncateAt = random() % 150'000;
    SCOPED_TRACE("recording " + std::to_string(recordings) + " of seed " + std::to_string(plan.seed));
    losses += rescueAndCheck(mixedRecording(plan, 5 + static_cast<int>(random() % 40))) == Outcome::Losses ? 1 : 0;
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(losses, recordings / 2);
}

/// The pages of a recording, as texts.
std::vector<std::string> pagesOf(const std::string& recording) {
  std::vector<std::string> pages;
  std::string bytes = recording;
  for (const std::span<std::uint8_t> page : Com::findPages(Com::bytesOf(bytes))) {
    pages.emplace_back(reinterpret_cast<const char*>(page.data()), page.size());
  }
  return pages;
}

std::string joined(const std::vector<std::string>& pages) {
  std::string bytes;
  for (const std::string& page : pages) bytes += page;
  return bytes;
}

TEST(RescueTest, SaysWhatWasLost) {
  const std::vector<std::string> pages = pagesOf(mixedRecording());
  const auto isOf = [](const std::string& page, char serial) { return page[14] == serial; };
  const auto nth = [&](char serial, int place) {
    std::size_t at = 0;
    for (;; ++at) {
      if (isOf(pages[at], serial) && place-- == 0) return at;
    }
  };
  const auto without = [&](std::size_t at) {
    std::vector<std::string> kept = pages;
    kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(at));
    return joined(kept);
  };
  std::vector<std::string> late = pages;  // a stream begins behind all others
  std::stable_partition(late.begin(), late.end(), [&](const std::string& page) { return !isOf(page, 2); });
  std::vector<std::string> open = pages;
  std::erase_if(open, [](const std::string& page) { return (page[5] & Com::PageFlag::kEos) != 0; });
  std::string flipped = joined(pages);
  flipped[flipped.find(pages[nth(1, 4)]) + 40] ^= 1;
  const struct {
    const char* what;
    std::string bytes;
    bool lost;
    std::uint64_t packets1;  ///< Saved of stream 1.
    std::uint64_t lost1;
    bool saved2;
    std::uint64_t lost2;
  } cases[] = {
      {"nothing is wrong", joined(pages), false, 60, 0, true, 0},
      {"junk between pages", pages[0] + "OggS junk" + joined({pages.begin() + 1, pages.end()}), false, 60, 0, true, 0},
      {"a stream begins late", joined(late), false, 60, 0, true, 0},
      {"no end pages", joined(open), false, 60, 0, true, 0},
      {"a page comes twice", pages[0] + joined(pages), false, 60, 0, true, 0},
      {"a page of four packets is missing", without(nth(1, 3)), true, 56, 4, true, 0},
      {"a bit of a page is turned", flipped, true, 56, 4, true, 0},
      {"a part of a large packet is missing", without(nth(2, 4)), true, 60, 0, true, 1},
      {"a header is missing", without(nth(2, 1)), true, 60, 0, false, 1},
      {"cut off in a page", joined(pages).substr(0, joined(pages).size() - 40), true, 60, 0, true, 0},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.what);
    const TempFile damaged("rescue-what.vrel", expected.bytes);
    const TempFile result("rescue-what-out.vrel");
    const RescueReport report = rescue(damaged.path(), result.path());
    EXPECT_EQ(report.lost, expected.lost);
    for (const RescuedStream& stream : report.streams) {
      if (stream.serial == 1) {
        EXPECT_EQ(stream.packets, expected.packets1);
        EXPECT_EQ(stream.packetsLost, expected.lost1);
      }
      if (stream.serial == 2) {
        EXPECT_EQ(stream.saved, expected.saved2);
        EXPECT_GE(stream.packetsLost, expected.lost2);
      }
      if (stream.serial == 3) {
        EXPECT_EQ(stream.packets, 60);
      }
    }
  }
}

TEST(RescueTest, KeepsTheHeaderTheGranulePositionsAndForeignStreams) {
  const TempFile source("rescue-keep.vrel", mixedRecording());
  const TempFile result("rescue-keep-out.vrel");
  rescue(source.path(), result.path());
  const auto granules = [](const std::string& path) {
    std::map<int, std::set<std::int64_t>> found;
    Testing::forEachPage(Support::contentsOf(path), [&](const ogg_page& page) {
      const bool isData = ogg_page_pageno(&page) > 1 && ogg_page_bos(&page) == 0 && ogg_page_eos(&page) == 0;
      if (isData && ogg_page_serialno(&page) != 1) found[ogg_page_serialno(&page)].insert(ogg_page_granulepos(&page));
    });
    return found;
  };
  EXPECT_EQ(granules(result.path()), granules(source.path()));
  const File before(source.path());
  const File after(result.path());
  ASSERT_EQ(after.streams().size(), before.streams().size());
  for (std::size_t i = 0; i < before.streams().size(); ++i) {
    EXPECT_EQ(after.streams()[i].name(), before.streams()[i].name());
    EXPECT_EQ(after.streams()[i].start(), before.streams()[i].start());
    EXPECT_EQ(after.streams()[i].end(), before.streams()[i].end());
  }
}

TEST(RescueTest, Command) {
  const TempFile damaged("rescue-cmd.vrel", mixedRecording({.seed = 3, .drop = 0.1}));
  const TempFile whole("rescue-cmd-whole.vrel", mixedRecording());
  const TempFile empty("rescue-cmd-empty.vrel", "no pages at all");
  const TempFile out("rescue-cmd-out.vrel");
  const std::string target = "'" + out.path() + "'";
  const struct {
    std::string arguments;
    int exit;
    std::string output;
    std::string errors;
  } cases[] = {
      {"'" + whole.path() + "' -o " + target, 1, "", "not replaced without --force"},
      {"'" + whole.path() + "' --force -o " + target, 0, "No packet was lost.", ""},
      {"'" + damaged.path() + "' --force -o " + target, 3, "lost.", ""},
      {"'" + damaged.path() + "' --json --force -o " + target, 3, "\"packetsLost\"", ""},
      {"'" + empty.path() + "' --force -o " + target, 1, "", "nothing to save"},
      {"'" + whole.path() + "' --force -o '" + whole.path() + "'", 2, "", "the output is the file that is read"},
      {"'" + whole.path() + "' -o " + out.path() + ".txt", 2, "", "must end in .vrel"},
      {"'" + whole.path() + "' -o /no/such/folder/x.vrel", 1, "", "No such file or directory"},
      {"'" + whole.path() + "' -o /dev/full", 1, "", "No space left"},
      {"/no/such/file.vrel -o " + target + " --force", 1, "", "no such file"},
      {"'" + whole.path() + "'", 2, "", "--output"},
  };
  std::filesystem::copy_file(whole.path(), out.path(), std::filesystem::copy_options::overwrite_existing);
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.arguments);
    const Support::CommandResult result = Support::runCommand("vrel", "rescue " + expected.arguments);
    EXPECT_EQ(result.exitCode, expected.exit);
    EXPECT_THAT(result.output, HasSubstr(expected.output));
    EXPECT_THAT(result.errors, HasSubstr(expected.errors));
  }
  const std::filesystem::path folder = std::filesystem::path(out.path()).parent_path();
  const std::string ours = "." + std::filesystem::path(out.path()).filename().string();
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    EXPECT_FALSE(entry.path().filename().string().starts_with(ours)) << "left behind: " << entry.path();
  }
}

}  // namespace
}  // namespace Kvex
