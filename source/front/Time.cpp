#include <cstdio>
#include <kvex/Time.h>

#include "library/TimeUnits.h"

namespace Kvex {

namespace {

/// From 1970-01-01 to 1980-01-06.
constexpr std::int64_t kUnixSecondsOfGpsZero = 315'964'800;

struct SplitTime {
  std::int64_t seconds;  ///< Rounded toward the past.
  std::int64_t nanos;
};

SplitTime split(Nano time) {
  SplitTime result{time / kNanosPerSecond, time % kNanosPerSecond};
  if (result.nanos < 0) {
    result.nanos += kNanosPerSecond;
    --result.seconds;
  }
  return result;
}

}  // namespace

std::string utcText(Nano time) {
  const SplitTime parts = split(time);
  const Lib::CalendarTime utc = Lib::calendarFromSeconds(parts.seconds, true, true);
  char text[48];
  const int length = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%09dZ", utc.year, utc.month,
                                   utc.day, utc.hour, utc.minute, utc.second, static_cast<int>(parts.nanos));
  return {text, static_cast<std::size_t>(length)};
}

std::int64_t unixNanos(Nano time) {
  const Lib::LeapState leap = Lib::leapAt(split(time).seconds);
  const std::int64_t shift = kUnixSecondsOfGpsZero - leap.offset + (leap.inLeapSecond ? 1 : 0);
  std::int64_t result = 0;
  return __builtin_add_overflow(time, shift * kNanosPerSecond, &result) ? INT64_MAX : result;
}

std::optional<Nano> nanoFromUtc(std::string_view text) {
  return Lib::nanoFromUtcText(text);
}

}  // namespace Kvex
