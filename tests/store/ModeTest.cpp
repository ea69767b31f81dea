#include <gtest/gtest.h>

#include "store/Mode.h"

namespace Kvex::Sto {
namespace {

ColumnListing listing(ValueType type, std::uint32_t count) {
  ColumnListing result;
  result.valueType = type;
  result.count = count;
  return result;
}

TEST(ModeTest, columnsGrowByType) {
  ModeDirect direct(0);
  for (const Lib::Run run : Lib::kAllRuns) EXPECT_EQ(direct.columnCount(run.type, 0), 0U);
  direct.addColumns(0, listing(ValueType::Float, 1));
  direct.columns.groups.of<float>().put(0, {.stamp = 5, .flags = 0, .value = 1});
  direct.addColumns(7, listing(ValueType::Float, 12));
  direct.addColumns(0, listing(ValueType::Bool, 1));
  EXPECT_EQ(direct.columnCount(ValueType::Float, 3), 13U);
  EXPECT_EQ(direct.columnCount(ValueType::Bool, 0), 1U);
  EXPECT_EQ(direct.columnCount(ValueType::Double, 0), 0U);
  EXPECT_EQ(direct.subscribed().size(), 3U);
  const auto& floats = direct.columns.groups.of<float>();  // all back to the start
  EXPECT_EQ(floats.flags, std::vector<std::uint8_t>(13, 128));
  EXPECT_EQ(floats.values, std::vector<float>(13));
  EXPECT_EQ(floats.times, std::vector<Lib::Nano>(13));
}

TEST(ModeTest, retainsByStream) {
  ModeRetain retain(1, {});
  retain.addStream(0, 1);
  retain.addStream(5, 5);  // no grid: an empty entry
  retain.addEmptyStream();
  retain.addStream(0, INT64_MAX);
  for (const std::uint32_t stream : {0U, 1U, 2U, 3U, 4U, UINT32_MAX}) {
    EXPECT_TRUE(retain.addColumns(stream, listing(ValueType::Int8, 2)));
    EXPECT_EQ(retain.columnCount(ValueType::Int8, stream), stream == 0 || stream == 3 ? 2U : 0U);
  }
  EXPECT_EQ(retain.subscribed().size(), 6U);
}

TEST(ModeTest, gridOverASpan) {
  constexpr Lib::Nano kSecond = Lib::kNanosPerSecond;
  constexpr Lib::Nano kWeeks = 1'417'651'425 * kSecond;
  const struct {
    Lib::Nano start;
    Lib::Nano end;
    RetainSettings settings;
    Lib::Nano firstBin;
    std::int64_t binWidth;
  } cases[] = {
      {10, 10, {}, 0, 0},
      {20, 10, {}, 0, 0},
      {-1, 10, {}, 0, 0},
      {0, 10, {16, 0}, 0, 0},
      {0, 10, {16, -5}, 0, 0},
      {12, 47, {2, 10}, 0, 20},        // 5 bins of 10 are one too many; 0 to 60 in 4 of 20, no room to shift
      {1012, 1021, {3, 10}, 980, 10},  // 1010 to 1030 leaves 60 over: half of it ahead
      {12, 21, {3, 10}, 10, 10},       // no room ahead of 10
      {kWeeks + 1, kWeeks + 10 * kSecond, {}, kWeeks - 32763 * kSecond, kSecond},
      {kWeeks, kWeeks + 65535 * kSecond, {}, kWeeks, kSecond},
      {0, INT64_MAX, {16, kSecond}, 0, 281476 * kSecond},  // 65537 bins of half as much
      {0, INT64_MAX, {30, 1}, 0, 17179869184},
  };
  for (const auto& expected : cases) {
    const RetainGrid grid = retainGrid(expected.start, expected.end, expected.settings);
    EXPECT_EQ(grid.firstBin, expected.firstBin) << expected.start << " to " << expected.end;
    EXPECT_EQ(grid.binWidth, expected.binWidth) << expected.start << " to " << expected.end;
  }
  for (const std::uint32_t bits : {63U, 64U, 127U, 128U, UINT32_MAX}) {
    EXPECT_EQ(retainGrid(kWeeks, INT64_MAX, {bits, kSecond}).binWidth, kSecond);
  }
}

}  // namespace
}  // namespace Kvex::Sto
