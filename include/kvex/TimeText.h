#pragma once

#include <cstdint>
#include <kvex/Time.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

/// A time as a person types it: one of its own, or a distance from the start or the end of a file.
///
/// | text | time |
/// |---|---|
/// | "+10.5", "+90s", "+3m", "+1h2m3.5s", "+3:00", "+1:02:03" | after the file's start: `durationFromText` behind "+" |
/// | "-10.5", "-3m" and so on | before the file's end |
/// | "2024-12-03T23:43:45.5Z", "2024-12-03 23:43", "2024-12-03" | UTC |
/// | "2024-12-03T23:43:45+02:00" | a time of day that is ahead of UTC by two hours |
/// | "1417651425000000000" | GPS nanoseconds, from 10^17 on |
///
/// Thread safety: a value.
class TimeText final {
 public:
  /// Throws `InvalidArgument` for any other text. The reason says what may have been meant: "180 is no time; +180 is
  /// 180 seconds after the file's start".
  explicit TimeText(std::string_view text);

  /// The time in a file of this span; brought to the nearest that 64 bits hold.
  Nano in(Span file) const;

 private:
  enum class From : std::uint8_t { Zero, Start, End };

  From from_ = From::Zero;
  Nano nanos_ = 0;
};

/// A duration as a person types it, in nanoseconds: seconds ("10.5", "1e-3"), numbers with the units "d", "h", "m", "s"
/// and "ms" from the largest to the smallest ("90s", "1h2m3.5s", "1.5h"), or minutes or hours as a clock shows them
/// ("3:00", "1:02:03.5"). Exact: none for what is finer than a nanosecond, beyond 64 bits, and for any other text.
std::optional<Nano> durationFromText(std::string_view text);

/// The start and the end that a person typed, or none.
struct TypedSpan {
  std::optional<TimeText> start;
  std::optional<TimeText> end;
};

/// What a typed span comes to in a file: see `File::gridSpan` and `File::nativeSpan`.
struct ChosenSpan {
  /// As in `ReadOptions`; none where nothing was typed.
  std::optional<Nano> start;
  std::optional<Nano> end;
  std::vector<std::string> notes;  ///< What a person must know: where the span went beyond that of the data.
};

}  // namespace Kvex
