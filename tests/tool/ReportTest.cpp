// vrel report: what its page carries. How the page draws it is tried in a browser, in web/tests.

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <optional>

#include "support/Command.h"
#include "support/Golden.h"
#include "support/OddRuns.h"
#include "tool/Background.h"
#include "tool/DrawnSignal.h"
#include "tool/Failure.h"
#include "tool/PlotPlan.h"
#include "tool/ReportPage.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Support::contentsOf;
using Support::dataPath;
using Support::runCommand;
using Support::scratchPath;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string oddRun(const std::string& name) {
  for (const OddRun& run : oddRuns()) {
    if (run.name == name) std::ofstream(scratchPath(name), std::ios::binary) << run.bytes;
  }
  return scratchPath(name);
}

std::string written(const std::string& name, const std::string& bytes) {
  std::ofstream(scratchPath(name), std::ios::binary) << bytes;
  return scratchPath(name);
}

/// What a page carries between the tags of its data.
json dataOf(const std::string& page) {
  constexpr std::string_view kBegin = R"(<script type="application/json" id="data">)";
  const std::size_t begin = page.find(kBegin) + kBegin.size();
  return json::parse(page.substr(begin, page.find("</script>", begin) - begin));
}

json reportOf(const std::string& arguments) {
  const std::string out = scratchPath("report.html");
  const auto result = runCommand("vrel", "report -o " + out + " " + arguments);
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  return dataOf(contentsOf(out));
}

/// The values of a signal that is drawn, slice by slice, as the page reads them; nothing where there is none.
std::vector<std::optional<std::pair<double, double>>> drawnValues(const json& signal) {
  const double scale = std::pow(10.0, signal["decimals"].get<int>());
  std::vector<std::optional<std::pair<double, double>>> values;
  double whole = 0;
  for (std::size_t i = 0; i < signal["a"].size(); ++i) {
    if (signal["a"][i].is_null()) {
      values.emplace_back();
      continue;
    }
    whole += signal["a"][i].get<double>();
    values.emplace_back(std::pair(whole / scale, (whole + signal["b"][i].get<double>()) / scale));
  }
  return values;
}

TEST(DrawnSignalTest, HasEnoughDecimalsForARange) {
  struct Case {
    double smallest, largest;
    int decimals;
  };
  for (const Case& one : {Case{0, 1, 5}, Case{0, 99, 3}, Case{51.5, 51.5, 3}, Case{0, 0, 0}, Case{-1e9, 1e9, 0},
                          Case{0, 1e-300, 12}, Case{-HUGE_VAL, HUGE_VAL, 0}}) {
    EXPECT_EQ(drawnDecimals(one.smallest, one.largest), one.decimals) << one.smallest << " " << one.largest;
  }
}

TEST(DrawnSignalTest, ASpikeIsSeenAndAGapStaysOne) {
  File file(oddRun("spike.vrel"));
  const Overview overview = file.overview("VehicleSpeed", 2000);
  const json drawn = drawnSignal(overview.signals()[0], drawnSlices(overview, 0), {});
  const auto values = drawnValues(drawn);
  ASSERT_EQ(values.size(), 2000U);
  double largest = 0;
  std::size_t none = 0;
  for (const auto& value : values) {
    none += value ? 0 : 1;
    if (value) largest = std::max({largest, value->first, value->second});
  }
  EXPECT_EQ(largest, 99);
  EXPECT_NEAR(static_cast<double>(none), 2000 * 10.0 / 1200, 2);
  ASSERT_EQ(drawn["breaks"].size(), 1U);
  EXPECT_NEAR(drawn["breaks"][0].get<double>(), 2000 * 910.0 / 1200, 2);
  // Of samples that come but once in many slices, the slices between them are no gap.
  const Overview fine = file.overview("VehicleSpeed", 900'000);
  EXPECT_EQ(drawnSignal(fine.signals()[0], drawnSlices(fine, 0), {})["breaks"].size(), 1U);
}

TEST(DrawnSignalTest, AGapShorterThanASliceBreaksTheLineBetweenTwo) {
  File file(oddRun("antimeridian.vrel"));
  const Overview overview = file.overview("VehicleSpeed", 10);
  const auto breaksOf = [&](std::vector<StreamGap> gaps) {
    return drawnSignal(overview.signals()[0], drawnSlices(overview, 0), gaps)["breaks"];
  };
  EXPECT_THAT(breaksOf({}), IsEmpty());
  const Nano edge = overview.sliceStart(4);
  EXPECT_EQ(breaksOf({{edge - 1000, edge + 1000}}), json({4}));
  EXPECT_THAT(breaksOf({{edge + 1000, edge + 2000}}), IsEmpty());
}

TEST(PlotPlanTest, DrawsWhatEachKindOfStreamHas) {
  struct Case {
    const char* file;
    std::vector<std::string> titles;
  };
  for (const Case& one : {Case{"spike.vrel", {"Vehicle speed"}}, Case{"nofix.quon", {"Speed", "Height", "Heading"}}}) {
    File file(oddRun(one.file));
    std::vector<std::string> titles;
    for (const PlannedPlot& plot : planPlots(file, {})) titles.push_back(plot.title);
    titles.resize(std::min(titles.size(), one.titles.size()));
    EXPECT_EQ(titles, one.titles);
  }
}

TEST(PlotPlanTest, FurtherPlotsHaveOneUnitEach) {
  File file(oddRun("spike.vrel"));
  const std::vector<PlannedPlot> plots = planPlots(file, {"L*,VehicleSpeed"});
  ASSERT_EQ(plots.size(), 3U);
  EXPECT_EQ(plots[1].unit, "°");
  EXPECT_EQ(plots[1].signals.size(), 2U);
  EXPECT_EQ(plots[2].unit, "m/s");
  EXPECT_THROW(planPlots(file, {"Nothing*"}), Error);
}

TEST(ReportPageTest, TextsCannotLeaveTheirPlace) {
  const std::string evil = "</script><script>1</script><!-- {{data}} & \xFF";
  const std::string page = reportPage(evil, {{"text", evil}});
  EXPECT_EQ(dataOf(page)["text"], "</script><script>1</script><!-- {{data}} & \xEF\xBF\xBD");
  EXPECT_THAT(page, HasSubstr("<title>&lt;/script&gt;"));
  EXPECT_THAT(page, Not(HasSubstr("<script>1")));
  EXPECT_THAT(page, HasSubstr("default-src 'none'"));
}

TEST(ReportCommandTest, CarriesPlacesOfATrackExactly) {
  const json part = reportOf(oddRun("antimeridian.vrel"))["parts"][0];
  const json& track = part["tracks"][0];
  ASSERT_EQ(track["slice"].size(), 1000U);
  double longitude = 0;
  for (const json& step : track["longitude"]) longitude += step.get<double>();
  EXPECT_NEAR(longitude * 1e-8, -180 + (999 - 500) * 2e-6, 1e-8);
  EXPECT_EQ(part["check"]["judgement"], "whole");
  EXPECT_DOUBLE_EQ(part["seconds"].get<double>(), 9.99);
}

TEST(ReportCommandTest, DrawsTheValuesOfTheRecording) {
  const std::string path = dataPath("nav_recording_11.vrel");
  const json part = reportOf(path)["parts"][0];
  File file(path);
  const json& plot = part["plots"][0];
  ASSERT_EQ(plot["title"], "Speed");
  const json& drawn = part["signals"][plot["signals"][0].get<std::size_t>()];
  const Signal signal =
      file.signal(std::to_string(drawn["stream"].get<int>()) + ":" + drawn["name"].get<std::string>());
  const Statistics statistics = file.statistics(signal).front();
  double smallest = HUGE_VAL;
  double largest = -HUGE_VAL;
  for (const auto& value : drawnValues(drawn)) {
    if (!value) continue;
    smallest = std::min({smallest, value->first, value->second});
    largest = std::max({largest, value->first, value->second});
  }
  const double step = std::pow(10.0, -drawn["decimals"].get<int>());
  EXPECT_NEAR(smallest, statistics.smallest.asDouble(), step);
  EXPECT_NEAR(largest, statistics.largest.asDouble(), step);
  EXPECT_FALSE(part["statistics"].empty());
  EXPECT_FALSE(part["states"].empty());
  EXPECT_FALSE(part["devices"].empty());
  const json fast = reportOf("--fast " + path)["parts"][0];
  EXPECT_FALSE(fast.contains("statistics") || fast.contains("states"));
  EXPECT_EQ(fast["signals"], part["signals"]);
}

TEST(ReportCommandTest, DescribesFilesThatHaveNothingToDraw) {
  // Packets of a unit that does not know the time yet.
  const std::string untimed = written("untimed.quon", oddRuns()[3].bytes.substr(0, 72 * 3));
  const json part = reportOf(untimed)["parts"][0];
  EXPECT_EQ(part["streams"].size(), 1U);
  EXPECT_EQ(reportOf(oddRun("nofix.quon"))["parts"][0]["tracks"][0]["slice"], json::array());
  const std::string empty = written("empty.quon", "");
  EXPECT_EQ(runCommand("vrel", "report -o " + scratchPath("none.html") + " " + empty).exitCode, 1);
  EXPECT_FALSE(fs::exists(scratchPath("none.html")));
}

TEST(ReportCommandTest, SeveralFilesHaveAPartEach) {
  const std::string good = oddRun("pole.vrel");
  const std::string out = scratchPath("several.html");
  const auto result = runCommand("vrel", "report --title 'A & B' -o " + out + " " + good + " /nowhere.vrel " + good);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.errors, HasSubstr("/nowhere.vrel"));
  const json report = dataOf(contentsOf(out));
  EXPECT_EQ(report["parts"].size(), 2U);
  EXPECT_EQ(report["title"], "A & B");
}

TEST(ReportCommandTest, NeverReplacesARecording) {
  const std::string run = oddRun("pole.vrel");
  const std::string before = contentsOf(run);
  EXPECT_EQ(runCommand("vrel", "report -o " + run + " " + run).exitCode, 1);
  EXPECT_EQ(contentsOf(run), before);
  EXPECT_EQ(runCommand("vrel", "report --signals 'Nothing*' -o " + scratchPath("x.html") + " " + run).exitCode, 1);
  EXPECT_FALSE(fs::exists(scratchPath("x.html")));
}

TEST(BackgroundTest, IsGeoJsonOrAnImageWithCorners) {
  const std::string map = written("map.geojson", R"({"type":"Point","coordinates":[1,2]})");
  EXPECT_EQ(backgroundJson(map)["geojson"]["coordinates"], json({1, 2}));
  const std::string image = written("map.png", "\x89PNG");
  const json drawn = backgroundJson(image + "@51,-1.5,52,0");
  EXPECT_EQ(drawn["image"], "data:image/png;base64,iVBORw==");
  EXPECT_EQ(drawn["corners"], json({51, -1.5, 52, 0}));
  const std::string text = written("map.txt", "x");
  const std::string broken = written("broken.json", "{");
  for (const std::string& wrong :
       {image, map + "@1,2,3,4", image + "@1,2,3", image + "@1,2,3,4,5", image + "@52,0,51,1", image + "@0,1,1,nan",
        text, broken, scratchPath("nowhere.geojson"), scratchPath("nowhere.png") + "@1,2,3,4"}) {
    EXPECT_THROW(backgroundJson(wrong), Failure) << wrong;
  }
}

TEST(BackgroundTest, EncodesAnyLengthOfImage) {
  for (const auto& [bytes, encoded] : {std::pair{"a", "YQ=="}, {"ab", "YWI="}, {"abc", "YWJj"}, {"abcd", "YWJjZA=="}}) {
    EXPECT_THAT(backgroundJson(written("e.jpg", bytes) + "@0,0,1,1")["image"].get<std::string>(),
                testing::EndsWith(std::string("jpeg;base64,") + encoded));
  }
}

}  // namespace

}  // namespace Kvex::Tool
