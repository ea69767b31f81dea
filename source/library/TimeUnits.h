#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "library/NavField.h"

namespace Kvex::Lib {

/// A date of the Gregorian calendar, which holds before its introduction too.
struct CalendarDate {
  std::int32_t year = 1980;
  std::int32_t month = 1;  ///< 1 to 12.
  std::int32_t day = 6;    ///< 1 to 31.

  auto operator<=>(const CalendarDate&) const = default;
};

/// A date and time of day.
struct CalendarTime {
  std::int32_t year = 1980;
  std::int32_t month = 1;  ///< 1 to 12.
  std::int32_t day = 6;    ///< 1 to 31.
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  std::int32_t second = 0;       ///< 0 to 60; 60 is a leap second.
  std::int32_t millisecond = 0;  ///< 0 to 999, and the same for the two below.
  std::int32_t microsecond = 0;
  std::int32_t nanosecond = 0;

  auto operator<=>(const CalendarTime&) const = default;
};

/// One leap second of UTC.
struct LeapSecond {
  CalendarDate date;        ///< The day that the leap second ended, 23:59:60 UTC.
  std::int32_t offset;      ///< GPS time minus UTC in seconds, from this leap second on.
  std::int64_t gpsSeconds;  ///< The GPS second that is the leap second itself.
};

/// All leap seconds, oldest first. None has been announced since that of 2016-12-31; a new one is one more row.
std::span<const LeapSecond> leapSeconds();

struct LeapState {
  bool inLeapSecond = false;
  std::int32_t offset = 0;  ///< GPS time minus UTC in seconds.
};

/// The state of UTC at a GPS second. Before the first leap second the offset is -9.
LeapState leapAt(std::int64_t gpsSeconds);

/// GPS time minus UTC for a count of UTC seconds since 1980-01-06 00:00:00 UTC in which leap seconds are not counted.
std::int32_t leapAtUtc(std::int64_t utcSeconds);

// The conversions take every 64-bit count: a year that 32 bits do not hold is brought to the nearest that they do.

/// The date of a count of days since 1980-01-06.
CalendarDate calendarFromDays(std::int64_t days);

/// The UTC date and time of a GPS time. Fractions of a second go toward the past: 1 ns before time zero is
/// 1980-01-05 23:59:59.999999999.
CalendarTime calendarFromNano(Nano nano);

/// The date and time of a count of GPS seconds: in UTC with `applyLeap`, else on the GPS time line itself. `showLeap`:
/// a leap second has the second 60, not the 59 of the second before.
CalendarTime calendarFromSeconds(std::int64_t gpsSeconds, bool showLeap, bool applyLeap);

/// The GPS seconds of a date and time, of UTC with `applyLeap`, else on the GPS time line itself; the fields below a
/// second are not read. The inverse of `calendarFromSeconds`. Fields outside their ranges carry over: month 13 is
/// January of the next year, day 0 the last of the month before.
std::int64_t secondsFromCalendar(const CalendarTime& calendar, bool applyLeap);

/// "2024-12-03 23:43:45.500": UTC, milliseconds cut.
std::string dateTimeText(Nano nano);

/// "2024-12-03": the UTC date.
std::string dateText(Nano nano);

/// "2024-12-03": the date of a count of days since 1980-01-06.
std::string dateTextFromDays(std::int64_t days);

/// "+001 01:01:01.001": a span of time in days, hours, minutes, seconds and milliseconds (cut), with its sign; the sign
/// of 0 is a blank.
std::string spanText(std::int64_t nanos);

/// Reads a UTC date, or date and time, as a person types it: "2024-12-03", "2024-12-03T23:43:45Z",
/// "2024-12-03 23:43:45.5". The fraction has up to nine digits, "Z" may be missing, and "T" may be a blank. In place of
/// "Z" there may be by how much the time of day is ahead of UTC: "+02:00", "-0530", "+01". The second 60 is taken where
/// there was a leap second. Gives none for any other text, for a date or time that does not exist and for one outside
/// the range of `Nano` (years 1688 to 2271 are inside).
std::optional<Nano> nanoFromUtcText(std::string_view text);

}  // namespace Kvex::Lib
