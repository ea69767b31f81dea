// vrel events, diff and export --around.

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/Command.h"
#include "support/Golden.h"
#include "tool/DifferencesTable.h"
#include "tool/EventsTable.h"

namespace Kvex::Tool {

namespace {

using Support::dataPath;
using Support::runCommand;
using testing::HasSubstr;
using testing::StartsWith;

TEST(EventsTableTest, HasALineForEachEvent) {
  const Nano start = *nanoFromUtc("2024-05-10T09:00:00Z");
  const std::vector<Event> events{
      {.kind = EventKind::Damage, .text = "5 bytes belong to no good page"},
      {.time = start + 1'500'000'000, .stream = 2, .kind = EventKind::Mode, .text = "position mode from \033[1m to B"}};
  EXPECT_EQ(eventsTable(events, start),
            "TIME [UTC]                      SECONDS  STREAM  KIND    TEXT\n"
            "-                               -        -       damage  5 bytes belong to no good page\n"
            "2024-05-10T09:00:01.500000000Z  1.500    2       mode    position mode from ?[1m to B\n");
  EXPECT_TRUE(eventJson(events[0], start)["time"].is_null());
  EXPECT_EQ(eventJson(events[1], start)["seconds"], 1.5);
  EXPECT_TRUE(eventJson(events[1], kNoTime)["seconds"].is_null());
}

TEST(DifferencesTableTest, ShowsWhatEachFileHas) {
  const std::vector<Difference> found{{DifferenceKind::Setting, 1, 1, "Gain", "5", "7"},
                                      {DifferenceKind::Stream, 2, {}, "Zint \"b\"", "all", {}}};
  EXPECT_EQ(differencesTable(found),
            "KIND     STREAM  WHAT      FIRST  SECOND\n"
            "setting  1       Gain      5      7\n"
            "stream   2/-     Zint \"b\"  all    -\n");
  EXPECT_EQ(differenceJson(found[1]).dump(),
            R"({"kind":"stream","stream":[2,null],"what":"Zint \"b\"","first":"all","second":null})");
}

TEST(EventsCommandTest, ShowsEventsAndChoosesAmongThem) {
  const std::string file = dataPath("quon_triggers_11.quon");
  const auto all = nlohmann::json::parse(runCommand("vrel", "events --json " + file).output);
  const auto triggers = nlohmann::json::parse(runCommand("vrel", "events --json --kind trigger " + file).output);
  ASSERT_FALSE(triggers.empty());
  EXPECT_LE(triggers.size(), all.size());
  for (const auto& event : triggers) EXPECT_EQ(event["kind"], "trigger");
  const std::string table = runCommand("vrel", "events --kind trigger,wheel " + file).output;
  EXPECT_GE(static_cast<std::size_t>(std::ranges::count(table, '\n')), triggers.size() + 1);
  EXPECT_EQ(runCommand("vrel", "events --kind nothing " + file).exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "events --start 180 " + file).exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "events --stream 9 " + file).exitCode, 1);
}

TEST(DiffCommandTest, EndsForTwoFiles) {
  const std::string one = dataPath("zint_plain_11.vrel");
  const auto same = runCommand("vrel", "diff " + one + ' ' + one);
  EXPECT_EQ(same.exitCode, 0);
  EXPECT_THAT(same.output, HasSubstr("do not differ"));
  const auto other = runCommand("vrel", "diff --json " + one + ' ' + dataPath("nav_recording_11.vrel"));
  EXPECT_EQ(other.exitCode, 0) << other.errors;
  EXPECT_FALSE(nlohmann::json::parse(other.output).empty());
  EXPECT_EQ(runCommand("vrel", "diff " + one + " none.vrel").exitCode, 1);
}

/// Lines of fields.
std::vector<std::vector<std::string>> cellsOf(const std::string& table) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
  }
  return rows;
}

TEST(ExportAroundTest, HasTheRowsRoundEachChange) {
  const std::string path = dataPath("quon_triggers_11.quon");
  File file(path);
  const std::string signal = "Trig1RiseUpdateCount";
  const std::vector<Change> changes = file.changes(signal);
  ASSERT_GT(changes.size(), 1U);
  const Span span = file.span();
  const std::string options = " --signal Lat --around " + signal + " --before 0.02 --after 0.03 ";
  for (const std::string& kind : {std::string("--period 0.01"), std::string("--native")}) {
    SCOPED_TRACE(kind);
    const auto result = runCommand("vrel", "export " + path + options + kind);
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    auto rows = cellsOf(result.output);
    EXPECT_EQ(rows.front()[0] + ' ' + rows.front()[1], "time event");
    rows.erase(rows.begin());
    std::size_t expected = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      for (Nano t = changes[i].time - 20'000'000; t <= changes[i].time + 30'000'000; t += 10'000'000) {
        if (t >= span.start && t < span.end) ++expected;
      }
    }
    if (kind != "--native") {
      EXPECT_EQ(rows.size(), expected);
    }
    std::set<std::string> numbers;
    for (const auto& row : rows) {
      const std::size_t number = std::stoul(row[1]);
      ASSERT_LE(number, changes.size());
      numbers.insert(row[1]);
      const Nano time = std::stoll(row[0]);
      EXPECT_GE(time, changes[number - 1].time - 20'000'000);
      EXPECT_LE(time, changes[number - 1].time + 30'000'000);
    }
    EXPECT_GT(numbers.size(), 1U);
  }
  EXPECT_THAT(runCommand("vrel", "export --long --time elapsed " + path + options).output,
              StartsWith("time,event,stream,signal,flags,stamp,value\n"));
  const auto json = runCommand("vrel", "export --format json " + path + options);
  EXPECT_TRUE(nlohmann::json::parse(json.output)[0].contains("event"));
  EXPECT_EQ(runCommand("vrel", "export " + path + " --before 2").exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "export --native -o " + Support::scratchPath("around/") + ' ' + path + options).exitCode,
            2);
}

TEST(SignalsCommandTest, SearchesManyFiles) {
  const std::string one = dataPath("nav_recording_11.vrel");
  const std::string two = dataPath("quon_mode_mix_11.quon");
  for (const std::string& order : {one + ' ' + two + " --search rtk", "--search rtk " + one + ' ' + two}) {
    const auto result = runCommand("vrel", "signals --fast " + order);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(two + ": 0:"));
    EXPECT_EQ(std::ranges::count(result.output, '\n'), 2);
  }
  EXPECT_EQ(runCommand("vrel", "signals " + one + ' ' + two).exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "signals --search rtk").exitCode, 2);
}

TEST(MultiplexedTest, IsNotedAndNamed) {
  const std::string path = dataPath("can_fd_11.vrel");
  const std::string command = "export --native " + path + " --signal HornTemp40";
  const auto plain = runCommand("vrel", command);
  EXPECT_THAT(plain.errors, HasSubstr("1 of the signals is multiplexed"));
  const auto chosen = runCommand("vrel", command + " --multiplexed");
  EXPECT_EQ(chosen.errors, "");
  EXPECT_LT(chosen.output.size(), plain.output.size());
  const auto signals =
      nlohmann::json::parse(runCommand("vrel", "signals --json --fast --signal HornTemp40 " + path).output);
  EXPECT_EQ(signals[0]["multiplexer"].dump(), R"({"signal":"WiperRate_261","values":[[14,14]]})");
  const auto samples = [&](const std::string& option) {
    const auto result = runCommand("vrel", "signals --json --signal HornTemp40 " + option + path);
    return nlohmann::json::parse(result.output)[0]["samples"].get<int>();
  };
  EXPECT_LT(samples("--multiplexed "), samples(""));
}

}  // namespace

}  // namespace Kvex::Tool
