#include <gtest/gtest.h>
#include <string>

#include "tool/TimeWriter.h"

namespace Kvex::Tool {

namespace {

std::string written(TimeWriter& writer, Nano nano) {
  char room[TimeWriter::kRoom];
  return {room, writer.put(room, nano)};
}

TEST(TimeWriterTest, WritesEachForm) {
  constexpr Nano kStart = 1'417'651'425'000'000'000;
  const struct {
    TimeForm form;
    bool quoted;
    Nano time;
    const char* text;
  } cases[] = {
      {TimeForm::Gps, false, kStart, "1417651425000000000"},
      {TimeForm::Gps, true, -1, "-1"},
      {TimeForm::Gps, true, INT64_MIN, "-9223372036854775808"},
      {TimeForm::Elapsed, false, kStart, "0"},
      {TimeForm::Elapsed, true, kStart + 1'500'000'000, "1.5"},
      {TimeForm::Elapsed, false, kStart - 1, "-0.000000001"},
      {TimeForm::Elapsed, false, kStart + 100 * kNanosPerSecond, "100"},
      {TimeForm::Elapsed, false, INT64_MIN, "-10641023461.854775808"},
      {TimeForm::Utc, false, kStart, "2024-12-08T00:03:27.000000000Z"},
      {TimeForm::Utc, true, kStart + 1, "\"2024-12-08T00:03:27.000000001Z\""},
      {TimeForm::Utc, false, -1, "1980-01-05T23:59:59.999999999Z"},
      {TimeForm::Utc, false, INT64_MIN, "1687-09-26T00:12:52.145224192Z"},
  };
  for (const auto& c : cases) {
    TimeWriter writer(c.form, kStart, c.quoted);
    EXPECT_EQ(written(writer, c.time), c.text);
  }
}

TEST(TimeWriterTest, TimesOfOneSecondAndOfTheNextOneDiffer) {
  // The leap second at the end of 2016 and what lies about it, there and back.
  constexpr Nano kLeap = 1'167'264'017'000'000'000;
  TimeWriter writer(TimeForm::Utc, 0, false);
  for (const Nano time : {kLeap - 1, kLeap, kLeap + 999'999'999, kLeap + kNanosPerSecond, kLeap + 5, Nano{-1}, Nano{0},
                          Nano{1}, Nano{-kNanosPerSecond}}) {
    EXPECT_EQ(written(writer, time), utcText(time));
  }
  EXPECT_EQ(written(writer, kLeap), "2016-12-31T23:59:60.000000000Z");
}

}  // namespace

}  // namespace Kvex::Tool
