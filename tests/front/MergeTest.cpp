// A merge keeps the packets of each stream, and ties the streams of a range system together as before.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>

#include "support/Command.h"
#include "support/Packets.h"

namespace Kvex {
namespace {

using testing::HasSubstr;
using Testing::TempFile;

std::string sample(const char* name) {
  return std::string(KVEX_TEST_DATA "/") + name;
}

std::vector<std::pair<std::string, std::string>> scanOf(const File& file, std::uint32_t serial) {
  for (const Stream& stream : file.streams()) {
    if (stream.serial() == serial) return stream.headers().back().values;
  }
  return {};
}

TEST(MergeTest, KeepsThePacketsOfEveryStreamWhoseSerialMayChange) {
  const struct {
    std::vector<std::string> paths;
  } cases[] = {
      {{sample("zint_plain_11.vrel"), sample("can_absolute_11.vrel")}},
      {{sample("nav_recording_11.vrel"), sample("can_with_zint_11.vrel"), sample("zint_wild_11.vrel")}},
      {{sample("range_recording_11.vrel"), sample("nav_recording_11.vrel")}},
  };
  for (const auto& given : cases) {
    SCOPED_TRACE(given.paths.front());
    const TempFile out("merge-out.vrel");
    const MergeReport report = merge(given.paths, out.path(), {.force = true});
    const Testing::PacketsBySerial merged = Testing::packetsOf(out.path());
    std::size_t streams = 0;
    for (std::size_t input = 0; input < given.paths.size(); ++input) {
      for (const auto& [serial, packets] : Testing::packetsOf(given.paths[input])) {
        const auto found = std::ranges::find_if(report.streams, [&](const MergedStream& stream) {
          return stream.input == input && stream.serial == serial;
        });
        ASSERT_NE(found, report.streams.end());
        EXPECT_TRUE(merged.at(found->newSerial) == packets) << serial;
        EXPECT_EQ(found->packets, packets.size());
        ++streams;
      }
    }
    EXPECT_EQ(merged.size(), streams);
    EXPECT_EQ(File(out.path()).judgement(), Judgement::Whole);
  }
}

TEST(MergeTest, RewritesTheSerialsThatTieStreamsTogether) {
  const TempFile first("merge-a.vrel");
  const TempFile second("merge-b.vrel");
  const TempFile out("merge-ab.vrel");
  for (const TempFile* file : {&first, &second}) {
    ASSERT_EQ(Support::runCommand("vrel", "synth '" + file->path() + "' --seconds 3 --streams yeld --force").exitCode,
              0);
  }
  const MergeReport report = merge({first.path(), second.path()}, out.path(), {.force = true});
  const File before(second.path());
  const File after(out.path());
  ASSERT_EQ(after.streams().size(), 2 * before.streams().size());
  for (const MergedStream& stream : report.streams) {
    if (stream.input == 0) continue;
    EXPECT_NE(stream.serial, stream.newSerial);
    // The links are stream ids; those of the second input stand behind those of the first.
    const auto links = scanOf(after, stream.newSerial);
    const auto linksBefore = scanOf(before, stream.serial);
    ASSERT_EQ(links.size(), linksBefore.size());
    for (std::size_t i = 0; i < links.size(); ++i) {
      const auto& [key, value] = links[i];
      if (!key.starts_with("Range.") || !key.ends_with(".Stream")) continue;
      const std::uint32_t meant = before.stream(static_cast<std::uint32_t>(std::stoul(linksBefore[i].second))).serial();
      const std::uint32_t got = after.stream(static_cast<std::uint32_t>(std::stoul(value))).serial();
      const auto twin = std::ranges::find_if(report.streams,
                                             [&](const MergedStream& s) { return s.input == 1 && s.serial == meant; });
      EXPECT_EQ(got, twin->newSerial) << key;
    }
  }
}

TEST(MergeTest, Command) {
  const TempFile out("merge-cmd.vrel");
  const std::string a = " '" + sample("zint_plain_11.vrel") + "'";
  const std::string b = " '" + sample("can_absolute_11.vrel") + "'";
  const std::string to = " --force -o '" + out.path() + "'";
  const struct {
    std::string arguments;
    int exit;
    std::string errors;
  } cases[] = {
      {a + b + to, 0, ""},
      {a + b + " -o '" + out.path() + "'", 1, "not replaced without --force"},
      {a + to, 2, "two recordings or more"},
      {a + a + to, 2, "given twice"},
      {a + " '" + sample("quon_triggers_11.quon") + "'" + to, 2, "not bare files"},
      {a + " /no/such.vrel" + to, 1, "no such file"},
      {a + " '" + out.path() + "'" + to, 2, "the output is the file that is read"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.arguments);
    const Support::CommandResult result = Support::runCommand("vrel", "merge" + expected.arguments);
    EXPECT_EQ(result.exitCode, expected.exit) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr(expected.errors));
  }
}

}  // namespace
}  // namespace Kvex
