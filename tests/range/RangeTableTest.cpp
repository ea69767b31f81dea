#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

#include "library/Enumerations.h"
#include "range/RangeRecord.h"
#include "range/RangeTable.h"
#include "range/RangeWantTree.h"
#include "support/Golden.h"

namespace Kvex::Sto {
namespace {

/// Numbers of the wants that a row sets: 1000 for each target ahead of its groups, 0 for the body.
std::set<std::size_t> wantsOf(const SignalRow& row) {
  Rng::RangeWantTree wants;
  wants.wantAll(false);
  row.want(&wants, row.blockIndex);
  std::set<std::size_t> set;
  for (std::size_t i = 0; i < static_cast<std::size_t>(Rng::BodyGroup::Count); ++i) {
    if (wants.body[static_cast<Rng::BodyGroup>(i)]) set.insert(i);
  }
  for (std::size_t target = 0; target < Rng::kTargets; ++target) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(Rng::TargetGroup::Count); ++i) {
      if (wants.targets[target][static_cast<Rng::TargetGroup>(i)]) set.insert(1000 * (target + 1) + i);
    }
  }
  return set;
}

/// A row of the table in the words of the golden list, and its wants.
struct ListedRow {
  std::string text;
  std::string description;
  std::set<std::size_t> wants;
};

std::map<std::int32_t, ListedRow> listedRows() {
  std::map<std::int32_t, ListedRow> rows;
  rangeTable().forEach([&](const SignalRow& row) {
    const std::string& name = row.name;
    std::string type(Lib::kValueTypeNames.name(static_cast<std::uint64_t>(row.valueType)));
    if (type.ends_with("_t")) type.resize(type.size() - 2);
    std::ostringstream text;
    text << name << '\t' << type << '\t' << row.count << '\t' << row.unit << '\t' << row.resolution;
    rows[row.ordinal] = {text.str(), row.description, wantsOf(row)};
    EXPECT_EQ(row.count > 1, row.isArray) << name;
    EXPECT_EQ(row.decimals, row.resolution == 1 ? 0 : -1) << name;
    EXPECT_EQ(row.rangeLow, 0) << name;
    EXPECT_EQ(row.dialStart, 225) << name;
  });
  return rows;
}

TEST(RangeTableTest, RowsAreAsListed) {
  EXPECT_EQ(rangeTable().count(), 818U);
  const std::map<std::int32_t, ListedRow> rows = listedRows();
  std::map<std::string, std::set<std::size_t>> groups;
  std::ifstream list(Support::dataPath("range_table.tsv"));
  std::size_t listed = 0;
  for (std::string line; std::getline(list, line);) {
    std::istringstream columns(line);
    std::int32_t ordinal = 0;
    std::string row, group, description;
    columns >> ordinal >> std::ws;
    for (int i = 0; i < 5; ++i) {
      std::string column;
      std::getline(columns, column, '\t');
      row += (i > 0 ? "\t" : "") + column;
    }
    std::getline(columns, group, '\t');
    std::getline(columns, description);
    const bool ofTarget = row.starts_with("Target1_");
    for (std::int32_t target = 0; target < (ofTarget ? 4 : 1); ++target) {
      ++listed;
      const ListedRow& shown = rows.at(ordinal + target);
      if (ofTarget) row[6] = static_cast<char>('1' + target);
      EXPECT_EQ(shown.text, row);
      if (!description.empty()) {
        EXPECT_EQ(shown.description, description) << row;
      }
      EXPECT_TRUE(shown.description.ends_with('.')) << row;
      // Rows of one group set one and the same want, and no other group sets it.
      EXPECT_EQ(shown.wants.size(), 1U) << row;
      const std::string key = group + std::to_string(target);
      EXPECT_EQ(groups.emplace(key, shown.wants).first->second, shown.wants) << row;
    }
  }
  EXPECT_EQ(listed, 818U);
  std::set<std::set<std::size_t>> distinct;
  for (const auto& [group, wants] : groups) distinct.insert(wants);
  EXPECT_EQ(distinct.size(), groups.size());
  EXPECT_EQ(groups.size(), 4U * 41 + 63);
}

TEST(RangeTableTest, TargetRowsReadTheirOwnBlock) {
  Rng::RangeRecord record;
  for (std::size_t target = 0; target < Rng::kTargets; ++target) {
    record.targets[target].RangeLon = {.flags = 0, .value = static_cast<double>(target)};
    record.targets[target].PolygonPointsLon[23] = {.flags = 0, .value = 10.0 + static_cast<double>(target)};
    const std::string prefix = "Target" + std::to_string(target + 1) + "_";
    const SignalRow* row = rangeTable().findScalar(prefix + "RangeLon");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->source, 1U);
    EXPECT_EQ(row->read(&record).as<double>(), target);
    const SignalRow* points = rangeTable().find({ValueType::Double, Shape::Array}, prefix + "PolygonPointsLon");
    EXPECT_EQ(points->fields<double>(&record)[23].value, 10 + target);
  }
}

TEST(RangeTableTest, ValueTexts) {
  struct Case {
    const char* name;
    std::uint64_t raw;
    const char* text;
  };
  const Case cases[] = {
      {"Target2_ModeStatus", 2, "Mobile Target"},
      {"Hunter_PosMode", 6, "RTK Integer"},
      {"Target4_MeasPlane", 1, "Hunter Plane"},
      {"Hunter_AddressIPv4", 0x0A02A8C0, "192.168.2.10"},
      {"Hunter_AddressFile", 0x746E7568, "hunt"},
      {"NanoFirmware", 0, "1980-01-06 00:00:00.000"},
      {"NanoFromStart", 90061001000000, "+001 01:01:01.001"},
  };
  for (const Case& c : cases) {
    const SignalRow* row = rangeTable().findScalar(c.name);
    ASSERT_NE(row, nullptr) << c.name;
    Lib::withType(row->valueType, [&](auto tag) {
      Sample sample;
      sample.set(static_cast<typename decltype(tag)::Type>(c.raw));
      EXPECT_EQ(row->valueText(sample, *row), c.text) << c.name;
    });
  }
}

}  // namespace
}  // namespace Kvex::Sto
