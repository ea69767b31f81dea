#include <gtest/gtest.h>

#include "tool/TimeArgument.h"

namespace Kvex::Tool {

namespace {

constexpr Nano kLast = INT64_MAX;

TEST(TimeArgumentTest, ReadsSecondsExactly) {
  const struct {
    const char* text;
    std::optional<Nano> nanos;
  } cases[] = {
      {"0", 0},
      {"12.5", 12'500'000'000},
      {".25", 250'000'000},
      {"7.", 7'000'000'000},
      {"1e-9", 1},
      {"1E+2", 100'000'000'000},
      {"0.1000000000000", 100'000'000},
      {"0e99", 0},
      {"9223372036.854775807", kLast},
      {"9223372036.854775808", {}},
      {"0.0000000001", {}},
      {"1e-10", {}},
      {"1e127", {}},
      {"1e128", {}},
      {"", {}},
      {".", {}},
      {"-1", {}},
      {"+1", {}},
      {"1.2.3", {}},
      {"1e", {}},
      {"1e++2", {}},
      {"1 ", {}},
      {"0x10", {}},
      {"inf", {}},
      {"00000000000000000000000000000000000000001", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(nanosFromSeconds(c.text), c.nanos) << c.text;
}

TEST(TimeArgumentTest, ReadsEachFormOfATime) {
  constexpr Nano kStart = 1'417'651'425'000'000'000;
  const struct {
    const char* text;
    std::optional<Nano> time;  ///< In a file that starts at `kStart`.
  } cases[] = {
      {"1417651425000000001", 1'417'651'425'000'000'001},
      {"-5", -5},
      {"+10.5", kStart + 10'500'000'000},
      {"+0", kStart},
      {"+9223372036", kLast},
      {"2024-12-08", 1'417'651'218'000'000'000},
      {"2024-12-08T00:03:27Z", kStart},
      {"2024-12-08 00:03:27.5", kStart + 500'000'000},
      {"2024-02-30", {}},
      {"yesterday", {}},
      {"+", {}},
      {"+-1", {}},
      {"12.5", {}},
      {"", {}},
      {"9223372036854775808", {}},
  };
  for (const auto& c : cases) {
    std::optional<Nano> time;
    if (const auto argument = parseTimeArgument(c.text)) time = argument->from(kStart);
    EXPECT_EQ(time, c.time) << c.text;
  }
}

TEST(TimeArgumentTest, SecondsCountFromStartsBeforeGpsTimeToo) {
  EXPECT_EQ(parseTimeArgument("+1")->from(-5'000'000'000), -4'000'000'000);
  EXPECT_EQ(parseTimeArgument("+9223372036")->from(-1), 9'223'372'035'999'999'999);
}

}  // namespace

}  // namespace Kvex::Tool
