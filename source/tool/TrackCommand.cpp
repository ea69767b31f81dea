#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <kvex/File.h>
#include <memory>
#include <optional>
#include <utility>

#include "tool/Commands.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"
#include "tool/TimeOption.h"
#include "tool/TrackFormats.h"

namespace Kvex::Tool {

namespace {

struct TrackCommandOptions {
  std::string file;
  std::string output;
  std::optional<std::uint32_t> stream;
  std::string period;
  double tolerance = 0;
  TypedSpan span;
  bool force = false;
};

const TrackFormatRow& formatOf(const std::string& path) {
  const auto formats = trackFormats();
  const auto found = std::ranges::find(formats, lowerExtension(path), &TrackFormatRow::ending);
  if (found == formats.end()) {
    throw Failure("the name of the output must end in .kml, .gpx or .geojson", VrelExit::WrongUsage);
  }
  return *found;
}

Nano periodOf(const std::string& text) {
  if (text.empty()) return 0;
  const std::optional<Nano> period = durationFromText(text);
  if (!period || *period <= 0) throw Failure("--period takes seconds above 0, as \"0.1\"", VrelExit::WrongUsage);
  return *period;
}

/// The tracks of the stream that was asked for, or of the first one that has some; the others are named.
std::vector<TrackSignals> chooseTracks(const File& file, const std::optional<std::uint32_t>& asked) {
  if (asked) (void)file.stream(*asked);
  std::vector<TrackSignals> tracks = file.tracks();
  std::vector<std::uint32_t> streams;
  for (const TrackSignals& track : tracks) {
    if (std::ranges::count(streams, track.stream) == 0) streams.push_back(track.stream);
  }
  if (asked) std::erase_if(streams, [&](std::uint32_t stream) { return stream != *asked; });
  if (streams.empty()) {
    throw Failure(asked ? fmt::format("stream {} has no positions", *asked) : "no stream has positions");
  }
  if (streams.size() > 1) {
    say("vrel: note: the track is that of stream {}; --stream chooses another one: {}", streams.front(),
        fmt::join(streams.begin() + 1, streams.end(), ", "));
  }
  std::erase_if(tracks, [&](const TrackSignals& track) { return track.stream != streams.front(); });
  return tracks;
}

/// What a track is called, and from which signals it was read.
TrackTexts textsOf(const TrackSignals& signals, const Stream& stream, const std::string& fileName) {
  const std::string altitude = signals.altitude ? signals.altitude->name() + " in metres" : "is not recorded";
  const std::string plane = signals.plane ? fmt::format(" on the plane at {} and {}", signals.plane->latitude.name(),
                                                        signals.plane->longitude.name())
                                          : "";
  return {.name = fmt::format("{}, stream {}{}{}", fileName, signals.stream, signals.object.empty() ? "" : ", ",
                              signals.object),
          .description = fmt::format("{} {} from {} and {}{}; altitude {}", stream.codec(), stream.name(),
                                     signals.latitude.name(), signals.longitude.name(), plane, altitude),
          .modeText = [mode = signals.mode](std::uint8_t value) { return mode ? mode->text(Value(value)) : ""; }};
}

/// Hands the points of a track on, and between them the marks at their times. A track without points is none.
class MarkedTrack {
 public:
  MarkedTrack(TrackFormat& format, TrackTexts texts, std::vector<Event> events)
      : format_(format), texts_(std::move(texts)), events_(std::move(events)) {}

  void add(const TrackPoint& point) {
    if (!last_) format_.begin(texts_);
    for (; next_ < events_.size() && events_[next_].time <= point.time; ++next_) {
      const Nano time = events_[next_].time;
      // In a gap nobody knows where it was.
      if (!last_ || point.beginsPart || time < last_->time) continue;
      format_.addMark({placeBetween(*last_, point, time), events_[next_].text});
    }
    format_.addPoint(point);
    last_ = point;
  }
  /// Gives whether it had points.
  bool end() {
    if (last_) format_.end();
    return last_.has_value();
  }

 private:
  TrackFormat& format_;
  TrackTexts texts_;
  std::vector<Event> events_;
  std::size_t next_ = 0;
  std::optional<TrackPoint> last_;
};

VrelExit writeTrack(const TrackCommandOptions& options) {
  const TrackFormatRow& row = formatOf(options.output);
  OpenedFile opened(options.file);
  const std::vector<TrackSignals> tracks = chooseTracks(opened.file, options.stream);
  const Stream& stream = opened.file.stream(tracks.front().stream);
  const ReadOptions watched = opened.watched();
  TrackOptions wanted{.stream = stream.id(),
                      .period = periodOf(options.period),
                      .tolerance = options.tolerance,
                      .progress = watched.progress,
                      .stop = watched.stop};
  if (options.span.start || options.span.end) {
    const ChosenSpan span = opened.file.nativeSpan(options.span, {tracks.front().latitude});
    tellNotes(opened.file, span);
    wanted.start = span.start;
    wanted.end = span.end;
  }
  const std::string fileName = std::filesystem::path(options.file).filename().string();
  Output output(options.output, {.force = options.force});
  const std::unique_ptr<TrackFormat> format = row.make(output, fileName);
  std::vector<Event> triggers = opened.file
                                    .events({.kinds = {EventKind::Trigger},
                                             .streams = {stream.id()},
                                             .progress = wanted.progress,
                                             .stop = wanted.stop})
                                    .list;
  bool hasPoints = false;
  for (const TrackSignals& signals : tracks) {
    // Triggers are those of the stream: one of its tracks has them.
    MarkedTrack track(*format, textsOf(signals, stream, fileName), std::exchange(triggers, {}));
    wanted.object = signals.object;
    opened.file.track(wanted, [&](const TrackPoint& point) { track.add(point); });
    hasPoints |= track.end();
  }
  if (!hasPoints) throw Failure(fmt::format("stream {} has no usable position there", stream.id()));
  format->finish();
  output.finish();
  opened.progress.clear();
  opened.tellJudgement();
  return opened.exit();
}

constexpr const char* kTrackHelp =
    "The ending of OUT says the format: .kml (KML 2.2: the track with times, lines coloured by position mode),\n"
    ".gpx (GPX 1.1: a segment for each part) or .geojson (RFC 7946: a line for each part, cut at the\n"
    "antimeridian). Trigger events are points. Every usable position of the recording is a point; a gap in the\n"
    "recording or in the positions begins a new part. Altitude is that of the recording.\n\n"
    "Of a range stream come the paths of the hunter and of each target that has positions, from metres on the\n"
    "plane at the reference point to degrees by the radii of the ellipsoid there.\n\n"
    "--tolerance leaves out points that lie no farther than M metres from the line between those that stay, by the\n"
    "cone intersection method.";

constexpr const char* kExample =
    "Example:\n"
    "  vrel track run.vrel --tolerance 0.1 -o run.kml";

}  // namespace

void addTrackCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<TrackCommandOptions>();
  CLI::App* command = addFileCommand(app, "track", "Write the paths of a stream as KML, GPX or GeoJSON", options->file);
  command->add_option("-o,--output", options->output, "The file to write")->type_name("OUT")->required();
  command->add_option("--stream", options->stream, "The stream; else the first one that has positions")
      ->type_name("ID");
  command->add_option("--period", options->period, "At most one point in so many seconds")->type_name("S");
  command->add_option("--tolerance", options->tolerance, "Leave out points nearer than this to the line")
      ->type_name("M")
      ->check(CLI::NonNegativeNumber.description(""));
  addTimeOption(*command, "--start", options->span.start, "Only points from this time on");
  addTimeOption(*command, "--end", options->span.end, "Only points before this time");
  addForceOption(*command, options->force);
  command->footer(fmt::format("{}\n\n{}\n\n{}", kTrackHelp, kTimeHelp, kExample));
  command->callback([options, &action] { action = [options] { return writeTrack(*options); }; });
}

}  // namespace Kvex::Tool
