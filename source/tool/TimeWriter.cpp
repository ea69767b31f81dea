#include "tool/TimeWriter.h"

#include <cstring>
#include <fmt/compile.h>
#include <fmt/format.h>

namespace Kvex::Tool {

namespace {

/// Seconds between two times, exactly.
char* putSeconds(char* out, Nano from, Nano to) {
  const bool negative = to < from;
  // Unsigned, since the distance may go beyond 64 bits with a sign.
  const std::uint64_t nanos = negative ? static_cast<std::uint64_t>(from) - static_cast<std::uint64_t>(to)
                                       : static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  out = fmt::format_to(out, FMT_COMPILE("{}{}.{:09}"), negative ? "-" : "", nanos / kNanosPerSecond,
                       nanos % kNanosPerSecond);
  while (out[-1] == '0') --out;
  return out[-1] == '.' ? out - 1 : out;
}

}  // namespace

char* TimeWriter::put(char* out, Nano nano) {
  switch (form_) {
    case TimeForm::Utc:
      if (!quoted_) return putUtc(out, nano);
      *out = '"';
      out = putUtc(out + 1, nano);
      *out = '"';
      return out + 1;
    case TimeForm::Elapsed:
      return putSeconds(out, start_, nano);
    default:
      return fmt::format_to(out, FMT_COMPILE("{}"), nano);
  }
}

char* TimeWriter::putUtc(char* out, Nano nano) {
  constexpr std::size_t kBeforeFraction = sizeof "2024-12-03T23:43:45." - 1;
  constexpr std::size_t kLength = kBeforeFraction + sizeof "500000000Z" - 1;
  Nano fraction = nano % kNanosPerSecond;
  if (fraction < 0) fraction += kNanosPerSecond;
  // Most times are of the same second as the one before.
  const std::int64_t second = nano / kNanosPerSecond - (nano % kNanosPerSecond < 0 ? 1 : 0);
  if (second != utcSecond_) {
    std::memcpy(utc_.data(), utcText(nano).data(), kLength);
    utcSecond_ = second;
  }
  std::memcpy(out, utc_.data(), kBeforeFraction);
  return fmt::format_to(out + kBeforeFraction, FMT_COMPILE("{:09}Z"), fraction);
}

}  // namespace Kvex::Tool
