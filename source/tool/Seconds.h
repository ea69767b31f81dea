#pragma once

#include <fmt/format.h>
#include <kvex/Time.h>
#include <string>

namespace Kvex::Tool {

/// Seconds from one time to another, below 0 where that is earlier. Any two times may be given.
inline double secondsBetween(Nano from, Nano to) {
  const auto distance = [](Nano earlier, Nano later) {
    return static_cast<double>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier)) / 1e9;
  };
  return from <= to ? distance(from, to) : -distance(to, from);
}

/// A time that was lost, in seconds: to a tenth, or to a millisecond where it is below a second.
inline std::string secondsText(Nano nanos) {
  const double seconds = secondsBetween(0, nanos);
  return nanos == 0 ? "0" : fmt::format("{:.{}f}", seconds, nanos < kNanosPerSecond ? 3 : 1);
}

}  // namespace Kvex::Tool
