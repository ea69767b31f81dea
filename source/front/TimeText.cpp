#include <array>
#include <charconv>
#include <kvex/Error.h>
#include <kvex/TimeText.h>

namespace Kvex {

namespace {

/// A number of this size without a sign is GPS nanoseconds: of March 1983 or later.
constexpr Nano kSmallestGpsNanos = 100'000'000'000'000'000;
/// Longer than any recording: who types such a number means a time of another kind.
constexpr Nano kLongestFile = 100'000'000 * kNanosPerSecond;
constexpr int kNanoDigits = 9;
constexpr std::size_t kMaxDigits = 40;  // more than any time needs, and few enough that nothing below overflows

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The whole text as an integer.
template <class Number>
std::optional<Number> parseInteger(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// A number in decimal times ten to the power of `exponent`, where that is an integer: "12.5", "1e-3".
std::optional<std::int64_t> parseScaled(std::string_view text, int exponent) {
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

/// Adds `nanos` times `factor`. False where 64 bits do not hold the sum.
bool add(Nano& sum, Nano nanos, std::int64_t factor) {
  return !__builtin_mul_overflow(nanos, factor, &nanos) && !__builtin_add_overflow(sum, nanos, &sum);
}

struct Unit {
  std::string_view name;
  int exponent;  ///< Of ten, and times the factor: nanoseconds.
  std::int64_t factor;
};

constexpr std::array<Unit, 5> kUnits{{{"d", kNanoDigits, 86'400},
                                      {"h", kNanoDigits, 3600},
                                      {"m", kNanoDigits, 60},
                                      {"s", kNanoDigits, 1},
                                      {"ms", 6, 1}}};

/// "1h2m3.5s".
std::optional<Nano> unitsDuration(std::string_view text) {
  Nano sum = 0;
  const Unit* next = kUnits.begin();  // units come from the largest to the smallest
  while (!text.empty()) {
    const std::size_t length = text.find_first_not_of("0123456789.eE+-");
    if (length == std::string_view::npos) return std::nullopt;
    const std::string_view number = text.substr(0, length);
    text.remove_prefix(length);
    const std::string_view name = text.substr(0, text.find_first_of("0123456789."));
    text.remove_prefix(name.size());
    while (next != kUnits.end() && next->name != name) ++next;
    if (next == kUnits.end()) return std::nullopt;
    const auto nanos = parseScaled(number, next->exponent);
    if (!nanos || !add(sum, *nanos, next->factor)) return std::nullopt;
    ++next;
  }
  return sum;
}

/// "3:00", "1:02:03.5".
std::optional<Nano> clockDuration(std::string_view text) {
  const std::size_t lastColon = text.rfind(':');
  const std::string_view head = text.substr(0, lastColon);
  const std::string_view seconds = text.substr(lastColon + 1);
  const std::size_t headColon = head.find(':');
  const auto isField = [](std::string_view field) {  // two digits below 60
    return field.size() >= 2 && field[0] >= '0' && field[0] <= '5' && isDigit(field[1]);
  };
  const bool isSeconds = isField(seconds) && (seconds.size() == 2 || (seconds[2] == '.' && seconds.size() > 3));
  if (!isSeconds || seconds.find_first_not_of("0123456789.") != std::string_view::npos) return std::nullopt;
  Nano sum = 0;
  std::int64_t factor = 60;
  std::string_view first = head;
  if (headColon != std::string_view::npos) {
    const std::string_view minutes = head.substr(headColon + 1);
    if (minutes.size() != 2 || !isField(minutes) || !add(sum, *parseScaled(minutes, kNanoDigits), 60)) {
      return std::nullopt;
    }
    first = head.substr(0, headColon);
    factor = 3600;
  }
  if (first.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  const auto most = parseScaled(first, kNanoDigits);
  const auto least = parseScaled(seconds, kNanoDigits);
  if (!most || !least || !add(sum, *most, factor) || !add(sum, *least, 1)) return std::nullopt;
  return sum;
}

/// A time as `nanoFromUtc` takes it; the seconds may be missing.
std::optional<Nano> utcTime(std::string_view text) {
  constexpr std::size_t kToMinutes = sizeof "2024-12-03T23:43" - 1;
  if (text.size() >= kToMinutes && text[kToMinutes - 3] == ':' &&
      (text.size() == kToMinutes || text[kToMinutes] != ':')) {
    return nanoFromUtc(std::string(text.substr(0, kToMinutes)) + ":00" + std::string(text.substr(kToMinutes)));
  }
  return nanoFromUtc(text);
}

std::string secondsText(Nano nanos) {
  std::string text = std::to_string(nanos / kNanosPerSecond);
  if (const Nano rest = nanos % kNanosPerSecond; rest != 0) {
    const std::string digits = std::to_string(kNanosPerSecond + rest);
    text += '.' + digits.substr(1, digits.find_last_not_of('0'));
  }
  return text + (nanos == kNanosPerSecond ? " second" : " seconds");
}

[[noreturn]] void fail(std::string_view text) {
  const std::string typed(text);
  const std::optional<Nano> distance = durationFromText(text);
  std::string reason;
  if (distance && *distance < kLongestFile) {
    reason = typed + " is no time; +" + typed + " is " + secondsText(*distance) + " after the file's start";
  } else if (text.find_first_not_of("0123456789") == std::string_view::npos && !text.empty()) {
    reason = typed + " is no time; GPS nanoseconds have 18 or 19 digits, and UTC is written as 2024-12-03T23:43:45Z";
  } else {
    reason = '"' + typed +
             "\" is no time; times are +90, +3m or +1:02:03 after the file's start, -90 before its end, "
             "or 2024-12-03T23:43:45Z";
  }
  throw Error(ErrorCode::InvalidArgument, reason);
}

}  // namespace

std::optional<Nano> durationFromText(std::string_view text) {
  if (text.find(':') != std::string_view::npos) return clockDuration(text);
  if (text.find_first_of("dhms") != std::string_view::npos) return unitsDuration(text);
  return parseScaled(text, kNanoDigits);
}

TimeText::TimeText(std::string_view text) {
  if (text.starts_with('+') || text.starts_with('-')) {
    const bool afterStart = text.front() == '+';
    const std::optional<Nano> distance = durationFromText(text.substr(1));
    if (!distance) fail(text);
    from_ = afterStart ? From::Start : From::End;
    nanos_ = afterStart ? *distance : -*distance;
    return;
  }
  std::optional<Nano> time = parseInteger<Nano>(text);
  if (time && *time < kSmallestGpsNanos) time.reset();
  if (!time) time = utcTime(text);
  if (!time) fail(text);
  nanos_ = *time;
}

Nano TimeText::in(Span file) const {
  if (from_ == From::Zero) return nanos_;
  Nano time = 0;
  if (__builtin_add_overflow(from_ == From::Start ? file.start : file.end, nanos_, &time)) {
    return nanos_ < 0 ? INT64_MIN : INT64_MAX;
  }
  return time;
}

}  // namespace Kvex
