#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/Answers.h"
#include "support/Command.h"
#include "support/Golden.h"

namespace Kvex {

namespace {

using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;
using testing::AnyOf;
using testing::EndsWith;

enum Cell : std::size_t { kTime, kStream, kSignal, kFlags, kStamp, kValue, kCells };

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
  return cells;
}

bool agrees(const File& file, const std::string& line, const std::string& answer) {
  if (line == answer) return true;
  const std::vector<std::string> got = cellsOf(line);
  const std::vector<std::string> expected = cellsOf(answer);
  if (got.size() != kCells || expected.size() != kCells) return false;
  for (const Cell cell : {kTime, kStream, kSignal, kFlags}) {
    if (got[cell] != expected[cell]) return false;
  }
  constexpr int kNoValue = Flag::kNotAvailable | Flag::kNeverWritten;
  if ((std::stoi(got[kFlags]) & kNoValue) != 0) return true;
  if (got[kStamp] != expected[kStamp]) return false;
  const std::string& name = got[kSignal];
  const ValueType type = file.match(got[kStream] + ":" + name.substr(0, name.find('['))).at(0).type();
  if (type != ValueType::Double && type != ValueType::Float) return got[kValue] == expected[kValue];
  return Support::agreesWithin(std::strtod(got[kValue].c_str(), nullptr),
                               std::strtod(expected[kValue].c_str(), nullptr), type == ValueType::Float, name);
}

struct NativeCase {
  const char* file;
  bool some;  ///< Only the signals of the few that are read alone.
};

std::string signalOptions(const std::string& stem) {
  std::ifstream file(stem + ".info.json");
  std::string options;
  const auto info = nlohmann::json::parse(file);
  for (const auto& name : info["reads"][1]["signals"]) {
    options += " --signal " + name.get<std::string>();
  }
  return options;
}

TEST(NativeExportTest, AgreesWithTheAnswers) {
  const NativeCase cases[] = {
      {"zint_plain_11.vrel", false},        {"zint_wild_11.vrel", false},        {"zint_damaged_11.vrel", false},
      {"can_absolute_11.vrel", false},      {"can_fd_11.vrel", false},           {"quon_mode_mix_11.quon", false},
      {"yeld_impact_table_11.yeld", false}, {"yeld_chase2_lanes_11.yeld", true},
  };
  for (const NativeCase& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = dataPath(c.file);
    const std::string stem = path.substr(0, path.rfind('.'));
    const std::string table = scratchPath("native.csv");
    const auto result =
        runCommand("vrel", "export --native --long -o " + table + ' ' + path + (c.some ? signalOptions(stem) : ""));
    EXPECT_THAT(result.errors, AnyOf("", EndsWith("--multiplexed leaves these out\n")));
    const File file(path);
    std::ifstream lines(table);
    Support::GzLines answers(stem + ".native.csv.gz");
    std::string line;
    std::string answer;
    while (answers.next(answer)) {
      ASSERT_TRUE(std::getline(lines, line)) << answer;
      ASSERT_TRUE(agrees(file, line, answer)) << line << "\nexpected " << answer;
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
  }
}

std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(NativeExportTest, HoldsTheSpanAgainstTheStreamsOwnTime) {
  const std::string ax = "export --native --signal ImuAx " + dataPath("zint_plain_11.vrel");
  EXPECT_EQ(lineCount(runCommand("vrel", ax + " --start +1.5 --end +1.6").output), 1U + 10U);
  EXPECT_EQ(lineCount(runCommand("vrel", ax + " --end +0.01").output), 1U + 1U);
  EXPECT_EQ(runCommand("vrel", ax + " --start +1000").exitCode, 2);
}

TEST(NativeExportTest, BringsWhatLiesBeforeTheFilesStart) {
  const std::string lat =
      "export --signal 1:Lat " + dataPath("nav_recording_11.vrel") + " --time elapsed --period 0.02";
  const std::string native = "export --signal 1:Lat " + dataPath("nav_recording_11.vrel") + " --time elapsed --native";
  EXPECT_EQ(runCommand("vrel", lat).output.find("\n-"), std::string::npos);
  EXPECT_NE(runCommand("vrel", native).output.find("\n-0.1,"), std::string::npos);
}

TEST(NativeExportTest, SeveralStreamsMakeNoWideTable) {
  const std::string nano = "export --native --signal Nano " + dataPath("nav_recording_11.vrel");
  const auto wide = runCommand("vrel", nano);
  EXPECT_EQ(wide.exitCode, 1);
  EXPECT_EQ(wide.errors,
            "vrel: the native samples of several streams make no one table; choose one with --stream, or use --long\n");
  EXPECT_EQ(runCommand("vrel", nano + " --stream 2").exitCode, 0);
  const std::string output = runCommand("vrel", nano + " --long").output;
  EXPECT_LT(output.rfind(",0,Nano,"), output.find(",1,Nano,")) << "stream by stream";
  EXPECT_LT(output.rfind(",1,Nano,"), output.find(",2,Nano,"));
}

TEST(NativeExportTest, APeriodIsOfNoUse) {
  const auto result = runCommand("vrel", "export --native --period 1 " + dataPath("zint_plain_11.vrel"));
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(result.errors.find("--native excludes --period"), std::string::npos) << result.errors;
}

}  // namespace

}  // namespace Kvex
