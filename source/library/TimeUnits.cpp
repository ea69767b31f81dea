#include "library/TimeUnits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <limits>

namespace Kvex::Lib {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kYearsPerEra = 400;
constexpr std::int64_t kDaysPerEra = 146'097;  // The Gregorian calendar repeats after 400 years.
constexpr std::int32_t kOffsetBeforeFirstLeap = -9;
constexpr std::chrono::sys_days kGpsZero{std::chrono::year{1980} / 1 / 6};

struct Quotient {
  std::int64_t whole;
  std::int64_t rest;  // 0 to below the divisor, also for a negative dividend.
};

constexpr Quotient divideFloor(std::int64_t dividend, std::int64_t divisor) {
  Quotient result{dividend / divisor, dividend % divisor};
  if (result.rest < 0) {
    --result.whole;
    result.rest += divisor;
  }
  return result;
}

// The calendar of <chrono> knows 16-bit years. Whole eras are taken off first, so that it sees 1980 to 2380 only.
constexpr std::int64_t daysFromDate(std::int64_t year, std::int64_t month, std::int64_t day) {
  const Quotient months = divideFloor(month - 1, 12);
  const Quotient eras = divideFloor(year + months.whole - 1980, kYearsPerEra);
  const std::chrono::sys_days firstOfMonth{std::chrono::year{static_cast<int>(1980 + eras.rest)} /
                                           static_cast<int>(months.rest + 1) / 1};
  return eras.whole * kDaysPerEra + (firstOfMonth - kGpsZero).count() + (day - 1);
}

consteval auto makeLeapTable() {
  constexpr CalendarDate kDates[] = {
      {1972, 6, 30},  {1972, 12, 31}, {1973, 12, 31}, {1974, 12, 31}, {1975, 12, 31}, {1976, 12, 31}, {1977, 12, 31},
      {1978, 12, 31}, {1979, 12, 31}, {1981, 6, 30},  {1982, 6, 30},  {1983, 6, 30},  {1985, 6, 30},  {1987, 12, 31},
      {1989, 12, 31}, {1990, 12, 31}, {1992, 6, 30},  {1993, 6, 30},  {1994, 6, 30},  {1995, 12, 31}, {1997, 6, 30},
      {1998, 12, 31}, {2005, 12, 31}, {2008, 12, 31}, {2012, 6, 30},  {2015, 6, 30},  {2016, 12, 31},
  };
  std::array<LeapSecond, std::size(kDates)> table{};
  std::int32_t offset = kOffsetBeforeFirstLeap;
  auto* entry = table.data();
  for (const CalendarDate& date : kDates) {
    ++offset;
    const std::int64_t lastSecondOfDay = (daysFromDate(date.year, date.month, date.day) + 1) * kSecondsPerDay - 1;
    *entry++ = {date, offset, lastSecondOfDay + offset};
  }
  return table;
}

constexpr auto kLeapTable = makeLeapTable();

// The absolute value, which for the smallest number only an unsigned type holds.
constexpr std::uint64_t magnitudeOf(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return value < 0 ? 0 - bits : bits;
}

// Appends a number in decimal, filled with zeros behind a minus sign to at least `width` characters.
void appendPadded(std::string& text, std::int64_t value, int width) {
  std::array<char, 24> digits;
  const char* const end = std::to_chars(digits.begin(), digits.end(), magnitudeOf(value)).ptr;
  const std::ptrdiff_t length = end - digits.data();
  const std::ptrdiff_t filled = width - (value < 0 ? 1 : 0);
  if (value < 0) text += '-';
  if (length < filled) text.append(static_cast<std::size_t>(filled - length), '0');
  text.append(digits.data(), static_cast<std::size_t>(length));
}

void appendDate(std::string& text, const CalendarDate& date) {
  appendPadded(text, date.year, 4);
  text += '-';
  appendPadded(text, date.month, 2);
  text += '-';
  appendPadded(text, date.day, 2);
}

void appendTime(std::string& text, std::int64_t hour, std::int64_t minute, std::int64_t second,
                std::int64_t millisecond) {
  appendPadded(text, hour, 2);
  text += ':';
  appendPadded(text, minute, 2);
  text += ':';
  appendPadded(text, second, 2);
  text += '.';
  appendPadded(text, millisecond, 3);
}

constexpr std::size_t kTextLength = 32;  // Room for the usual lengths of all the texts.

// Takes fields of digits and single characters off the front of a text.
class TextReader {
 public:
  explicit TextReader(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }

  bool take(char expected) {
    if (rest_.empty() || rest_.front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // As many digits as stand there, up to `most`. False if there are fewer than `fewest`.
  bool takeDigits(std::int32_t& number, std::size_t fewest, std::size_t most, std::size_t* count = nullptr) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t length = 0;
    number = 0;
    for (; length < most && length < rest_.size() && isDigit(rest_[length]); ++length) {
      number = number * 10 + (rest_[length] - '0');
    }
    rest_.remove_prefix(length);
    if (count != nullptr) *count = length;
    return length >= fewest;
  }

 private:
  std::string_view rest_;
};

// "Z", or "+hh", "+hhmm" or "+hh:mm" with either sign, by which a time of day is ahead of UTC; or nothing, which is
// UTC.
bool readOffset(TextReader& reader, std::int32_t& minutes) {
  if (reader.atEnd() || reader.take('Z')) return true;
  const bool ahead = reader.take('+');
  if (!ahead && !reader.take('-')) return false;
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  if (!reader.takeDigits(hour, 2, 2) || hour > 23) return false;
  const bool colon = reader.take(':');
  if ((colon || !reader.atEnd()) && (!reader.takeDigits(minute, 2, 2) || minute > 59)) return false;
  minutes = (ahead ? 1 : -1) * (hour * 60 + minute);
  return true;
}

// "hh:mm:ss[.fraction]" and the offset to the end of the text.
bool readTimeOfDay(TextReader& reader, CalendarTime& time, std::int32_t& nanos, std::int32_t& offsetMinutes) {
  if (!reader.takeDigits(time.hour, 2, 2) || !reader.take(':') || !reader.takeDigits(time.minute, 2, 2) ||
      !reader.take(':') || !reader.takeDigits(time.second, 2, 2)) {
    return false;
  }
  if (reader.take('.')) {
    std::size_t digits = 0;
    if (!reader.takeDigits(nanos, 1, 9, &digits)) return false;
    for (; digits < 9; ++digits) nanos *= 10;
  }
  return readOffset(reader, offsetMinutes) && reader.atEnd();
}

// The UTC of a time of day that is ahead of it; none for a date or time that does not exist. The second 60 stays, so
// that it is for the caller to see whether there was one.
std::optional<CalendarTime> utcOf(CalendarTime time, std::int32_t offsetMinutes) {
  const std::int32_t excess = std::max(time.second - 59, 0);
  time.second -= excess;
  const std::int64_t seconds = secondsFromCalendar(time, false);
  if (calendarFromSeconds(seconds, false, false) != time) return std::nullopt;
  CalendarTime utc = calendarFromSeconds(seconds - std::int64_t{offsetMinutes} * 60, false, false);
  utc.second += excess;
  return utc;
}

}  // namespace

std::span<const LeapSecond> leapSeconds() {
  return kLeapTable;
}

LeapState leapAt(std::int64_t gpsSeconds) {
  // Newest first: a time of today is answered by the first comparison.
  for (auto entry = kLeapTable.rbegin(); entry != kLeapTable.rend(); ++entry) {
    if (gpsSeconds >= entry->gpsSeconds) return {gpsSeconds == entry->gpsSeconds, entry->offset};
  }
  return {false, kOffsetBeforeFirstLeap};
}

std::int32_t leapAtUtc(std::int64_t utcSeconds) {
  for (auto entry = kLeapTable.rbegin(); entry != kLeapTable.rend(); ++entry) {
    const std::int64_t midnight = entry->gpsSeconds - entry->offset + 1;
    if (utcSeconds >= midnight) return entry->offset;
  }
  return kOffsetBeforeFirstLeap;
}

CalendarDate calendarFromDays(std::int64_t days) {
  const Quotient eras = divideFloor(days, kDaysPerEra);
  const std::chrono::year_month_day date{kGpsZero + std::chrono::days{eras.rest}};
  using Year = std::numeric_limits<std::int32_t>;
  const std::int64_t year = static_cast<int>(date.year()) + eras.whole * kYearsPerEra;
  return {static_cast<std::int32_t>(std::clamp<std::int64_t>(year, Year::min(), Year::max())),
          static_cast<std::int32_t>(static_cast<unsigned>(date.month())),
          static_cast<std::int32_t>(static_cast<unsigned>(date.day()))};
}

CalendarTime calendarFromNano(Nano nano) {
  const Quotient seconds = divideFloor(nano, kNanosPerSecond);
  CalendarTime result = calendarFromSeconds(seconds.whole, true, true);
  result.millisecond = static_cast<std::int32_t>(seconds.rest / 1'000'000);
  result.microsecond = static_cast<std::int32_t>(seconds.rest / 1'000 % 1'000);
  result.nanosecond = static_cast<std::int32_t>(seconds.rest % 1'000);
  return result;
}

CalendarTime calendarFromSeconds(std::int64_t gpsSeconds, bool showLeap, bool applyLeap) {
  const LeapState leap = leapAt(gpsSeconds);
  // The offset is negative at the low end and positive at the high end of the range, so that this cannot overflow.
  const Quotient days = divideFloor(gpsSeconds - (applyLeap ? leap.offset : 0), kSecondsPerDay);
  const CalendarDate date = calendarFromDays(days.whole);
  const auto secondOfDay = static_cast<std::int32_t>(days.rest);
  const std::int32_t leapSecond = showLeap && leap.inLeapSecond ? 1 : 0;
  return {.year = date.year,
          .month = date.month,
          .day = date.day,
          .hour = secondOfDay / 3600,
          .minute = secondOfDay / 60 % 60,
          .second = secondOfDay % 60 + leapSecond};
}

std::int64_t secondsFromCalendar(const CalendarTime& calendar, bool applyLeap) {
  std::int64_t second = calendar.second;
  std::int64_t excess = 0;
  if (applyLeap && second >= 60) {
    excess = second - 59;
    second = 59;
  }
  const std::int64_t utcSeconds = daysFromDate(calendar.year, calendar.month, calendar.day) * kSecondsPerDay +
                                  std::int64_t{calendar.hour} * 3600 + std::int64_t{calendar.minute} * 60 + second;
  return utcSeconds + (applyLeap ? leapAtUtc(utcSeconds) : 0) + excess;
}

std::string dateTimeText(Nano nano) {
  const CalendarTime time = calendarFromNano(nano);
  std::string text;
  text.reserve(kTextLength);
  appendDate(text, {time.year, time.month, time.day});
  text += ' ';
  appendTime(text, time.hour, time.minute, time.second, time.millisecond);
  return text;
}

std::string dateText(Nano nano) {
  const CalendarTime time = calendarFromNano(nano);
  std::string text;
  appendDate(text, {time.year, time.month, time.day});
  return text;
}

std::string dateTextFromDays(std::int64_t days) {
  std::string text;
  appendDate(text, calendarFromDays(days));
  return text;
}

std::string spanText(std::int64_t nanos) {
  const auto millis = static_cast<std::int64_t>(magnitudeOf(nanos) / 1'000'000);
  const std::int64_t seconds = millis / 1'000;
  std::string text;
  text.reserve(kTextLength);
  text += nanos > 0 ? '+' : nanos < 0 ? '-' : ' ';
  appendPadded(text, seconds / kSecondsPerDay, 3);
  text += ' ';
  appendTime(text, seconds / 3600 % 24, seconds / 60 % 60, seconds % 60, millis % 1'000);
  return text;
}

std::optional<Nano> nanoFromUtcText(std::string_view text) {
  TextReader reader(text);
  CalendarTime time;
  std::int32_t nanos = 0;
  std::int32_t offsetMinutes = 0;
  if (!reader.takeDigits(time.year, 4, 4) || !reader.take('-') || !reader.takeDigits(time.month, 2, 2) ||
      !reader.take('-') || !reader.takeDigits(time.day, 2, 2)) {
    return std::nullopt;
  }
  if (!reader.atEnd()) {
    if (!reader.take('T') && !reader.take(' ')) return std::nullopt;
    if (!readTimeOfDay(reader, time, nanos, offsetMinutes)) return std::nullopt;
  }
  const std::optional<CalendarTime> utc = utcOf(time, offsetMinutes);
  if (!utc) return std::nullopt;
  const std::int64_t seconds = secondsFromCalendar(*utc, true);
  // A second 60 that was no leap second comes back as another.
  if (calendarFromSeconds(seconds, true, true) != *utc) return std::nullopt;
  constexpr std::int64_t kMaxSeconds = std::numeric_limits<Nano>::max() / kNanosPerSecond;
  if (seconds <= -kMaxSeconds || seconds >= kMaxSeconds) return std::nullopt;
  return seconds * kNanosPerSecond + nanos;
}

}  // namespace Kvex::Lib
