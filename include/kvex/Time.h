#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kvex {

/// Time in nanoseconds since GPS time zero, 1980-01-06 00:00:00. GPS time has no leap seconds.
using Nano = std::int64_t;

inline constexpr Nano kNanosPerSecond = 1'000'000'000;

/// The smallest time: stands for "no time known".
inline constexpr Nano kNoTime = INT64_MIN;

/// A span of time, `start` included and `end` not.
struct Span {
  Nano start = kNoTime;
  Nano end = kNoTime;

  bool operator==(const Span&) const = default;
};

/// "2024-12-03T23:43:45.500000000Z": a time as UTC. The second of a leap second is 60.
std::string utcText(Nano time);

/// Nanoseconds since 1970-01-01 00:00:00 UTC, in which leap seconds are not counted: what operating systems and data
/// frames call a UTC time. A leap second reads as the second after it. Saturates at the ends of 64 bits.
std::int64_t unixNanos(Nano time);

/// Reads a UTC date, or date and time: "2024-12-03", "2024-12-03T23:43:45Z", "2024-12-03 23:43:45.5", or a time with
/// its offset from UTC: "2024-12-04T01:43:45+02:00". None for any other text and for a time that does not exist.
std::optional<Nano> nanoFromUtc(std::string_view text);

}  // namespace Kvex
