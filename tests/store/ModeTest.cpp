#include <gtest/gtest.h>

#include "store/Mode.h"

namespace Kvex::Sto {
namespace {

struct Record {
  std::array<Lib::NavField<float>, 12> floats;
  Lib::NavField<bool> flag;
};

SignalRow floatRow(std::uint32_t count) {
  SignalRow row;
  row.valueType = ValueType::Float;
  row.isArray = count > 1;
  row.count = count;
  row.accessor =
      accessorOf<Record>([](const Record& record, std::uint32_t) -> const auto& { return record.floats.front(); });
  return row;
}

SignalRow flagRow() {
  SignalRow row;
  row.valueType = ValueType::Bool;
  row.accessor = accessorOf<Record>([](const Record& record, std::uint32_t) -> const auto& { return record.flag; });
  return row;
}

TEST(ModeTest, AllStreamsShareTheColumnsOfTheDirectMode) {
  const SignalRow one = floatRow(1);
  const SignalRow twelve = floatRow(12);
  const SignalRow flag = flagRow();
  const Record first{};
  const Record second{};
  Mode mode(0, Mode::Requests::One);
  mode.addStream(true);
  mode.addStream(false);
  for (const Lib::Run run : Lib::kAllRuns) EXPECT_EQ(mode.columnCount(run.type, 0), 0U);
  mode.subscribe(0, one, &first);
  mode.subscribe(1, twelve, &second);
  mode.subscribe(1, flag, &second);
  mode.subscribe(0, one, &first);  // once is enough
  EXPECT_EQ(mode.columnCount(ValueType::Float, 0), 13U);
  EXPECT_EQ(mode.columnCount(ValueType::Float, 1), 13U);
  EXPECT_EQ(mode.columnCount(ValueType::Bool, 0), 1U);
  EXPECT_EQ(mode.columnCount(ValueType::Double, 0), 0U);
  EXPECT_EQ(mode.find(1, twelve)->position, 1U);
  EXPECT_EQ(mode.find(0, twelve), nullptr) << "another stream's signal";
  EXPECT_EQ(mode.columns(0)->of<float>()[12], &second.floats[11]);
  EXPECT_EQ(mode.rows(1).size(), 2U);
  mode.clear();
  EXPECT_EQ(mode.columnCount(ValueType::Float, 0), 0U);
  EXPECT_EQ(mode.find(1, twelve), nullptr);
}

TEST(ModeTest, RetainsByStream) {
  const SignalRow row = floatRow(2);
  const Record record{};
  Mode mode(1, Mode::Requests::PerStream);
  for (const bool kept : {true, false, true}) mode.addStream(kept);
  for (const std::uint32_t stream : {0U, 1U, 2U}) {
    mode.subscribe(stream, row, &record);
    EXPECT_EQ(mode.columnCount(ValueType::Float, stream), stream == 1 ? 0U : 2U);
    EXPECT_EQ(mode.find(stream, row)->request, stream);
  }
  EXPECT_EQ(mode.columnCount(ValueType::Float, UINT32_MAX), 0U);
}

TEST(ModeTest, GridOverASpan) {
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
