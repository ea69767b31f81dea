#pragma once

#include <functional>
#include <kvex/Track.h>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "tool/Output.h"

namespace Kvex::Tool {

/// What a track is called, and how its modes are.
struct TrackTexts {
  std::string name;
  std::string description;
  std::function<std::string(std::uint8_t mode)> modeText;
};

/// Something that happened at a place of a track.
struct TrackMark {
  TrackPoint place;
  std::string text;
};

/// Writes tracks in a format of maps, one after the other: the points and marks of each in order of time, then the end.
class TrackFormat {
 public:
  virtual ~TrackFormat() = default;
  /// What the texts are of stays until the next track begins or all is finished.
  virtual void begin(const TrackTexts& texts) = 0;
  virtual void addPoint(const TrackPoint& point) = 0;
  virtual void addMark(const TrackMark& mark) = 0;
  virtual void end() = 0;
  /// The end of all tracks.
  virtual void finish() = 0;
};

/// A format with the ending of its files. The whole of what is written has a name too.
struct TrackFormatRow {
  std::string_view ending;
  std::unique_ptr<TrackFormat> (*make)(Output& output, const std::string& name);
};

/// KML 2.2, GPX 1.1 and GeoJSON (RFC 7946).
std::span<const TrackFormatRow> trackFormats();

/// The place between two points at a time between theirs, on the straight line that leads the short way round.
TrackPoint placeBetween(const TrackPoint& before, const TrackPoint& after, Nano time);

}  // namespace Kvex::Tool
