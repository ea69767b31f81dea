#include <gtest/gtest.h>

#include "tables/SignalTable.h"

namespace Kvex::Sto {
namespace {

SignalRow rowOf(const std::string& name) {
  SignalRow row;
  row.name = name;
  row.valueType = Lib::ValueType::Double;
  return row;
}

TEST(SignalTableTest, RefusesWhatItHasNoRoomFor) {
  SignalTable table;
  const std::string longest(SignalTable::kMaxText, 'n');
  EXPECT_TRUE(table.takesScalar(Lib::ValueType::Double, longest));
  EXPECT_TRUE(table.insert(rowOf(longest)));
  EXPECT_FALSE(table.takesScalar(Lib::ValueType::Double, longest));
  EXPECT_TRUE(table.takesScalar(Lib::ValueType::Int64, longest));
  EXPECT_FALSE(table.insert(rowOf(longest)));
  EXPECT_FALSE(table.takesScalar(Lib::ValueType::Double, longest + "n"));
  EXPECT_FALSE(table.insert(rowOf(longest + "n")));
  for (std::uint32_t i = 1; i < SignalTable::kMaxOrdinals; ++i) EXPECT_TRUE(table.insert(rowOf(std::to_string(i))));
  EXPECT_FALSE(table.takesScalar(Lib::ValueType::Double, "another"));
  EXPECT_FALSE(table.insert(rowOf("another")));
  EXPECT_EQ(table.count(), SignalTable::kMaxOrdinals);
}

TEST(SignalTableTest, CutsLongTextsAtACharacter) {
  const std::string full(SignalTable::kMaxText, 'x');
  const std::string degrees = full.substr(1) + "\xC2\xB0";
  SignalTable table;
  SignalRow row = rowOf("Name");
  row.unit = full;
  row.description = full + "x";
  row.table = degrees;
  ASSERT_TRUE(table.insert(row));
  const SignalRow* const found = table.findScalar("Name");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->unit, full);
  EXPECT_EQ(found->description, full);
  EXPECT_EQ(found->table, full.substr(1));
}

}  // namespace
}  // namespace Kvex::Sto
