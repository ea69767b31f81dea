#include "tool/DrawnSignal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "tool/Seconds.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

/// As many periods without a sample are a gap: the same as for the packets of a stream.
constexpr double kPeriodsOfGap = 5;
/// Whole numbers up to this are exact in a page's script.
constexpr double kLargestExact = 9007199254740991.0;

double numberOf(const Value& value) {
  return value.type() == ValueType::None ? DrawnSlice::kNone : value.asDouble();
}

/// The two values of a slice in the order in which they are drawn.
struct Drawn {
  double a = DrawnSlice::kNone;
  double b = DrawnSlice::kNone;

  bool known() const { return std::isfinite(a) && std::isfinite(b); }
};

Drawn drawn(const DrawnSlice& slice) {
  return slice.first <= slice.last ? Drawn{slice.smallest, slice.largest} : Drawn{slice.largest, slice.smallest};
}

/// How many slices lie between two samples on the average; none below two samples.
std::optional<double> slicesPerSample(const std::vector<DrawnSlice>& slices) {
  std::uint64_t samples = 0;
  std::size_t first = slices.size();
  std::size_t last = 0;
  for (std::size_t i = 0; i < slices.size(); ++i) {
    if (slices[i].samples == 0) continue;
    samples += slices[i].samples;
    first = std::min(first, i);
    last = i;
  }
  if (samples < 2) return {};
  return static_cast<double>(last - first) / static_cast<double>(samples - 1);
}

/// Finds the slices before which a line ends.
class BreakFinder {
 public:
  BreakFinder(const DrawnSlices& slices, const std::vector<StreamGap>& gaps)
      : slices_(slices), gaps_(gaps), mostEmpty_(kPeriodsOfGap * slicesPerSample(slices.list).value_or(0.0)) {}

  bool isBroken(std::size_t before, std::size_t behind) const {
    if (static_cast<double>(behind - before - 1) > mostEmpty_) return true;
    for (std::size_t i = before + 1; i < behind; ++i) {
      if (slices_.list[i].samples > 0) return true;
    }
    return std::ranges::any_of(gaps_, [&](const StreamGap& gap) {
      return secondsBetween(slices_.start, gap.from) * 1e9 < slices_.startOf(behind) &&
             secondsBetween(slices_.start, gap.to) * 1e9 >= slices_.startOf(before + 1);
    });
  }

 private:
  const DrawnSlices& slices_;
  const std::vector<StreamGap>& gaps_;
  double mostEmpty_;
};

/// Values as whole numbers, each as its difference from the one before it, which takes fewer digits.
class DifferenceList {
 public:
  void add(double whole) {
    json_.push_back(static_cast<std::int64_t>(whole - last_));
    last_ = whole;
  }
  void addNone() { json_.push_back(nullptr); }
  Json& json() { return json_; }

 private:
  Json json_ = Json::array();
  double last_ = 0;
};

}  // namespace

int drawnDecimals(double smallest, double largest) {
  const double range = largest > smallest ? largest - smallest : std::abs(largest);
  if (!(range > 0) || !std::isfinite(range)) return 0;
  return std::clamp(5 - static_cast<int>(std::ceil(std::log10(range))), 0, 12);
}

void DrawnSlice::append(const DrawnSlice& next) {
  samples += next.samples;
  if (next.usable == 0) return;
  if (usable == 0) first = next.first;
  usable += next.usable;
  last = next.last;
  // The first of them may be none, which compares as neither.
  smallest = std::fmin(smallest, next.smallest);
  largest = std::fmax(largest, next.largest);
}

DrawnSlices drawnSlices(const Overview& overview, std::size_t signal) {
  const Span span = overview.span();
  const double whole = static_cast<double>(span.end) - static_cast<double>(span.start);
  DrawnSlices slices{.start = span.start, .width = whole / static_cast<double>(overview.slices())};
  slices.list.reserve(overview.slices());
  for (std::size_t i = 0; i < overview.slices(); ++i) {
    const Slice slice = overview.at(signal, i);
    slices.list.push_back({slice.samples, slice.usable, numberOf(slice.first), numberOf(slice.last),
                           numberOf(slice.smallest), numberOf(slice.largest)});
  }
  return slices;
}

Json drawnSignal(const Signal& signal, const DrawnSlices& slices, const std::vector<StreamGap>& gaps) {
  double smallest = std::numeric_limits<double>::infinity();
  double largest = -smallest;
  for (const DrawnSlice& slice : slices.list) {
    if (!drawn(slice).known()) continue;
    smallest = std::min(smallest, slice.smallest);
    largest = std::max(largest, slice.largest);
  }
  int decimals = drawnDecimals(smallest, largest);
  // 0 often means that none were given, and whole numbers need none.
  if (signal.decimals() > 0) decimals = std::min(decimals, signal.decimals());
  // Differences of what is drawn must be exact in the page's script.
  const double most = std::max(std::abs(smallest), std::abs(largest));
  while (std::isfinite(most) && most * std::pow(10.0, decimals) > kLargestExact / 2) --decimals;
  const double scale = std::pow(10.0, decimals);

  const BreakFinder finder(slices, gaps);
  DifferenceList a;
  Json b = Json::array();
  Json breaks = Json::array();
  std::optional<std::size_t> before;
  for (std::size_t i = 0; i < slices.list.size(); ++i) {
    const Drawn values = drawn(slices.list[i]);
    if (!values.known()) {
      a.addNone();
      b.push_back(nullptr);
      continue;
    }
    const double from = std::nearbyint(values.a * scale);
    a.add(from);
    b.push_back(static_cast<std::int64_t>(std::nearbyint(values.b * scale) - from));
    if (before && finder.isBroken(*before, i)) breaks.push_back(i);
    before = i;
  }
  Json texts = Json::array();
  for (const ValueText& text : signal.texts()) texts.push_back({text.value, text.text});
  return {{"stream", signal.stream()},  {"name", signal.name()},
          {"unit", signal.unit()},      {"description", signal.description()},
          {"decimals", decimals},       {"texts", std::move(texts)},
          {"a", std::move(a.json())},   {"b", std::move(b)},
          {"breaks", std::move(breaks)}};
}

}  // namespace Kvex::Tool
