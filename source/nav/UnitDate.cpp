#include "nav/UnitDate.h"

#include "library/TimeUnits.h"
#include "library/Wrapping.h"

namespace Kvex::Nav {

namespace {

UnitDate unitDate(const Lib::CalendarDate& date) {
  const std::int64_t seconds =
      Lib::secondsFromCalendar({.year = date.year, .month = date.month, .day = date.day}, /*applyLeap=*/true);
  const bool printable = date.year <= 9999 && date.month >= 0 && date.month <= 99 && date.day >= 0 && date.day <= 99;
  const std::int32_t digits = printable ? date.year * 10'000 + date.month * 100 + date.day : 0;
  return {Lib::wrappingMultiply(seconds, Lib::kNanosPerSecond), static_cast<std::uint32_t>(digits)};
}

}  // namespace

std::optional<UnitDate> firmwareDate(std::string_view deviceId) {
  if (deviceId.size() < 6) return std::nullopt;
  const auto digit = [&](std::size_t at) { return static_cast<std::uint8_t>(deviceId[at]) - '0'; };
  const auto pair = [&](std::size_t at) { return digit(at) * 10 + digit(at + 1); };
  return unitDate({.year = 2000 + pair(0), .month = pair(2), .day = pair(4)});
}

UnitDate dateOfDay(std::int32_t days) {
  return unitDate(Lib::calendarFromDays(days));
}

}  // namespace Kvex::Nav
