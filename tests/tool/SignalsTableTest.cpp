// What `vrel signals` says of each signal, held against all native samples of the files that have them as answers.

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/Answers.h"
#include "support/Command.h"
#include "support/Golden.h"
#include "tool/Failure.h"
#include "tool/SignalUse.h"
#include "tool/SignalsTable.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;
using Support::dataPath;
using Support::runCommand;

struct Stamped {
  std::string value;
  int flags = 0;
  Nano stamp = 0;
};

/// What the samples of a signal or element come to: see `Statistics`.
struct Expected {
  std::uint64_t samples = 0;
  std::uint64_t usable = 0;
  std::uint64_t changes = 0;
  Nano firstTime = 0;
  Nano lastTime = 0;
  std::optional<Stamped> first;
  std::optional<Stamped> last;
  std::optional<std::string> smallest;
  std::optional<std::string> largest;
};

double numberOf(const std::string& text) {
  if (text == "true" || text == "false") return text == "true" ? 1 : 0;
  return std::strtod(text.c_str(), nullptr);
}

/// In 64 bits of precision, which hold every integer.
bool isBelow(const std::string& a, const std::string& b) {
  const auto exact = [](const std::string& text) {
    return text == "true" || text == "false" ? numberOf(text) : std::strtold(text.c_str(), nullptr);
  };
  return exact(a) < exact(b);
}

void add(Expected& expected, Nano time, const Stamped& sample) {
  if (expected.samples++ == 0) expected.firstTime = time;
  expected.lastTime = time;
  if ((sample.flags & 0xEF) != 0) return;
  if (expected.usable++ == 0) expected.first = sample;
  const bool same = !expected.last || sample.value == expected.last->value ||
                    (numberOf(sample.value) == 0 && numberOf(expected.last->value) == 0);
  if (!same) ++expected.changes;
  expected.last = sample;
  if (std::isnan(numberOf(sample.value))) return;
  if (!expected.smallest || isBelow(sample.value, *expected.smallest)) expected.smallest = sample.value;
  if (!expected.largest || isBelow(*expected.largest, sample.value)) expected.largest = sample.value;
}

/// By stream and name, of an array by element: "2:SatUsed[3]".
std::map<std::string, Expected> readAnswers(const std::string& stem) {
  enum Cell : std::size_t { kTime, kStream, kSignal, kFlags, kStamp, kValue, kCells };
  std::map<std::string, Expected> answers;
  Support::GzLines lines(stem + ".native.csv.gz");
  std::string line;
  while (lines.next(line)) {
    std::vector<std::string> cells;
    std::istringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    if (cells.size() != kCells || cells[kTime] == "time") continue;
    add(answers[cells[kStream] + ':' + cells[kSignal]], std::stoll(cells[kTime]),
        {cells[kValue], std::stoi(cells[kFlags]), std::stoll(cells[kStamp])});
  }
  return answers;
}

void expectValue(const Json& got, const std::optional<std::string>& expected, const Signal& signal, const char* what) {
  if (!expected || !std::isfinite(numberOf(*expected))) {
    EXPECT_TRUE(got.is_null()) << what << got;
  } else if (signal.type() == ValueType::Double || signal.type() == ValueType::Float) {
    EXPECT_TRUE(got.is_number() && Support::agreesWithin(got.get<double>(), numberOf(*expected),
                                                         signal.type() == ValueType::Float, signal.name()))
        << what << got << " expected " << *expected;
  } else {
    EXPECT_EQ(got.dump(), *expected) << what;
  }
}

void expectStamped(const Json& got, const std::optional<Stamped>& expected, const Signal& signal, const char* what) {
  ASSERT_EQ(got.is_null(), !expected) << what;
  if (!expected) return;
  expectValue(got["value"], expected->value, signal, what);
  EXPECT_EQ(got["flags"], expected->flags) << what;
  EXPECT_EQ(got["time"], expected->stamp) << what;
}

/// One signal or element, with the members of its JSON.
void expectMembers(const std::map<std::string, Json>& got, const Expected& expected, const Signal& signal) {
  EXPECT_EQ(got.at("samples"), expected.samples);
  EXPECT_EQ(got.at("usable"), expected.usable);
  EXPECT_EQ(got.at("changes"), expected.changes);
  expectStamped(got.at("first"), expected.first, signal, "first");
  expectStamped(got.at("last"), expected.last, signal, "last");
  expectValue(got.at("min"), expected.smallest, signal, "min");
  expectValue(got.at("max"), expected.largest, signal, "max");
  const double seconds = static_cast<double>(expected.lastTime - expected.firstTime) * 1e-9;
  if (expected.samples < 2 || seconds <= 0) {
    EXPECT_TRUE(got.at("rate").is_null());
  } else {
    EXPECT_NEAR(got.at("rate").get<double>(), static_cast<double>(expected.samples - 1) / seconds, 1e-9);
  }
}

constexpr const char* kMembers[] = {"samples", "usable", "rate", "first", "last", "min", "max", "changes"};

class SignalsAnswersTest : public testing::TestWithParam<const char*> {};

TEST_P(SignalsAnswersTest, MembersFollowFromTheNativeSamples) {
  const std::string path = dataPath(GetParam());
  File file(path);
  const std::map<std::string, Expected> answers = readAnswers(path.substr(0, path.rfind('.')));
  ASSERT_FALSE(answers.empty());
  const bool onlySome = std::string(GetParam()).starts_with("yeld_chase2");
  std::size_t held = 0;
  for (const ListedSignal& listed : withStatistics(file, file.match("*"), {})) {
    const Signal& signal = listed.signal;
    SCOPED_TRACE(signal.qualifiedName());
    const Json json = signalJson(listed, true);
    for (std::uint32_t element = 0; element < signal.count(); ++element) {
      const auto answer = answers.find(signal.isArray() ? signal.at(element).qualifiedName() : signal.qualifiedName());
      held += answer != answers.end() ? 1 : 0;
      if (answer == answers.end() && onlySome) continue;
      std::map<std::string, Json> members;
      for (const char* name : kMembers) members[name] = signal.isArray() ? json[name][element] : json[name];
      expectMembers(members, answer != answers.end() ? answer->second : Expected{}, signal);
    }
  }
  EXPECT_EQ(held, answers.size());
}

INSTANTIATE_TEST_SUITE_P(Files, SignalsAnswersTest,
                         testing::Values("zint_plain_11.vrel", "zint_wild_11.vrel", "zint_damaged_11.vrel",
                                         "can_plain_11.vrel", "can_absolute_11.vrel", "can_joined_11.vrel",
                                         "can_fd_11.vrel", "can_with_zint_11.vrel", "quon_mode_mix_11.quon",
                                         "quon_triggers_11.quon", "quon_frame_66_11.quon",
                                         "quon_filters_normal_11.quon", "dask_mode_mix_11.dask",
                                         "nav_recording_11.vrel", "yeld_impact_table_11.yeld",
                                         "yeld_polygon_pieces_11.yeld", "yeld_chase2_lanes_11.yeld"),
                         [](const testing::TestParamInfo<const char*>& param) {
                           const std::string name = param.param;
                           return name.substr(0, name.rfind('.'));
                         });

std::size_t widestLine(const std::string& text) {
  std::size_t widest = 0;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    const auto isFirst = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    widest = std::max(widest, static_cast<std::size_t>(std::count_if(line.begin(), line.end(), isFirst)));
  }
  return widest;
}

TEST(SignalsTableTest, LeavesOutColumnsThatDoNotFit) {
  File file(dataPath("nav_recording_11.vrel"));
  const std::vector<ListedSignal> signals = withStatistics(file, file.match("1:*Lat*"), {});
  const struct {
    std::size_t width;
    std::vector<const char*> shown;
    std::vector<const char*> leftOut;
  } cases[] = {
      {0, {"STREAM", "TYPE", "SAMPLES", "RATE", "FIRST", "MIN", "CHANGES", "DESCRIPTION"}, {}},
      {120, {"STREAM", "NAME", "LAST"}, {"TYPE"}},
      {80, {"NAME", "LAST", "USABLE"}, {"TYPE", "MIN"}},
      {40, {"NAME"}, {"SAMPLES", "DESCRIPTION"}},
      {1, {"NAME"}, {"LAST"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.width);
    const std::string table = signalsTable(signals, true, c.width);
    const std::string header = table.substr(0, table.find('\n'));
    for (const char* title : c.shown) EXPECT_NE(header.find(title), std::string::npos) << header;
    for (const char* title : c.leftOut) EXPECT_EQ(header.find(title), std::string::npos) << header;
    if (c.width >= 40) {
      EXPECT_LE(widestLine(table), c.width);
    }
    EXPECT_NE(table.find("\n" + std::string(header.starts_with("STREAM") ? "1       " : "") + "Lat"),
              std::string::npos);
  }
  EXPECT_EQ(signalsTable(signals, false, 0).find("SAMPLES"), std::string::npos);
}

TEST(SignalsTableTest, WhatCannotBeReadHasNullMembers) {
  File file(dataPath("can_plain_11.vrel"));
  const Signal scalar = file.match("*").front();
  const Json json = signalJson({scalar}, true);
  for (const char* name : kMembers) EXPECT_TRUE(json[name].is_null()) << name;
  EXPECT_NE(signalsTable({{scalar}}, true, 0).find("  -  "), std::string::npos);
  for (const char* name : kMembers) EXPECT_FALSE(signalJson({scalar}, false).contains(name)) << name;

  File polygons(dataPath("yeld_polygon_pieces_11.yeld"));
  const Json array = signalJson({polygons.signal("Hunter_PolygonPointsLat")}, true);
  for (const char* name : kMembers) EXPECT_EQ(array[name], Json(std::vector<Json>(24))) << name;
}

std::vector<std::string> namesOf(const std::vector<Signal>& signals) {
  std::vector<std::string> names;
  for (const Signal& signal : signals) names.push_back(signal.qualifiedName());
  return names;
}

TEST(SignalUseTest, ListsWhatPatternsStreamsAndWordsChoose) {
  const File nav(dataPath("nav_recording_11.vrel"));
  using Strings = std::vector<std::string>;
  const struct {
    const char* fault;
    SignalChoice choice;
    Strings words;
    Strings names;
  } cases[] = {
      {"a name in two streams", {{"Lat"}, {}}, {}, {"1:Lat", "2:Lat"}},
      {"a stream", {{"Lat"}, {2}}, {}, {"2:Lat"}},
      {"overlapping patterns", {{"1:Lat", "1:La[t]"}, {}}, {}, {"1:Lat"}},
      {"words within a choice",
       {{"1:*Mode"}, {}},
       {"RTK", "position"},
       {"1:GpsPosMode", "1:GpsExt1_PosMode", "1:GpsInt1_PosMode", "1:GpsInt2_PosMode"}},
  };
  for (const auto& c : cases) {
    const Strings names = namesOf(listSignals(nav, c.choice, c.words));
    EXPECT_EQ(std::set(names.begin(), names.end()), std::set(c.names.begin(), c.names.end())) << c.fault;
    EXPECT_EQ(names.size(), c.names.size()) << c.fault;
  }
  EXPECT_EQ(listSignals(nav, {}, {}).size(), nav.signals().size());
  EXPECT_THROW(listSignals(nav, {{"Latt"}, {}}, {}), std::exception);
  EXPECT_THROW(listSignals(nav, {}, {"qqqq"}), Failure);

  const File can(dataPath("can_fd_11.vrel"));
  const std::vector<Signal> twice = listSignals(can, {{"NanoFromOrigin"}, {}}, {});
  ASSERT_GE(twice.size(), 2U) << "a name is listed in each of its types";
  EXPECT_NE(twice[0].type(), twice[1].type());
}

TEST(SignalUseTest, UsedSignalsAreThoseWithAUsableSample) {
  File file(dataPath("nav_recording_11.vrel"));
  const std::vector<Signal> all = file.match("1:*");
  const std::vector<Signal> used = usedSignals(file, all, {});
  EXPECT_LT(used.size(), all.size());
  const std::set<std::string> names = [&] {
    const auto list = namesOf(used);
    return std::set(list.begin(), list.end());
  }();
  std::vector<Signal> unused = all;
  for (const Statistics& statistics : file.statistics(all)) {
    EXPECT_EQ(names.contains(statistics.signal.qualifiedName()), statistics.usable > 0);
  }
  std::erase_if(unused, [&](const Signal& signal) { return names.contains(signal.qualifiedName()); });
  EXPECT_THROW(usedSignals(file, unused, {}), Failure);
}

TEST(SignalsCommandTest, FiltersAndLeavesOutTheWalk) {
  const std::string path = dataPath("nav_recording_11.vrel");
  const auto list = [&](const std::string& options) {
    const auto result = runCommand("vrel", "signals --json " + options + ' ' + path);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return Json::parse(result.output);
  };
  const Json all = list("");
  const Json used = list("--used");
  const Json unused = list("--unused");
  const Json changed = list("--changed");
  EXPECT_EQ(all.size(), used.size() + unused.size());
  EXPECT_GT(used.size(), 0U);
  EXPECT_GT(changed.size(), 0U);
  for (const Json& signal : used) EXPECT_GT(signal["usable"], 0);
  for (const Json& signal : unused) EXPECT_TRUE(signal["usable"] == 0 && signal["first"].is_null());
  for (const Json& signal : changed) EXPECT_GT(signal["changes"], 0);
  const Json fast = list("--fast");
  ASSERT_EQ(fast.size(), all.size());
  EXPECT_FALSE(fast[0].contains("first"));
  EXPECT_TRUE(fast[0].contains("table"));
  EXPECT_EQ(list("--match 1:Lat").size(), 1U);
  EXPECT_EQ(list("--signal 1:Lat --signal 1:Lon").size(), 2U);
  EXPECT_EQ(runCommand("vrel", "signals --fast --used " + path).exitCode, 2);
  EXPECT_EQ(runCommand("vrel", "signals --used --unused " + path).exitCode, 2);
  const auto none = runCommand("vrel", "signals --signal Latt " + path);
  EXPECT_NE(none.exitCode, 0);
  EXPECT_NE(none.errors.find("did you mean Lat"), std::string::npos) << none.errors;
}

TEST(SignalsCommandTest, ExportLeavesOutWhatIsNeverUsed) {
  const std::string options = "export --stream 1 --native --used " + dataPath("nav_recording_11.vrel");
  const std::string output = runCommand("vrel", options).output;
  std::vector<bool> seen;
  std::istringstream lines(output);
  std::string line;
  std::getline(lines, line);
  const auto columns = static_cast<std::size_t>(std::count(line.begin(), line.end(), ',')) + 1;
  seen.resize(columns);
  while (std::getline(lines, line)) {
    std::size_t column = 0;
    std::istringstream cells(line);
    for (std::string cell; std::getline(cells, cell, ','); ++column) {
      if (!cell.empty()) seen.at(column) = true;
    }
  }
  EXPECT_GT(columns, 10U);
  EXPECT_EQ(std::count(seen.begin(), seen.end(), false), 0);
}

}  // namespace

}  // namespace Kvex::Tool
