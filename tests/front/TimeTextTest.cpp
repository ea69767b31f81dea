// Times and durations as people type them.

#include <gtest/gtest.h>
#include <kvex/Error.h>
#include <kvex/TimeText.h>

namespace Kvex {
namespace {

constexpr Nano kLast = INT64_MAX;
constexpr Nano kSecond = kNanosPerSecond;

TEST(DurationTest, IsReadExactly) {
  const struct {
    const char* text;
    std::optional<Nano> nanos;
  } cases[] = {
      // Seconds.
      {"0", 0},
      {"12.5", 12'500'000'000},
      {".25", 250'000'000},
      {"7.", 7 * kSecond},
      {"1e-9", 1},
      {"1E+2", 100 * kSecond},
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
      // Units.
      {"90s", 90 * kSecond},
      {"3m", 180 * kSecond},
      {"1h2m3.5s", 3723 * kSecond + 500'000'000},
      {"1.5h", 5400 * kSecond},
      {"2d", 172'800 * kSecond},
      {"1m250ms", 60 * kSecond + 250'000'000},
      {"106751d", kSecond * 86'400 * 106'751},
      {"106752d", {}},
      {"0.000001ms", 1},
      {"0.0000001ms", {}},
      {"3m1h", {}},
      {"1h1h", {}},
      {"1h30", {}},
      {"s", {}},
      {"h5s", {}},
      {"3min", {}},
      {"3 m", {}},
      {"3M", {}},
      {"1h-2m", {}},
      // As a clock shows them.
      {"3:00", 180 * kSecond},
      {"1:02:03", 3723 * kSecond},
      {"01:02:03.5", 3723 * kSecond + 500'000'000},
      {"90:00", 5400 * kSecond},
      {"3:5", {}},
      {"3:60", {}},
      {"1:60:00", {}},
      {"1:2:03", {}},
      {"1:02:03:04", {}},
      {":30", {}},
      {"3:", {}},
      {"3:00.", {}},
      {"3:00s", {}},
      {"1e3:00", {}},
      {"99999999999:00", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(durationFromText(c.text), c.nanos) << c.text;
}

TEST(TimeTextTest, IsATimeOfItsOwnOrADistance) {
  constexpr Span kFile{1'417'651'425'000'000'000, 1'417'651'485'000'000'000};
  const struct {
    const char* text;
    Nano time;
  } cases[] = {
      {"+10.5", kFile.start + 10'500'000'000},
      {"+1h2m3.5s", kFile.start + 3723 * kSecond + 500'000'000},
      {"+3:00", kFile.start + 180 * kSecond},
      {"+0", kFile.start},
      {"+9223372036", kLast},
      {"-10.5", kFile.end - 10'500'000'000},
      {"-1:02:03", kFile.end - 3723 * kSecond},
      {"-0", kFile.end},
      {"2024-12-08", 1'417'651'218'000'000'000},
      {"2024-12-08T00:03:27Z", kFile.start},
      {"2024-12-08T00:03:27", kFile.start},
      {"2024-12-08 00:03:27.5", kFile.start + 500'000'000},
      {"2024-12-08T02:03:27+02:00", kFile.start},
      {"2024-12-07T19:03:27.25-05:00", kFile.start + 250'000'000},
      {"2024-12-08 00:03", kFile.start - 27 * kSecond},
      {"2024-12-08T01:03+01:00", kFile.start - 27 * kSecond},
      {"1417651425000000001", kFile.start + 1},
      {"100000000000000000", 100'000'000'000'000'000},
  };
  for (const auto& c : cases) EXPECT_EQ(TimeText(c.text).in(kFile), c.time) << c.text;
  EXPECT_EQ(TimeText("-9223372036").in({0, -2 * kSecond}), INT64_MIN) << "no farther than 64 bits hold";
}

TEST(TimeTextTest, SaysWhatMayHaveBeenMeant) {
  const struct {
    const char* text;
    const char* hint;
  } cases[] = {
      {"180", "180 is no time; +180 is 180 seconds after the file's start"},
      {"0", "+0 is 0 seconds after"},
      {"1", "+1 is 1 second after"},
      {"12.25", "+12.25 is 12.25 seconds after"},
      {"3m", "+3m is 180 seconds after"},
      {"1:02:03", "+1:02:03 is 3723 seconds after"},
      {"99999999999999999", "GPS nanoseconds have 18 or 19 digits"},
      {"9223372036854775808", "GPS nanoseconds have 18 or 19 digits"},
      {"yesterday", "\"yesterday\" is no time; times are +90"},
      {"2024-02-30", "\"2024-02-30\" is no time"},
      {"2024-12-08T00:03:27+99", "is no time"},
      {"+", "is no time"},
      {"+-1", "is no time"},
      {"", "is no time"},
      {"2024-12-08T00:0", "is no time"},
  };
  for (const auto& c : cases) {
    try {
      TimeText{c.text};
      ADD_FAILURE() << c.text;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::InvalidArgument);
      EXPECT_NE(error.reason().find(c.hint), std::string::npos) << error.reason();
    }
  }
}

}  // namespace
}  // namespace Kvex
