#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <random>
#include <string_view>
#include <tuple>

#include "library/TimeUnits.h"

namespace Kvex::Lib {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(TimeUnitsTest, LeapTableHoldsThePublishedSeconds) {
  struct Case {
    std::size_t row;
    LeapSecond expected;
  };
  const Case cases[] = {
      {0, {{1972, 6, 30}, -8, -237168009}},  {1, {{1972, 12, 31}, -7, -221270408}},
      {7, {{1978, 12, 31}, -1, -31968002}},  {8, {{1979, 12, 31}, 0, -432001}},
      {9, {{1981, 6, 30}, 1, 46828800}},     {10, {{1982, 6, 30}, 2, 78364801}},
      {25, {{2015, 6, 30}, 17, 1119744016}}, {26, {{2016, 12, 31}, 18, 1167264017}},
  };
  ASSERT_EQ(leapSeconds().size(), 27U);
  for (const auto& [row, expected] : cases) {
    const LeapSecond& found = leapSeconds()[row];
    EXPECT_EQ(found.date, expected.date);
    EXPECT_EQ(found.offset, expected.offset);
    EXPECT_EQ(found.gpsSeconds, expected.gpsSeconds);
  }
}

TEST(TimeUnitsTest, OffsetChangesAtEachLeapSecond) {
  for (const LeapSecond& leap : leapSeconds()) {
    const std::int64_t t = leap.gpsSeconds;
    for (const std::int64_t step : {-1, 0, 1}) {
      const LeapState state = leapAt(t + step);
      EXPECT_EQ(state.inLeapSecond, step == 0) << t;
      EXPECT_EQ(state.offset, step < 0 ? leap.offset - 1 : leap.offset) << t;
    }
    const std::int64_t midnight = t - leap.offset + 1;
    EXPECT_EQ(midnight % 86400, 0);
    EXPECT_EQ(leapAtUtc(midnight - 1), leap.offset - 1);
    EXPECT_EQ(leapAtUtc(midnight), leap.offset);

    CalendarTime expected{leap.date.year, leap.date.month, leap.date.day, 23, 59, 60};
    EXPECT_EQ(calendarFromSeconds(t, true, true), expected);
    expected.second = 59;
    EXPECT_EQ(calendarFromSeconds(t, false, true), expected);
    EXPECT_EQ(calendarFromSeconds(t - 1, true, true), expected);
  }
  EXPECT_EQ(leapAt(kMin).offset, -9);
  EXPECT_EQ(leapAt(kMax).offset, 18);
}

// Every second has a calendar time of its own, and that leads back to it: across all leap seconds, and over all years
// that a calendar time can hold.
TEST(TimeUnitsTest, CalendarAndSecondsAreInverses) {
  const auto expectInverse = [](std::int64_t t) {
    EXPECT_EQ(secondsFromCalendar(calendarFromSeconds(t, true, true), true), t);
    EXPECT_EQ(secondsFromCalendar(calendarFromSeconds(t, false, false), false), t);
  };
  for (const LeapSecond& leap : leapSeconds()) {
    for (std::int64_t step = -30; step <= 30; ++step) expectInverse(leap.gpsSeconds + step);
  }
  std::mt19937_64 random(1);
  for (const std::int64_t reach : {std::int64_t{400'000'000}, std::int64_t{10'000'000'000}, std::int64_t{1} << 55}) {
    std::uniform_int_distribution<std::int64_t> seconds(-reach, reach);
    for (int i = 0; i < 3000; ++i) expectInverse(seconds(random));
  }
}

TEST(TimeUnitsTest, DaysFollowTheGregorianCalendar) {
  struct Case {
    std::int64_t days;
    CalendarDate date;
    const char* text;
  };
  const Case cases[] = {
      {0, {1980, 1, 6}, "1980-01-06"},         {-1, {1980, 1, 5}, "1980-01-05"},
      {26, {1980, 2, 1}, "1980-02-01"},        {59, {1980, 3, 5}, "1980-03-05"},
      {366, {1981, 1, 6}, "1981-01-06"},       {7359, {2000, 2, 29}, "2000-02-29"},
      {-29166, {1900, 2, 28}, "1900-02-28"},   {-29165, {1900, 3, 1}, "1900-03-01"},
      {-723125, {0, 3, 1}, "0000-03-01"},      {-723492, {-1, 2, 28}, "-001-02-28"},
      {2929335, {10000, 4, 5}, "10000-04-05"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(calendarFromDays(one.days), one.date) << one.days;
    EXPECT_EQ(dateTextFromDays(one.days), one.text);
    EXPECT_EQ(secondsFromCalendar({one.date.year, one.date.month, one.date.day}, false), one.days * 86400);
  }
  EXPECT_EQ(calendarFromDays(kMin).year, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(calendarFromSeconds(kMax, true, true).year, std::numeric_limits<std::int32_t>::max());
}

TEST(TimeUnitsTest, FieldsOutsideTheirRangesCarryOver) {
  const auto days = [](std::int32_t year, std::int32_t month, std::int32_t day) {
    return secondsFromCalendar({.year = year, .month = month, .day = day}, false) / 86400;
  };
  EXPECT_EQ(days(2024, 13, 1), days(2025, 1, 1));
  EXPECT_EQ(days(2024, 0, 1), days(2023, 12, 1));
  EXPECT_EQ(days(2024, -11, 1), days(2023, 1, 1));
  EXPECT_EQ(days(2024, 3, 0), days(2024, 2, 29));
  EXPECT_EQ(days(2024, 1, 366), days(2024, 12, 31));
  for (const std::int32_t wild : {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
    secondsFromCalendar({wild, wild, wild, wild, wild, wild}, true);  // Must not overflow.
  }
}

TEST(TimeUnitsTest, TextsOfTimes) {
  struct Case {
    Nano nano;
    const char* text;
  };
  const Case cases[] = {
      {0, "1980-01-06 00:00:00.000"},
      {-1, "1980-01-05 23:59:59.999"},
      {1'167'264'016'999'999'999, "2016-12-31 23:59:59.999"},
      {1'167'264'017'500'000'000, "2016-12-31 23:59:60.500"},
      {1'167'264'018'000'000'000, "2017-01-01 00:00:00.000"},
      {kMin, "1687-09-26 00:12:52.145"},
      {kMax, "2272-04-15 23:46:58.854"},
  };
  for (const auto& [nano, text] : cases) {
    EXPECT_EQ(dateTimeText(nano), text);
    EXPECT_EQ(dateText(nano), std::string_view(text).substr(0, 10));
  }
  const CalendarTime time = calendarFromNano(1'001'002'003);
  EXPECT_EQ(std::tie(time.second, time.millisecond, time.microsecond, time.nanosecond), std::tuple(1, 1, 2, 3));
}

TEST(TimeUnitsTest, TextsOfSpans) {
  struct Case {
    std::int64_t nanos;
    const char* text;
  };
  const Case cases[] = {
      {0, " 000 00:00:00.000"},          {90'061'001'000'000, "+001 01:01:01.001"},
      {-1'000'000, "-000 00:00:00.001"}, {999'999, "+000 00:00:00.000"},
      {kMax, "+106751 23:47:16.854"},    {kMin, "-106751 23:47:16.854"},
  };
  for (const auto& [nanos, text] : cases) EXPECT_EQ(spanText(nanos), text);
}

TEST(TimeUnitsTest, ReadsTheTimesThatPeopleType) {
  struct Case {
    const char* text;
    std::optional<Nano> expected;
  };
  const Case cases[] = {
      {"1980-01-06", 0},
      {"2017-01-01T00:00:00Z", 1'167'264'018'000'000'000},
      {"2016-12-31 23:59:60.5", 1'167'264'017'500'000'000},
      {"2017-01-01T00:00:00.000000001", 1'167'264'018'000'000'001},
      {"1979-12-31T23:59:60.25Z", -432'000'750'000'000},
      {"1688-01-01", -9'214'992'009'000'000'000},
      {"2271-12-31T23:59:59.999999999Z", 9'214'214'417'999'999'999},
      // With an offset.
      {"2017-01-01T02:00:00+02:00", 1'167'264'018'000'000'000},
      {"2016-12-31T18:29:59.5-0530", 1'167'264'016'500'000'000},
      {"2017-01-01T00:59:60+01", 1'167'264'017'000'000'000},
      {"2017-01-01 01:00:00+01", 1'167'264'018'000'000'000},
      // Never was.
      {"2023-02-29", {}},
      {"2024-13-01", {}},
      {"2024-00-10", {}},
      {"2024-12-03T24:00:00", {}},
      {"2024-12-03T23:60:00", {}},
      {"2024-12-31T23:59:60", {}},
      {"2016-12-31T23:59:61", {}},
      {"2016-12-31T22:59:60", {}},
      {"2016-12-31T23:59:60+01:00", {}},
      {"2023-02-29T00:00:00-23:00", {}},
      // No such form.
      {"", {}},
      {"2024-12-3", {}},
      {"2024-12-03+01:00", {}},
      {"2024-12-03T23:43:45+1", {}},
      {"2024-12-03T23:43:45+24:00", {}},
      {"2024-12-03T23:43:45+01:60", {}},
      {"2024-12-03T23:43:45+01:", {}},
      {"2024-12-03T23:43:45+01:00Z", {}},
      {"2024-12-03T", {}},
      {"2024-12-03Z", {}},
      {"2024-12-03T23:43", {}},
      {"2024-12-03T23:43:45.", {}},
      {"2024-12-03T23:43:45.0123456789", {}},
      {"2024-12-03T23:43:45ZZ", {}},
      {"2024-12-03T23:43:45 ", {}},
      {"-024-12-03", {}},
      // Beyond what nanoseconds hold.
      {"1600-01-01", {}},
      {"2300-01-01", {}},
      {"9999-12-31T23:59:59Z", {}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(nanoFromUtcText(text), expected) << text;
}

}  // namespace
}  // namespace Kvex::Lib
