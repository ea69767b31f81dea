#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <vector>

#include "library/Enumerations.h"
#include "nav/NavRecord.h"
#include "nav/NavTables.h"
#include "nav/NavWantTree.h"
#include "support/Golden.h"

namespace Kvex::Sto {
namespace {

struct KnownSignal {
  std::string quonOrdinal, daskOrdinal, name, type, unit, resolution, group, description;
};

std::vector<KnownSignal> knownSignals() {
  std::ifstream file(Support::dataPath("navigation_signals.tsv"));
  std::vector<KnownSignal> signals;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::istringstream cells(line);
    KnownSignal signal;
    for (std::string* cell : {&signal.quonOrdinal, &signal.daskOrdinal, &signal.name, &signal.type, &signal.unit,
                              &signal.resolution, &signal.group, &signal.description}) {
      std::getline(cells, *cell, '\t');
    }
    signals.push_back(signal);
  }
  return signals;
}

bool operator==(const Nav::NavWantTree& a, const Nav::NavWantTree& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The wants that asking for one signal sets in an empty tree.
Nav::NavWantTree wantsOf(const SignalTable& table, std::string_view name) {
  Nav::NavWantTree wants;
  wants.wantAll(false);
  const SignalRow* row = table.findScalar(name);
  row->want(&wants, row->blockIndex);
  return wants;
}

std::map<std::string, SignalInfo> listingOf(const SignalTable& table) {
  std::map<std::string, SignalInfo> byName;
  table.forEach([&](const SignalRow& row) { byName[row.name] = row; });
  return byName;
}

class NavTablesTest : public testing::TestWithParam<bool> {};

TEST_P(NavTablesTest, ListsTheKnownSignals) {
  const bool quon = GetParam();
  const SignalTable& table = quon ? StaticAccessQuon::table() : StaticAccessDask::table();
  const auto rows = listingOf(table);
  const Nav::NavRecord record;
  std::size_t known = 0;
  for (const KnownSignal& signal : knownSignals()) {
    SCOPED_TRACE(signal.name);
    const std::string& ordinal = quon ? signal.quonOrdinal : signal.daskOrdinal;
    const auto found = rows.find(signal.name);
    ASSERT_EQ(found != rows.end(), !ordinal.empty());
    if (ordinal.empty()) continue;
    ++known;
    const SignalInfo& row = found->second;
    EXPECT_EQ(std::to_string(row.ordinal), ordinal);
    std::string type(Lib::kValueTypeNames.name(static_cast<std::uint64_t>(row.valueType)));
    EXPECT_EQ(type.substr(0, type.find("_t")), signal.type);
    EXPECT_EQ(row.unit, signal.unit);
    EXPECT_EQ(row.resolution, std::stod(signal.resolution));
    EXPECT_EQ(row.count, 1U);
    EXPECT_FALSE(row.isArray);
    EXPECT_THAT(row.description, testing::MatchesRegex("..+\\."));
    const bool ownText = !quon && signal.name == "PTPStatus";
    if (!signal.description.empty() && !ownText) {
      EXPECT_EQ(row.description, signal.description);
    }
    if (!signal.group.empty()) {
      EXPECT_TRUE(wantsOf(table, signal.name) == wantsOf(table, signal.group));
    }
  }
  EXPECT_EQ(known, rows.size());
  EXPECT_EQ(known, quon ? 694U : 647U);
}

INSTANTIATE_TEST_SUITE_P(Protocols, NavTablesTest, testing::Bool(),
                         [](const auto& protocol) { return protocol.param ? "Quon" : "Dask"; });

TEST(NavTableTest, GivesDisplayNumbersAndTexts) {
  const auto rows = listingOf(StaticAccessQuon::table());
  struct Dial {
    const char* name;
    int decimals;
    double low, high, start, sweep;
  };
  for (const Dial& dial :
       {Dial{"Lat", 3, -90, 90, 270, -180}, Dial{"Lon", 3, -180, 180, 90, 360}, Dial{"Alt", -1, 0, 0, 225, 270},
        Dial{"Vl", 3, -50, 50, 112.5, 315}, Dial{"Vd", 3, -50, 50, 67.5, -315}, Dial{"Speed3dAcc", 3, 0, 50, 234, -288},
        Dial{"Heading", 3, 0, 360, 90, -360}, Dial{"Pitch", 3, -16, 16, 324, -288}, Dial{"Roll", 3, -16, 16, 234, -288},
        Dial{"GpsExt1_Type", 0, 0, 0, 225, 270}}) {
    const SignalInfo& row = rows.at(dial.name);
    EXPECT_EQ(row.decimals, dial.decimals) << dial.name;
    EXPECT_EQ((std::vector{row.rangeLow, row.rangeHigh, row.dialStart, row.dialSweep}),
              (std::vector{dial.low, dial.high, dial.start, dial.sweep}))
        << dial.name;
  }
  const auto text = [&](const char* name, auto value) {
    Sample sample;
    sample.set(value);
    const SignalInfo& row = rows.at(name);
    return row.valueText == nullptr ? "none" : row.valueText(sample, row);
  };
  EXPECT_EQ(text("GpsInt2_PosMode", std::uint8_t{24}), "hqInteger");
  EXPECT_EQ(text("OptionSer3", std::uint8_t{7}), "DASK");
  EXPECT_EQ(text("Nano", std::int64_t{0}), "1980-01-06 00:00:00.000");
  EXPECT_EQ(text("NanoCalibration", std::int64_t{0}), "1980-01-06");
  EXPECT_EQ(text("NanoFromInit", std::int64_t{1'000'000}), "+000 00:00:00.001");
  EXPECT_EQ(text("WiFiIPAddress", std::uint32_t{0x0100A8C0}), "192.168.0.1");
  EXPECT_EQ(text("DevID", std::uint64_t{0x3262}), "b2");
  EXPECT_EQ(text("Lat", 1.0), "none");
}

TEST(NavTableTest, ReachesTheFieldsOfBlocks) {
  Nav::NavRecord record;
  record.receivers[2].NumSats.value = 11;
  record.points[7].Slip.value = 2.5;
  Sample sample = StaticAccessQuon::table().findScalar("GpsInt2_NumSats")->read(&record);
  EXPECT_EQ(sample.asInteger(), 11);
  EXPECT_EQ(sample.source, 1U);
  sample = StaticAccessDask::table().findScalar("MeasPt8_Slip")->read(&record);
  EXPECT_EQ(sample.as<double>(), 2.5);
  EXPECT_EQ(sample.source, 2U);
}

}  // namespace
}  // namespace Kvex::Sto
