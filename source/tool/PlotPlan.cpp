#include "tool/PlotPlan.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace Kvex::Tool {

namespace {

/// More lines than this cannot be told apart.
constexpr std::size_t kMostLines = 16;

/// Which streams a row looks at.
enum class Source : std::uint8_t { Navigation, Range, Vehicle };

/// A plot that every report has if the file has signals for it: those of the first pattern that finds any in a stream,
/// where `anyOf`, else those of all patterns.
struct PlotRow {
  const char* title;
  Source source;
  std::vector<const char*> patterns;
  bool anyOf = false;
};

const std::vector<PlotRow>& plotRows() {
  static const std::vector<PlotRow> rows{
      {"Speed", Source::Navigation, {"Speed2d"}},
      {"Height", Source::Navigation, {"Alt"}},
      {"Heading", Source::Navigation, {"Heading"}},
      {"Pitch", Source::Navigation, {"Pitch"}},
      {"Roll", Source::Navigation, {"Roll"}},
      {"Acceleration forward", Source::Navigation, {"Af"}},
      {"Acceleration to the right", Source::Navigation, {"Al"}},
      {"Acceleration down", Source::Navigation, {"Ad"}},
      {"Position accuracy", Source::Navigation, {"NorthAcc", "EastAcc", "AltAcc"}},
      {"Velocity accuracy", Source::Navigation, {"VnAcc", "VeAcc", "VdAcc"}},
      {"Heading accuracy", Source::Navigation, {"HeadingAcc"}},
      {"Position mode", Source::Navigation, {"GpsPosMode"}},
      {"Satellites", Source::Navigation, {"GpsNumObs", "GpsPosNumObs"}},
      {"Age of corrections", Source::Navigation, {"GpsDiffAge"}},
      {"Range", Source::Range, {"Target[1-4]_RangeRes"}},
      {"Bearing", Source::Range, {"Target[1-4]_RangeAngle"}},
      {"Range rate (negative: closing)", Source::Range, {"Target[1-4]_RangeRateRes"}},
      {"Vehicle speed", Source::Vehicle, {"VehicleSpeed", "*[Vv]ehicle*[Ss]peed*", "WheelSpeed*"}, true},
      {"Steering", Source::Vehicle, {"SteeringAngle", "*[Ss]teer*[Aa]ngle*"}, true},
      {"Brake", Source::Vehicle, {"BrakePressure", "*[Bb]rake*[Pp]ress*"}, true},
      {"Engine", Source::Vehicle, {"EngineSpeed", "*[Ee]ngine*[Ss]peed*", "*[Rr][Pp][Mm]*"}, true},
  };
  return rows;
}

Source sourceOf(const Stream& stream) {
  if (stream.codec() == "Quon" || stream.codec() == "Dask") return Source::Navigation;
  return stream.codec() == "Yeld" ? Source::Range : Source::Vehicle;
}

/// The scalar signals and elements of a list.
std::vector<Signal> withElements(const std::vector<Signal>& signals) {
  std::vector<Signal> elements;
  for (const Signal& signal : signals) {
    if (!signal.isArray()) {
      elements.push_back(signal);
      continue;
    }
    for (std::uint32_t i = 0; i < signal.count(); ++i) elements.push_back(signal.at(i));
  }
  return elements;
}

void addDistinct(std::vector<Signal>& signals, const std::vector<Signal>& more) {
  for (const Signal& signal : more) {
    if (std::ranges::find(signals, signal) == signals.end()) signals.push_back(signal);
  }
}

std::vector<Signal> signalsOf(const File& file, const PlotRow& row) {
  std::vector<Signal> signals;
  for (const Stream& stream : file.streams()) {
    if (!stream.hasTime() || sourceOf(stream) != row.source) continue;
    for (const char* pattern : row.patterns) {
      const std::vector<Signal> found = withElements(file.match(std::to_string(stream.id()) + ":" + pattern));
      addDistinct(signals, found);
      if (row.anyOf && !found.empty()) break;
    }
  }
  return signals;
}

/// Signals that a path has, of streams that do not have the names of a navigation unit.
void addFromTracks(const File& file, std::string_view title, std::vector<Signal>& signals) {
  for (const TrackSignals& track : file.tracks()) {
    if (sourceOf(file.stream(track.stream)) == Source::Navigation) continue;
    const std::optional<Signal>& signal = title == "Speed" ? track.speed : track.altitude;
    if (signal) addDistinct(signals, {*signal});
  }
}

/// Of a file whose signals have names of their own: the first that are real numbers.
std::vector<Signal> firstNumbers(const File& file) {
  std::vector<Signal> numbers;
  for (const Signal& signal : file.match("*")) {
    const bool isReal = signal.type() == ValueType::Float || signal.type() == ValueType::Double;
    if (isReal && !signal.isArray() && numbers.size() < kMostLines) numbers.push_back(signal);
  }
  return numbers;
}

void addPlots(std::vector<PlannedPlot>& plots, const std::string& title, const std::vector<Signal>& signals) {
  const std::size_t first = plots.size();
  for (const Signal& signal : signals) {
    const auto fits = [&](const PlannedPlot& plot) {
      return plot.unit == signal.unit() && plot.signals.size() < kMostLines;
    };
    auto plot = std::find_if(plots.begin() + static_cast<std::ptrdiff_t>(first), plots.end(), fits);
    if (plot == plots.end()) plot = plots.insert(plots.end(), PlannedPlot{title, signal.unit(), {}});
    plot->signals.push_back(signal);
  }
}

}  // namespace

std::vector<PlannedPlot> planPlots(const File& file, const std::vector<std::string>& patterns) {
  std::vector<PlannedPlot> plots;
  if (!file.hasTime()) return plots;
  for (const PlotRow& row : plotRows()) {
    std::vector<Signal> signals = signalsOf(file, row);
    const std::string_view title = row.title;
    if (title == "Speed" || title == "Height") addFromTracks(file, title, signals);
    addPlots(plots, row.title, signals);
  }
  if (plots.empty()) addPlots(plots, "Signals", firstNumbers(file));
  for (const std::string& pattern : patterns) {
    addPlots(plots, pattern, withElements(file.choose({pattern})));
  }
  return plots;
}

}  // namespace Kvex::Tool
