#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/Failure.h"
#include "tool/TableFormats.h"

namespace Kvex::Tool {
namespace {

using Support::contentsOf;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;

TEST(TableFormatsTest, EndingsChooseTheFormat) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "csv"},           {"-", "csv"},          {"run", "csv"},       {"run.csv", "csv"},
      {"RUN.CSV", "csv"},    {"run.tsv", "tsv"},    {"run.json", "json"}, {"run.ndjson", "ndjson"},
      {"a.jsonl", "ndjson"}, {"x.xlsx/run", "csv"}, {".hidden", "csv"},   {"/dev/null", "csv"},
  };
  for (const auto& [path, name] : cases) EXPECT_EQ(formatOfOutput(path).name, name) << path;
  for (const char* path : {"run.xlsx", "run.csv.gz", "run.", "run.txt"}) {
    try {
      ADD_FAILURE() << path << " is taken for " << formatOfOutput(path).name;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.exit, VrelExit::WrongUsage);
      EXPECT_NE(std::string(failure.what()).find(".csv, .tsv, .json, .ndjson, .jsonl"), std::string::npos);
    }
  }
}

TEST(TableFormatsTest, TablesOfEachFormatHoldTheSame) {
  const std::string command =
      "export " + dataPath("zint_plain_11.vrel") + " --signal GnssInt1_Altitude --signal Nano --period 5 ";
  const std::string csv = runCommand("vrel", command).output;
  std::string tsv = runCommand("vrel", command + "--format tsv").output;
  std::ranges::replace(tsv, '\t', ',');
  EXPECT_EQ(tsv, csv);
  const std::string lines = runCommand("vrel", command + "--format ndjson").output;
  const auto array = nlohmann::json::parse(runCommand("vrel", command + "--format json").output);
  std::string again;
  for (const auto& row : array) again += nlohmann::json(row).dump() + '\n';
  std::string sorted;
  std::istringstream text(lines);
  for (std::string line; std::getline(text, line);) sorted += nlohmann::json::parse(line).dump() + '\n';
  EXPECT_EQ(again, sorted);
  EXPECT_EQ(array.size(), static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')) - 1);
}

TEST(TableFormatsTest, AnArrayWithoutRecordsIsJson) {
  const std::string folder = scratchPath("arrays/");
  ASSERT_EQ(runCommand("vrel", "export " + dataPath("zint_plain_11.vrel") + " --native --format json -o " + folder +
                                   " --signal GnssInt1_Altitude")
                .exitCode,
            0);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".json") continue;
    EXPECT_TRUE(nlohmann::json::accept(contentsOf(entry.path().string()))) << entry.path();
    ++files;
  }
  EXPECT_GT(files, 0U);
}

/// What stands in the place of an output, and whether it may be replaced without --force.
struct InPlace {
  const char* what;
  std::string bytes;
  bool kept;
};

TEST(OutputTest, RecordingsAreNotReplaced) {
  const std::string quon = contentsOf(dataPath("quon_triggers_11.quon"));
  const std::string vrel = contentsOf(dataPath("zint_plain_11.vrel"));
  const InPlace cases[] = {
      {"a recording", vrel, true},
      {"a recording behind junk", std::string(5000, 'x') + vrel, true},
      {"its first page alone", vrel.substr(0, 300), true},
      {"navigation packets", quon, true},
      {"one packet", quon.substr(0, 72), true},
      {"one packet behind junk", "junk" + quon.substr(0, 72), true},
      {"a packet with a wrong sum", quon.substr(0, 71) + static_cast<char>(quon[71] + 1), false},
      {"range packets", contentsOf(dataPath("yeld_chase2_lanes_11.yeld")), true},
      {"a table", "time,Lat [°]\n1,2\n", false},
      {"a text about OggS", "OggS is a capture pattern\n", false},
      {"nothing", "", false},
  };
  const std::string path = scratchPath("in-place.csv");
  const std::string written = scratchPath("written.txt");
  for (const InPlace& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string exporting = "export " + dataPath("zint_plain_11.vrel") + " --signal Nano -o " + path;
    std::ofstream(path, std::ios::binary) << c.bytes;
    EXPECT_EQ(runCommand("vrel", exporting).exitCode, c.kept ? 1 : 0);
    EXPECT_EQ(contentsOf(path) == c.bytes, c.kept);
    EXPECT_EQ(runCommand("vrel", exporting + " --force").exitCode, 0);
    EXPECT_EQ(contentsOf(path).substr(0, 4), "time");

    std::ofstream(written, std::ios::binary) << c.bytes;
    const auto converted = runCommand("vrel2fix", dataPath("zint_plain_11.vrel") + " " + written + " 1");
    EXPECT_EQ(converted.exitCode, c.kept ? 256 - 6 : 0);
    EXPECT_EQ(contentsOf(written) == c.bytes, c.kept);
  }
  const std::string demo = scratchPath("twice.vrel");
  for (const auto& [option, exitCode] : {std::pair("", 0), std::pair("", 1), std::pair(" --force", 0)}) {
    EXPECT_EQ(runCommand("vrel", "synth --seconds 1 " + demo + option).exitCode, exitCode);
  }
}

TEST(OutputTest, ClosedAndFullDescriptorsDoNotMatter) {
  const std::string file = dataPath("zint_plain_11.vrel");
  const std::string table = scratchPath("closed.csv");
  const std::pair<std::string, int> cases[] = {
      {"info none.vrel 2>&-", 1},
      {"info none.vrel 2>/dev/full", 1},
      {"frobnicate 2>&-", 2},
      {"info " + file + " >&-", 0},
      {"info " + file + " <&- >&- 2>&-", 0},
      {"info " + file + " >/dev/full 2>/dev/full", 1},
      {"export " + file + " --signal Nano --period 1 -o " + table + " <&- >&- 2>&-", 0},
  };
  for (const auto& [arguments, exitCode] : cases)
    EXPECT_EQ(runCommand("vrel", arguments).exitCode, exitCode) << arguments;
  EXPECT_EQ(contentsOf(table).substr(0, 5), "time,");
  const std::string converted = scratchPath("closed.txt");
  EXPECT_EQ(runCommand("vrel2fix", file + " " + converted + " 1 >&- 2>&-").exitCode, 0);
  EXPECT_EQ(contentsOf(converted).substr(0, 4), "1417") << "no message stands in the table";
}

}  // namespace
}  // namespace Kvex::Tool
