#include "tool/ReportData.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <future>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "tool/CheckJson.h"
#include "tool/Counters.h"
#include "tool/DrawnPath.h"
#include "tool/DrawnSignal.h"
#include "tool/PlotPlan.h"
#include "tool/Seconds.h"
#include "tool/StatesTable.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

/// With a smallest and a largest value each: 2 to 4 points for each pixel of a wide screen.
constexpr std::size_t kSlices = 2000;
/// Of more events the first ones are shown.
constexpr std::size_t kMostEvents = 2000;
/// Modes that colour plots and paths, and whose states are summed up.
constexpr std::array kModePatterns{"InsNavMode", "GpsPosMode", "GpsVelMode", "GpsAttMode", "Target[1-4]_ModeStatus"};
constexpr std::string_view kColouringMode = "GpsPosMode";

/// Counts of a device that rise when something went wrong there.
constexpr std::array kFaultPatterns{"*CharsSkipped", "*OldPkts", "*MissedPkts*", "*ResetCount",
                                    "*SatCount",     "*Errors",  "*ErrorCount",  "*ErrCount"};

/// The tables of signals that say what a device is and how it is set.
constexpr std::array kSettingTables{"boards",          "calibration date",   "decoder version", "development board",
                                    "device",          "firmware date",      "generator",       "hardware",
                                    "product",         "product generation", "product model",   "product type",
                                    "product version", "serial number",      "feature set"};

bool matchesAny(const Signal& signal, std::span<const char* const> patterns) {
  return std::ranges::any_of(patterns, [&](const char* pattern) { return signal.matches(pattern); });
}

/// A value with as many digits as a person reads.
std::string shownValue(const Signal& signal, const Value& value) {
  if (value.type() == ValueType::None) return {};
  const bool isReal = value.type() == ValueType::Float || value.type() == ValueType::Double;
  if (signal.hasTexts()) return valueWithText(value, signal);
  if (!isReal) return value.text();
  if (signal.decimals() >= 0) return fmt::format("{:.{}f}", value.asDouble(), signal.decimals());
  return fmt::format("{:.7g}", value.asDouble());
}

/// Makes the report of one file, but for its statistics.
class Reporter {
 public:
  Reporter(File& file, const ReportOptions& options, ReadOptions reading)
      : file_(file),
        options_(options),
        reading_(std::move(reading)),
        start_(file_.hasTime() ? file_.span().start : kNoTime) {}

  Json json() {
    Json json{{"file", file_.path()},
              {"size", sizeOf(file_)},
              {"start", start_ == kNoTime ? Json() : Json(utcText(start_))},
              {"startMillis", start_ == kNoTime ? Json() : Json(static_cast<double>(unixNanos(start_)) / 1e6)},
              {"seconds", start_ == kNoTime ? Json() : Json(secondsBetween(start_, file_.span().end))},
              {"streams", streams()},
              {"check", checkJson(file_)},
              {"places", places()},
              {"fast", options_.fast}};
    if (file_.hasTime()) addEvents(json);
    if (file_.hasTime()) addDrawing(json);
    json["devices"] = devices();
    if (!options_.fast && file_.hasTime()) json["states"] = states();
    return json;
  }

 private:
  Json seconds(Nano time) const { return time == kNoTime ? Json() : Json(secondsBetween(start_, time)); }

  Json streams() const {
    Json list = Json::array();
    for (const Stream& stream : file_.streams()) {
      std::uint64_t packets = 0;
      for (const Counter& counter : ownCounters(stream, file_)) {
        if (counter.name == "packets") packets = counter.count;
      }
      list.push_back({{"id", stream.id()},
                      {"codec", stream.codec()},
                      {"name", stream.name()},
                      {"serial", stream.serial()},
                      {"from", stream.hasTime() ? seconds(stream.start()) : Json()},
                      {"to", stream.hasTime() ? seconds(stream.end()) : Json()},
                      {"packets", packets},
                      {"signals", stream.signals().size()},
                      {"damage", streamDamageText(stream, file_)}});
    }
    return list;
  }

  Json places() const {
    Json list = Json::array();
    for (const Place& place : file_.damage().places()) {
      list.push_back({{"stream", place.stream ? Json(*place.stream) : Json()},
                      {"kind", nameOf(place.kind)},
                      {"from", seconds(place.from)},
                      {"to", seconds(place.to)},
                      {"text", place.text}});
    }
    return list;
  }

  void addEvents(Json& json) {
    events_ = file_.events({.limit = kMostEvents, .progress = reading_.progress, .stop = reading_.stop});
    Json list = Json::array();
    for (const Event& event : events_.list) {
      list.push_back({{"time", seconds(event.time)},
                      {"record", seconds(event.record)},
                      {"stream", event.stream ? Json(*event.stream) : Json()},
                      {"kind", nameOf(event.kind)},
                      {"text", event.text},
                      {"signal", event.signal},
                      {"before", jsonValue(event.before)},
                      {"after", jsonValue(event.after)}});
    }
    json["events"] = std::move(list);
    json["eventsInAll"] = events_.inAll;
  }

  std::vector<StreamGap> gapsOf(std::uint32_t stream) const {
    std::vector<StreamGap> gaps;
    for (const Event& event : events_.list) {
      if (event.kind == EventKind::Gap && event.stream == stream) gaps.push_back({event.time, event.record});
    }
    return gaps;
  }

  /// The place of a signal among those that are drawn.
  std::size_t draw(const Signal& signal) {
    const auto found = std::ranges::find(drawn_, signal);
    if (found != drawn_.end()) return static_cast<std::size_t>(found - drawn_.begin());
    drawn_.push_back(signal);
    return drawn_.size() - 1;
  }
  Json drawn(const std::optional<Signal>& signal) { return signal ? Json(draw(*signal)) : Json(); }

  /// Plots and paths, in one walk.
  void addDrawing(Json& json) {
    Json plots = Json::array();
    for (const PlannedPlot& plot : planPlots(file_, options_.patterns)) {
      Json lines = Json::array();
      for (const Signal& signal : plot.signals) lines.push_back(draw(signal));
      plots.push_back({{"title", plot.title}, {"unit", plot.unit}, {"signals", std::move(lines)}});
    }
    const std::vector<TrackSignals> tracks = file_.tracks();
    Json trackList = Json::array();
    for (const TrackSignals& track : tracks) {
      trackList.push_back({{"speed", drawn(track.speed)},
                           {"northAccuracy", drawn(track.northAccuracy)},
                           {"eastAccuracy", drawn(track.eastAccuracy)},
                           {"mode", drawn(track.mode)}});
    }
    json["distances"] = drawnOf("Dist2d");
    json["upTimes"] = drawnOf("UpTime");
    json["modes"] = drawnOf(kColouringMode);
    json["plots"] = std::move(plots);
    json["tracks"] = std::move(trackList);
    json["signals"] = Json::array();
    std::vector<Signal> seen = drawn_;
    for (const TrackSignals& track : tracks) addPlaceSignals(track, seen);
    if (seen.empty()) return;
    const Overview overview = file_.overview(seen, kSlices, reading_);
    json["slices"] = {{"from", seconds(overview.span().start)},
                      {"width", secondsBetween(overview.span().start, overview.span().end) / kSlices},
                      {"count", kSlices}};
    std::map<std::uint32_t, std::vector<StreamGap>> gaps;
    for (const Stream& stream : file_.streams()) gaps[stream.id()] = gapsOf(stream.id());
    for (std::size_t i = 0; i < drawn_.size(); ++i) {
      json["signals"].push_back(drawnSignal(drawn_[i], drawnSlices(overview, i), gaps[drawn_[i].stream()]));
    }
    for (std::size_t i = 0; i < tracks.size(); ++i) {
      json["tracks"][i].update(drawnPath(tracks[i], overview, gaps[tracks[i].stream]));
    }
  }

  /// The signals of a name in all streams, as those that are drawn.
  Json drawnOf(std::string_view name) {
    Json list = Json::array();
    for (const Signal& signal : file_.match("*:" + std::string(name))) list.push_back(draw(signal));
    return list;
  }

  Json devices() const {
    Json list = Json::array();
    for (const Stream& stream : file_.streams()) {
      Json headers = Json::array();
      std::vector<Header> all{stream.header()};
      all.insert(all.end(), stream.headers().begin(), stream.headers().end());
      for (const Header& header : all) headers.push_back({{"tag", header.tag}, {"values", header.values}});
      list.push_back({{"stream", stream.id()}, {"headers", std::move(headers)}, {"settings", settings(stream)}});
    }
    return list;
  }

  /// What the last record of a stream says of the device.
  static Json settings(const Stream& stream) {
    Json list = Json::array();
    for (const Signal& signal : stream.signals()) {
      const bool isSetting = std::ranges::find(kSettingTables, signal.table()) != kSettingTables.end() ||
                             signal.table().ends_with("options") || signal.name().starts_with("Option");
      const std::optional<Value> value = isSetting ? signal.last() : std::nullopt;
      if (!value || !value->usable()) continue;
      list.push_back({{"name", signal.name()},
                      {"value", shownValue(signal, *value)},
                      {"unit", signal.unit()},
                      {"description", signal.description()}});
    }
    return list;
  }

  /// How long each mode was held.
  Json states() {
    std::vector<Signal> modes = file_.match("*");
    std::erase_if(modes, [](const Signal& signal) { return signal.isArray() || !matchesAny(signal, kModePatterns); });
    Json list = Json::array();
    if (modes.empty()) return list;
    const auto totals = file_.stateTotals(modes, reading_);
    for (std::size_t i = 0; i < modes.size(); ++i) list.push_back(totalsJson(modes[i], totals[i]));
    return list;
  }

  File& file_;
  const ReportOptions& options_;
  ReadOptions reading_;
  Nano start_;
  Events events_;
  std::vector<Signal> drawn_;
};

/// What the samples of all signals say, and the counts of faults that rose.
Json statisticsJson(File& file, const ReadOptions& reading) {
  Json list = Json::array();
  Json faults = Json::array();
  for (const Statistics& found : file.statistics(file.match("*"), reading)) {
    const Signal& signal = found.signal;
    const auto shown = [&](const Value& value) { return shownValue(signal, value); };
    list.push_back({signal.stream(), signal.name(), signal.unit(), signal.description(), found.samples, found.usable,
                    found.rate ? Json(fmt::format("{:.4g}", *found.rate)) : Json(), shown(found.first),
                    shown(found.last), shown(found.smallest), shown(found.largest), found.changes});
    if (matchesAny(signal, kFaultPatterns) && found.usable > 0 && found.last.asDouble() > found.first.asDouble()) {
      faults.push_back({{"stream", signal.stream()},
                        {"name", signal.name()},
                        {"description", signal.description()},
                        {"first", found.first.text()},
                        {"last", found.last.text()}});
    }
  }
  return {{"statistics", std::move(list)}, {"faults", std::move(faults)}};
}

}  // namespace

Json reportJson(OpenedFile& opened, const ReportOptions& options) {
  File& file = opened.file;
  if (options.fast || !file.hasTime()) return Reporter(file, options, opened.watched()).json();
  // The statistics take longest, and the rest has time to be done beside them, in a reading of its own.
  std::future<Json> others = std::async(std::launch::async, [&file, &options, stop = opened.stop.token()] {
    File again(file.path(), {.stop = stop});
    return Reporter(again, options, {.stop = stop}).json();
  });
  const Json statistics = statisticsJson(file, opened.watched());
  Json json = others.get();
  json.update(statistics);
  return json;
}

}  // namespace Kvex::Tool
