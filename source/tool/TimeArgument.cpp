#include "tool/TimeArgument.h"

#include <charconv>
#include <string>

namespace Kvex::Tool {

namespace {

constexpr int kNanoDigits = 9;
constexpr int kMaxDigits = 40;  // more than any time needs, and few enough that nothing below overflows

/// The whole text as an integer.
template <class Number>
std::optional<Number> parseInteger(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

std::optional<std::int64_t> nanosFromSeconds(std::string_view text) {
  int exponent = kNanoDigits;  // of ten, that takes the digits to nanoseconds
  if (const std::size_t mark = text.find_first_of("eE"); mark != std::string_view::npos) {
    std::string_view power = text.substr(mark + 1);
    if (power.starts_with("+")) power.remove_prefix(1);
    const auto number = parseInteger<std::int8_t>(power);
    if (!number || power.starts_with("+")) return std::nullopt;
    exponent += *number;
    text = text.substr(0, mark);
  }
  std::string digits;
  bool pointSeen = false;
  for (const char c : text) {
    if (c == '.' && !pointSeen) {
      pointSeen = true;
    } else if (isDigit(c)) {
      digits += c;
      if (pointSeen) --exponent;
    } else {
      return std::nullopt;
    }
  }
  if (digits.empty() || digits.size() > kMaxDigits) return std::nullopt;
  for (; exponent < 0 && digits.size() > 1 && digits.back() == '0'; ++exponent) digits.pop_back();
  if (digits.find_first_not_of('0') == std::string::npos) return 0;
  if (exponent < 0) return std::nullopt;
  digits.append(static_cast<std::size_t>(exponent), '0');
  return parseInteger<std::int64_t>(digits);
}

Nano TimeArgument::from(Nano start) const {
  if (!relative) return nanos;
  Nano time = 0;
  return __builtin_add_overflow(start, nanos, &time) ? INT64_MAX : time;
}

std::optional<TimeArgument> parseTimeArgument(std::string_view text) {
  if (text.starts_with('+')) {
    const auto seconds = nanosFromSeconds(text.substr(1));
    if (!seconds) return std::nullopt;
    return TimeArgument{*seconds, true};
  }
  if (const auto nanos = parseInteger<std::int64_t>(text)) return TimeArgument{*nanos};
  if (const auto nanos = nanoFromUtc(text)) return TimeArgument{*nanos};
  return std::nullopt;
}

}  // namespace Kvex::Tool
