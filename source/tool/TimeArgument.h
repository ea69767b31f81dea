#pragma once

#include <cstdint>
#include <kvex/Time.h>
#include <optional>
#include <string_view>

namespace Kvex::Tool {

/// Seconds as a person types them, "12.5", "0.001", "1e-9", in nanoseconds, exactly. None for any other text, for what
/// is finer than a nanosecond, and beyond 64 bits.
std::optional<std::int64_t> nanosFromSeconds(std::string_view text);

/// A time as a person types it.
struct TimeArgument {
  Nano nanos = 0;  ///< A GPS time, or a distance from the start.
  bool relative = false;

  /// The GPS time, with times relative to `start`; brought to the nearest that 64 bits hold.
  Nano from(Nano start) const;
};

/// Reads GPS nanoseconds ("1417651425000000000"), a UTC date and time ("2024-12-03T23:43:45.5Z"), or seconds from the
/// start ("+10.5").
std::optional<TimeArgument> parseTimeArgument(std::string_view text);

}  // namespace Kvex::Tool
