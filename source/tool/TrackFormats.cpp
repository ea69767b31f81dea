#include "tool/TrackFormats.h"

#include <array>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "tool/Spool.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

/// "-0.7,51.5,120", without the altitude where it is not known.
std::string coordinates(const TrackPoint& point, std::string_view between) {
  std::string text = fmt::format("{}{}{}", point.longitude, between, point.latitude);
  if (!std::isnan(point.altitude)) text += fmt::format("{}{}", between, point.altitude);
  return text;
}

// --- KML

/// Colours that people who are colour-blind can tell apart (M. Okabe and K. Ito), as KML writes them: alpha, blue,
/// green, red.
constexpr std::array<std::string_view, 7> kColours{"ff739e00", "ffb27200", "ff009fe6", "ff005ed5",
                                                   "ffa779cc", "ffe9b456", "ff42e4f0"};

class KmlTrack final : public TrackFormat {
 public:
  KmlTrack(Output& output, const std::string& name) : output_(output) {
    output_.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<kml xmlns=\"http://www.opengis.net/kml/2.2\" xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n"
        "<Document>\n");
    output_.write(fmt::format("<name>{}</name>\n", markupText(name)));
  }

  void begin(const TrackTexts& texts) override {
    texts_ = &texts;
    output_.write(fmt::format("<Folder>\n<name>{}</name>\n<description>{}</description>\n", markupText(texts.name),
                              markupText(texts.description)));
    output_.write(
        "<Placemark>\n<name>Track with times</name>\n<gx:MultiTrack>\n"
        "<altitudeMode>absolute</altitudeMode>\n<gx:interpolate>0</gx:interpolate>\n");
  }

  void addPoint(const TrackPoint& point) override {
    if (point.beginsPart) {
      endPart();
      output_.write("<gx:Track>\n<altitudeMode>absolute</altitudeMode>\n");
      inPart_ = true;
    }
    output_.write(fmt::format("<when>{}</when>\n", utcText(point.time)));
    // An altitude is not left out here: without one it is on the ground.
    positions_.write(fmt::format("<gx:coord>{} {} {}</gx:coord>\n", point.longitude, point.latitude,
                                 std::isnan(point.altitude) ? 0.0 : point.altitude));
    addToLine(point);
  }

  void addMark(const TrackMark& mark) override {
    marks_.write(
        fmt::format("<Placemark>\n<name>{}</name>\n<TimeStamp><when>{}</when></TimeStamp>\n<Point>"
                    "<altitudeMode>absolute</altitudeMode><coordinates>{}</coordinates></Point>\n"
                    "</Placemark>\n",
                    markupText(mark.text), utcText(mark.place.time), coordinates(mark.place, ",")));
  }

  void end() override {
    endPart();
    output_.write("</gx:MultiTrack>\n</Placemark>\n<Folder>\n<name>Track as lines</name>\n");
    lines_.moveTo(output_);
    output_.write("</Folder>\n<Folder>\n<name>Triggers</name>\n");
    marks_.moveTo(output_);
    output_.write("</Folder>\n</Folder>\n");
  }

  void finish() override {
    for (const std::uint8_t mode : modes_) {
      output_.write(
          fmt::format("<Style id=\"mode-{}\"><LineStyle><color>{}</color><width>3</width></LineStyle></Style>\n", mode,
                      kColours[mode % kColours.size()]));
    }
    output_.write("</Document>\n</kml>\n");
  }

 private:
  void endPart() {
    if (inPart_) {
      positions_.moveTo(output_);
      output_.write("</gx:Track>\n");
    }
    endLine();
    last_.reset();
    inPart_ = false;
  }

  /// A line goes on as long as the mode is the same. It takes two points to begin one.
  void addToLine(const TrackPoint& point) {
    if (last_) {
      if (!inLine_) beginLine(*last_);
      lines_.write(' ' + coordinates(point, ","));
      if (point.mode != lineMode_) endLine();
    }
    last_ = point;
  }

  void beginLine(const TrackPoint& point) {
    lineMode_ = point.mode;
    inLine_ = true;
    std::string style;
    if (lineMode_) {
      modes_.insert(*lineMode_);
      style = fmt::format("<name>{}</name>\n<styleUrl>#mode-{}</styleUrl>\n", markupText(texts_->modeText(*lineMode_)),
                          *lineMode_);
    }
    lines_.write(fmt::format("<Placemark>\n{}<LineString>\n<altitudeMode>absolute</altitudeMode>\n<coordinates>{}",
                             style, coordinates(point, ",")));
  }

  void endLine() {
    if (inLine_) lines_.write("</coordinates>\n</LineString>\n</Placemark>\n");
    inLine_ = false;
  }

  Output& output_;
  const TrackTexts* texts_ = nullptr;
  Spool positions_;
  Spool lines_;
  Spool marks_;
  std::optional<TrackPoint> last_;
  std::optional<std::uint8_t> lineMode_;
  std::set<std::uint8_t> modes_;
  bool inPart_ = false;
  bool inLine_ = false;
};

// --- GPX

class GpxTrack final : public TrackFormat {
 public:
  GpxTrack(Output& output, const std::string& name) : output_(output) {
    output_.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<gpx version=\"1.1\" creator=\"vrel\" xmlns=\"http://www.topografix.com/GPX/1/1\" "
        "xmlns:kvex=\"urn:kvex:track:1\">\n");
    output_.write(fmt::format("<metadata><name>{}</name></metadata>\n", markupText(name)));
  }

  void begin(const TrackTexts& texts) override {
    texts_ = &texts;
    points_.write(fmt::format("<trk>\n<name>{}</name>\n<desc>{}</desc>\n", markupText(texts.name),
                              markupText(texts.description)));
  }

  void addPoint(const TrackPoint& point) override {
    if (point.beginsPart) {
      endPart();
      points_.write("<trkseg>\n");
      inPart_ = true;
    }
    std::string extensions;
    const auto add = [&](std::string_view name, double value) {
      if (!std::isnan(value)) extensions += fmt::format("<kvex:{0}>{1}</kvex:{0}>", name, value);
    };
    add("speed", point.speed);
    add("course", point.course);
    add("accuracy", point.accuracy);
    if (point.mode) extensions += fmt::format("<kvex:mode>{}</kvex:mode>", markupText(texts_->modeText(*point.mode)));
    if (!extensions.empty()) extensions = "<extensions>" + extensions + "</extensions>";
    points_.write(fmt::format("<trkpt {}{}</trkpt>\n", place(point), extensions));
  }

  // Waypoints come ahead of tracks.
  void addMark(const TrackMark& mark) override {
    output_.write(fmt::format("<wpt {}<name>{}</name></wpt>\n", place(mark.place), markupText(mark.text)));
  }

  void end() override {
    endPart();
    points_.write("</trk>\n");
  }

  void finish() override {
    points_.moveTo(output_);
    output_.write("</gpx>\n");
  }

 private:
  /// Attributes, altitude and time of a point. The last meridian is the first one here.
  static std::string place(const TrackPoint& point) {
    std::string text =
        fmt::format("lat=\"{}\" lon=\"{}\">", point.latitude, point.longitude == 180 ? -180.0 : point.longitude);
    if (!std::isnan(point.altitude)) text += fmt::format("<ele>{}</ele>", point.altitude);
    return text + fmt::format("<time>{}</time>", utcText(point.time));
  }

  void endPart() {
    if (inPart_) points_.write("</trkseg>\n");
    inPart_ = false;
  }

  Output& output_;
  const TrackTexts* texts_ = nullptr;
  Spool points_;
  bool inPart_ = false;
};

// --- GeoJSON

/// A property of a line with a value for each of its points.
struct PointProperty {
  std::string_view name;
  std::string (*text)(const TrackPoint& point, const TrackTexts& texts);
};

std::string quoted(const std::string& text) {
  return jsonText(text);
}

std::string orNull(double value) {
  return std::isfinite(value) ? fmt::format("{}", value) : "null";
}

constexpr PointProperty kPointProperties[] = {
    {"times", [](const TrackPoint& point, const TrackTexts&) { return quoted(utcText(point.time)); }},
    {"mode",
     [](const TrackPoint& point, const TrackTexts& texts) {
       return point.mode ? quoted(texts.modeText(*point.mode)) : std::string("null");
     }},
    {"speed", [](const TrackPoint& point, const TrackTexts&) { return orNull(point.speed); }},
    {"course", [](const TrackPoint& point, const TrackTexts&) { return orNull(point.course); }},
    {"accuracy", [](const TrackPoint& point, const TrackTexts&) { return orNull(point.accuracy); }},
};

class GeoJsonTrack final : public TrackFormat {
 public:
  GeoJsonTrack(Output& output, const std::string& name) : output_(output) {
    output_.write(fmt::format("{{\"type\":\"FeatureCollection\",\"name\":{},\"features\":[", quoted(name)));
  }

  void begin(const TrackTexts& texts) override { texts_ = &texts; }

  void addPoint(const TrackPoint& point) override {
    if (point.beginsPart) {
      endLine();
    } else if (last_ && std::abs(point.longitude - last_->longitude) > 180) {
      crossAntimeridian(point);
    }
    append(point);
    last_ = point;
  }

  void addMark(const TrackMark& mark) override {
    marks_.write(fmt::format(
        "{}\n{{\"type\":\"Feature\",\"geometry\":{{\"type\":\"Point\",\"coordinates\":[{}]}},"
        "\"properties\":{{\"name\":{},\"time\":{}}}}}",
        hasMarks_ ? "," : "", coordinates(mark.place, ","), quoted(mark.text), quoted(utcText(mark.place.time))));
    hasMarks_ = true;
  }

  void end() override { endLine(); }

  void finish() override {
    if (hasMarks_ && hasLines_) output_.write(",");
    marks_.moveTo(output_);
    output_.write("\n]}\n");
  }

 private:
  /// The line ends on the meridian, and another one begins there on its other side.
  void crossAntimeridian(const TrackPoint& point) {
    const double way = std::remainder(point.longitude - last_->longitude, 360.0);
    const double side = way > 0 ? 180.0 : -180.0;
    const double share = (side - last_->longitude) / way;
    TrackPoint meridian = placeBetween(
        *last_, point, last_->time + static_cast<Nano>(share * static_cast<double>(point.time - last_->time)));
    meridian.latitude = last_->latitude + share * (point.latitude - last_->latitude);
    meridian.longitude = side;
    append(meridian);
    endLine();
    meridian.longitude = -side;
    append(meridian);
  }

  void append(const TrackPoint& point) {
    const std::string_view comma = count_ == 0 ? "" : ",";
    coordinates_.write(fmt::format("{}[{}]", comma, coordinates(point, ",")));
    for (std::size_t i = 0; i < properties_.size(); ++i) {
      properties_[i].write(fmt::format("{}{}", comma, kPointProperties[i].text(point, *texts_)));
    }
    ++count_;
  }

  void endLine() {
    if (count_ > 0) {
      // A line has two points at least.
      const bool isPoint = count_ == 1;
      output_.write(fmt::format("{}\n{{\"type\":\"Feature\",\"geometry\":{{\"type\":\"{}\",\"coordinates\":",
                                hasLines_ ? "," : "", isPoint ? "Point" : "LineString"));
      output_.write(isPoint ? "" : "[");
      coordinates_.moveTo(output_);
      output_.write(fmt::format("{}}},\"properties\":{{\"track\":{}", isPoint ? "" : "]", quoted(texts_->name)));
      for (std::size_t i = 0; i < properties_.size(); ++i) {
        output_.write(fmt::format(",\"{}\":[", kPointProperties[i].name));
        properties_[i].moveTo(output_);
        output_.write("]");
      }
      output_.write("}}");
      hasLines_ = true;
    }
    count_ = 0;
    last_.reset();
  }

  Output& output_;
  const TrackTexts* texts_ = nullptr;
  Spool coordinates_;
  std::array<Spool, std::size(kPointProperties)> properties_;
  Spool marks_;
  std::optional<TrackPoint> last_;
  std::size_t count_ = 0;
  bool hasLines_ = false;
  bool hasMarks_ = false;
};

template <class Format>
std::unique_ptr<TrackFormat> make(Output& output, const std::string& name) {
  return std::make_unique<Format>(output, name);
}

constexpr TrackFormatRow kFormats[] = {
    {".kml", make<KmlTrack>}, {".gpx", make<GpxTrack>}, {".geojson", make<GeoJsonTrack>}};

}  // namespace

std::span<const TrackFormatRow> trackFormats() {
  return kFormats;
}

TrackPoint placeBetween(const TrackPoint& before, const TrackPoint& after, Nano time) {
  const double whole = static_cast<double>(after.time - before.time);
  const double share = whole > 0 ? static_cast<double>(time - before.time) / whole : 0;
  TrackPoint place = before;
  place.time = time;
  place.latitude += share * (after.latitude - before.latitude);
  place.longitude += share * std::remainder(after.longitude - before.longitude, 360.0);
  if (place.longitude > 180) place.longitude -= 360;
  if (place.longitude < -180) place.longitude += 360;
  place.altitude += share * (after.altitude - before.altitude);
  return place;
}

}  // namespace Kvex::Tool
