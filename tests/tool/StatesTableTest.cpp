#include <algorithm>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/StatesTable.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::json;
using Support::dataPath;
using Support::runCommand;

TEST(StatesTableTest, SecondsAndSharesAreReadable) {
  const struct {
    Nano nanos;
    const char* text;
  } seconds[] = {{0, "0.000"},
                 {8'980'000'000, "8.980"},
                 {1'000'000'001, "1.000000001"},
                 {12'345'678'900, "12.3456789"},
                 {INT64_MAX, "9223372036.854775807"}};
  for (const auto& c : seconds) EXPECT_EQ(secondsText(c.nanos), c.text);
  const struct {
    double share;
    const char* text;
  } shares[] = {{0, "0.0 %"}, {1e-9, "< 0.1 %"}, {0.0006, "0.1 %"}, {0.5, "50.0 %"}, {1, "100.0 %"}};
  for (const auto& c : shares) EXPECT_EQ(shareText(c.share), c.text);
}

TEST(StatesTableTest, TimeWithoutAValueIsALineOfItsOwn) {
  const File file(dataPath("nav_recording_11.vrel"));
  const Signal mode = file.signal("1:GpsPosMode");
  const std::vector<StateTotal> totals{
      {.value = Value(std::uint8_t{6}), .times = 2, .time = 3 * kNanosPerSecond, .share = 0.75},
      {.times = 1, .time = kNanosPerSecond, .share = 0.25}};
  EXPECT_EQ(totalsTable(mode, totals),
            "VALUE  TEXT             TIMES  SECONDS  SHARE\n"
            "6      RTK Integer      2      3.000    75.0 %\n"
            "-      no usable value  1      1.000    25.0 %\n");
  const Json json = totalsJson(mode, totals);
  EXPECT_EQ(json["name"], "GpsPosMode");
  EXPECT_EQ(json["states"][0],
            Json::parse(R"({"value":6,"text":"RTK Integer","usable":true,"times":2,"seconds":3.0,"share":0.75})"));
  EXPECT_EQ(json["states"][1],
            Json::parse(R"({"value":null,"text":null,"usable":false,"times":1,"seconds":1.0,"share":0.25})"));
  const State none{.from = 0, .to = 1'500'000'000};
  EXPECT_EQ(intervalsTable(mode, {none}),
            "START                           END                             SECONDS  VALUE  TEXT\n"
            "1980-01-06T00:00:00.000000000Z  1980-01-06T00:00:01.500000000Z  1.500    -      no usable value\n");
  EXPECT_EQ(Json(intervalJson(mode, none)),
            Json::parse(R"({"start":0,"end":1500000000,"seconds":1.5,"value":null,"text":null,"usable":false})"));
}

TEST(StatesCommandTest, AnswersEachCommandLine) {
  const std::string nav = dataPath("nav_recording_11.vrel");
  const struct {
    const char* fault;
    std::string options;
    int exitCode;
    const char* output;
    const char* errors;
  } cases[] = {
      {"one signal", "--signal 1:GpsPosMode", 0, "VALUE  TEXT", ""},
      {"several signals, each under its name", "--signal GpsPosMode", 0, "\n\n2:GpsPosMode\nVALUE", ""},
      {"intervals", "--signal 1:GpsPosMode --intervals", 0, "START ", ""},
      {"no signal", "", 2, "", "--signal"},
      {"an unknown signal", "--signal GpsPosMod", 1, "", "GpsPosMode"},
      {"a time that is none", "--signal Lat --start yesterday", 2, "", "yesterday"},
      {"a span behind the file", "--signal 1:Lat --start +100000", 2, "", "goes from"},
      {"a span of nothing", "--signal 1:Lat --start +2 --end +1", 2, "", "goes from"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fault);
    const auto result = runCommand("vrel", "states " + nav + ' ' + c.options);
    EXPECT_EQ(result.exitCode, c.exitCode) << result.errors;
    EXPECT_NE(result.output.find(c.output), std::string::npos) << result.output;
    EXPECT_NE(result.errors.find(c.errors), std::string::npos) << result.errors;
  }
}

TEST(StatesCommandTest, TotalsAreSumsOfIntervals) {
  const std::string options = "states --json --start +0.5 --end +2 --signal 1:GpsPosMode --signal 1:GpsAttMode " +
                              dataPath("nav_recording_11.vrel");
  const Json totals = Json::parse(runCommand("vrel", options).output);
  const Json intervals = Json::parse(runCommand("vrel", options + " --intervals").output);
  ASSERT_EQ(totals.size(), 2U);
  for (std::size_t i = 0; i < totals.size(); ++i) {
    double share = 0;
    double seconds = 0;
    for (const Json& total : totals[i]["states"]) {
      share += total["share"].get<double>();
      double sum = 0;
      std::uint64_t times = 0;
      for (const Json& interval : intervals[i]["intervals"]) {
        if (interval["value"] != total["value"]) continue;
        sum += interval["seconds"].get<double>();
        ++times;
      }
      EXPECT_NEAR(total["seconds"], sum, 1e-9);
      EXPECT_EQ(total["times"], times);
      seconds += sum;
    }
    EXPECT_NEAR(share, 1.0, 1e-9);
    EXPECT_NEAR(seconds, 1.5, 1e-9);
  }
}

}  // namespace

}  // namespace Kvex::Tool
