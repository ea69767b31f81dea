#pragma once

#include <cstdint>
#include <kvex/Overview.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

namespace Kvex::Tool {

/// A time during which a stream sent nothing: from the last packet before it to the first behind.
struct StreamGap {
  Nano from = kNoTime;
  Nano to = kNoTime;
};

/// What a signal did in a slice of time, as numbers.
struct DrawnSlice {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  std::uint64_t samples = 0;
  std::uint64_t usable = 0;
  double first = kNone;
  double last = kNone;
  double smallest = kNone;
  double largest = kNone;

  /// Takes in the slice that follows.
  void append(const DrawnSlice& next);
};

/// Slices of equal width.
struct DrawnSlices {
  Nano start = 0;      ///< Of the first one.
  double width = 0.0;  ///< In nanoseconds.
  std::vector<DrawnSlice> list;

  double startOf(std::size_t slice) const { return static_cast<double>(slice) * width; }  ///< From `start`.
};

DrawnSlices drawnSlices(const Overview& overview, std::size_t signal);

/// A signal as a page draws it: its name, unit and texts; "decimals"; and for each slice two values in the order of the
/// drawing, which are its smallest and largest, as whole numbers of 10^-decimals (which may be below 0): "a" as the
/// difference from the "a" before it, and "b" as that from "a"; null without a usable value. "breaks" lists the slices
/// to which no line leads from the one with values before: because of a gap of the stream, of samples without a usable
/// value, or of more than five sample periods without a sample.
nlohmann::ordered_json drawnSignal(const Signal& signal, const DrawnSlices& slices, const std::vector<StreamGap>& gaps);

/// The decimal places with which values between two limits are drawn: enough for a hundred thousandth of the range.
int drawnDecimals(double smallest, double largest);

}  // namespace Kvex::Tool
