#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <kvex/Time.h>

#include "tool/TableStyle.h"

namespace Kvex::Tool {

/// Writes times as the fields of a table.
class TimeWriter {
 public:
  static constexpr std::size_t kRoom = 32;  ///< More than any time takes.

  /// `start` is where elapsed time counts from; `quoted` puts UTC in quotes.
  TimeWriter(TimeForm form, Nano start, bool quoted) : start_(start), form_(form), quoted_(quoted) {}

  /// Writes at `out`, where there is room for `kRoom` characters, and returns the place behind.
  char* put(char* out, Nano nano);

 private:
  char* putUtc(char* out, Nano nano);

  Nano start_;
  TimeForm form_;
  bool quoted_;
  std::array<char, kRoom> utc_{};       ///< A time of the newest second.
  std::int64_t utcSecond_ = INT64_MIN;  ///< No second that a time can have, at first.
};

}  // namespace Kvex::Tool
