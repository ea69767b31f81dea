#include "front/TrackWalk.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <kvex/File.h>
#include <numbers>

namespace Kvex::Front {

namespace {

constexpr double kDegree = std::numbers::pi / 180;

// The ellipsoid of WGS 84.
constexpr double kEquatorRadius = 6'378'137.0;
constexpr double kEccentricitySquared = 6.694'379'990'141'32e-3;

/// A signal with values in degrees whose name speaks of a latitude.
bool isLatitude(const Signal& signal) {
  if (signal.isArray() || signal.type() != ValueType::Double || signal.unit() != "°") return false;
  std::string name = signal.name();
  std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name == "lat" || name.find("latitude") != std::string::npos || name.ends_with("_lat");
}

/// The name with what speaks of a latitude replaced; empty where nothing does.
std::string nameLike(const std::string& latitude, std::string_view longWord, std::string_view shortWord) {
  const auto replaced = [&](std::string_view word, std::string_view by) {
    const std::size_t place = latitude.rfind(word);
    return place == std::string::npos ? std::string() : std::string(latitude).replace(place, word.size(), by);
  };
  const auto lower = [](std::string_view word) {
    std::string text(word);
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
    return text;
  };
  for (const std::string& name : {replaced("Latitude", longWord), replaced("latitude", lower(longWord)),
                                  replaced("Lat", shortWord), replaced("lat", lower(shortWord))}) {
    if (!name.empty()) return name;
  }
  return {};
}

std::optional<Signal> numberOf(const Stream& stream, const std::string& name, ValueType type = ValueType::Double) {
  const std::vector<Signal>& signals = stream.signals();
  const auto found = std::ranges::find_if(signals, [&](const Signal& signal) {
    return signal.name() == name && signal.type() == type && !signal.isArray();
  });
  return found == signals.end() ? std::nullopt : std::optional(*found);
}

/// A cell of a batch as a number: what is not a number where it has no usable value.
double numberAt(const Batch& batch, std::size_t column, std::size_t row) {
  const ColumnBuffers& buffers = batch.buffers(column);
  if (!bitAt(buffers.validity, row)) return TrackPoint::kUnknown;
  if (buffers.type == ValueType::Float) return static_cast<double>(static_cast<const float*>(buffers.values)[row]);
  return static_cast<const double*>(buffers.values)[row];
}

/// The radii of the ellipsoid at a latitude, in metres: along the meridian, and across it.
struct Radii {
  double along;
  double across;
};

Radii radiiAt(double latitude) {
  const double sine = std::sin(latitude * kDegree);
  const double squared = 1 - kEccentricitySquared * sine * sine;
  const double across = kEquatorRadius / std::sqrt(squared);
  return {.along = across * (1 - kEccentricitySquared) / squared, .across = across};
}

bool isPosition(double latitude, double longitude) {
  // What is not a number is in no range.
  return latitude >= -90 && latitude <= 90 && longitude >= -180 && longitude <= 180;
}

/// Makes points of the rows of batches. Slow signals hold their value until the next one.
class PointReader {
 public:
  explicit PointReader(const TrackSignals& signals) {
    add(signals.latitude, latitude_);
    add(signals.longitude, longitude_);
    add(signals.altitude, altitude_);
    add(signals.speed, speed_);
    add(signals.course, course_);
    add(signals.northAccuracy, north_);
    add(signals.eastAccuracy, east_);
    add(signals.mode, mode_);
    if (!signals.plane) return;
    add(signals.plane->latitude, planeLatitude_);
    add(signals.plane->longitude, planeLongitude_);
    add(signals.plane->altitude, planeAltitude_);
    add(signals.plane->heading, planeHeading_);
  }

  const std::vector<Signal>& signals() const { return asked_; }

  /// Takes a row in. None where it brings no position; then `lost` is whether it takes one away.
  std::optional<TrackPoint> read(const Batch& batch, std::size_t row, bool& lost) {
    const auto brings = [&](std::size_t column) { return bitAt(batch.buffers(column).present, row); };
    for (Held* held : {&altitude_, &speed_, &course_, &north_, &east_, &planeLatitude_, &planeLongitude_,
                       &planeAltitude_, &planeHeading_}) {
      if (held->column && brings(*held->column)) held->value = numberAt(batch, *held->column, row);
    }
    if (mode_.column && brings(*mode_.column)) {
      const Column<std::uint8_t> modes = batch.column<std::uint8_t>(*mode_.column);
      modeValue_ = modes.valid(row) ? std::optional(modes[row]) : std::nullopt;
    }
    lost = false;
    if (!brings(*latitude_.column) && !brings(*longitude_.column)) return std::nullopt;
    const LocalPlane::Place place = placeAt(batch, row);
    TrackPoint point{.time = batch.time(row),
                     .latitude = place.latitude,
                     .longitude = place.longitude,
                     .altitude = altitude_.value,
                     .speed = speed_.value,
                     .course = course_.value,
                     .accuracy = std::hypot(north_.value, east_.value),
                     .mode = modeValue_};
    lost = !isPosition(point.latitude, point.longitude);
    return lost ? std::nullopt : std::optional(point);
  }

 private:
  struct Held {
    std::optional<std::size_t> column;
    double value = TrackPoint::kUnknown;
  };

  LocalPlane::Place placeAt(const Batch& batch, std::size_t row) const {
    const double latitude = numberAt(batch, *latitude_.column, row);
    const double longitude = numberAt(batch, *longitude_.column, row);
    if (!planeHeading_.column) return {latitude, longitude};
    const LocalPlane plane{.latitude = planeLatitude_.value,
                           .longitude = planeLongitude_.value,
                           .altitude = std::isnan(planeAltitude_.value) ? 0 : planeAltitude_.value,
                           .heading = planeHeading_.value};
    return plane.place(latitude, longitude);
  }

  void add(const std::optional<Signal>& signal, Held& held) {
    if (!signal) return;
    held.column = asked_.size();
    asked_.push_back(*signal);
  }

  std::vector<Signal> asked_;
  Held latitude_;
  Held longitude_;
  Held altitude_;
  Held speed_;
  Held course_;
  Held north_;
  Held east_;
  Held mode_;
  Held planeLatitude_;
  Held planeLongitude_;
  Held planeAltitude_;
  Held planeHeading_;
  std::optional<std::uint8_t> modeValue_;
};

/// The gaps of a stream, in order of time.
std::vector<Event> gapsOf(File& file, std::uint32_t stream, const TrackOptions& options) {
  return file
      .events({.kinds = {EventKind::Gap}, .streams = {stream}, .progress = options.progress, .stop = options.stop})
      .list;
}

}  // namespace

std::optional<TrackSignals> trackSignals(const Stream& stream) {
  if (!stream.hasTime()) return std::nullopt;
  for (const Signal& latitude : stream.signals()) {
    if (!isLatitude(latitude)) continue;
    const std::optional<Signal> longitude = numberOf(stream, nameLike(latitude.name(), "Longitude", "Lon"));
    if (!longitude || longitude->unit() != "°") continue;
    const std::string altitudeName = nameLike(latitude.name(), "Altitude", "Alt");
    std::optional<Signal> altitude = numberOf(stream, altitudeName);
    if (!altitude) altitude = numberOf(stream, altitudeName, ValueType::Float);
    TrackSignals signals{.stream = stream.id(), .latitude = latitude, .longitude = *longitude, .altitude = altitude};
    if (latitude.name() == "Lat") {
      signals.speed = numberOf(stream, "Speed2d");
      signals.course = numberOf(stream, "Track");
      signals.northAccuracy = numberOf(stream, "NorthAcc");
      signals.eastAccuracy = numberOf(stream, "EastAcc");
      signals.mode = numberOf(stream, "GpsPosMode", ValueType::UInt8);
    }
    return signals;
  }
  return std::nullopt;
}

std::vector<TrackSignals> objectSignals(const Stream& stream) {
  if (!stream.hasTime()) return {};
  const std::optional<Signal> latitude = numberOf(stream, "Hunter_RefLat");
  const std::optional<Signal> longitude = numberOf(stream, "Hunter_RefLon");
  const std::optional<Signal> heading = numberOf(stream, "Hunter_RefHeading");
  if (!latitude || !longitude || !heading) return {};
  const PlaneSignals plane{*latitude, *longitude, numberOf(stream, "Hunter_RefAlt"), *heading};
  std::vector<TrackSignals> objects;
  const auto add = [&](const std::string& object, const std::string& position) {
    const std::optional<Signal> x = numberOf(stream, position + "X");
    const std::optional<Signal> y = numberOf(stream, position + "Y");
    if (!x || !y) return;
    objects.push_back({.stream = stream.id(), .latitude = *x, .longitude = *y, .object = object, .plane = plane});
  };
  add("Hunter", "Hunter_UnitPos");
  for (const char* target : {"Target1", "Target2", "Target3", "Target4"}) add(target, std::string(target) + "_Pos");
  return objects;
}

Offset offsetBetween(const TrackPoint& from, const TrackPoint& to) {
  const Radii radii = radiiAt(from.latitude);
  const double east = std::remainder(to.longitude - from.longitude, 360.0) * kDegree;
  return {.east = east * radii.across * std::cos(from.latitude * kDegree),
          .north = (to.latitude - from.latitude) * kDegree * radii.along};
}

void TrackThinner::begin(const TrackPoint& point) {
  anchor_ = point;
  newest_.reset();
  farthest_ = 0;
  hasCone_ = false;
}

void TrackThinner::add(const TrackPoint& point) {
  if (tolerance_ <= 0) return visitor_(point);
  const bool changes = anchor_ && point.mode != (newest_ ? *newest_ : *anchor_).mode;
  if (!anchor_ || point.beginsPart || changes) {
    finish();
    visitor_(point);
    return begin(point);
  }
  Offset offset = offsetBetween(*anchor_, point);
  double distance = std::hypot(offset.east, offset.north);
  double direction = std::atan2(offset.east, offset.north);
  const double off = hasCone_ ? std::abs(std::remainder(direction - middle_, 2 * std::numbers::pi)) : 0;
  if (hasCone_ && (distance < farthest_ || off > halfWidth_)) {
    // No line from the anchor to here is near enough to all points between.
    const TrackPoint stays = *newest_;
    visitor_(stays);
    begin(stays);
    offset = offsetBetween(stays, point);
    distance = std::hypot(offset.east, offset.north);
    direction = std::atan2(offset.east, offset.north);
  }
  if (distance > tolerance_) {
    const double width = std::asin(tolerance_ / distance);
    if (!hasCone_) {
      middle_ = direction;
      halfWidth_ = width;
    } else {
      const double at = std::remainder(direction - middle_, 2 * std::numbers::pi);
      const double low = std::max(-halfWidth_, at - width);
      const double high = std::min(halfWidth_, at + width);
      middle_ += (low + high) / 2;
      halfWidth_ = (high - low) / 2;
    }
    hasCone_ = true;
    farthest_ = std::max(farthest_, distance);
  }
  newest_ = point;
}

void TrackThinner::finish() {
  if (newest_) visitor_(*newest_);
  newest_.reset();
  anchor_.reset();
}

void walkTrack(File& file, const TrackSignals& signals, const TrackOptions& options, const TrackVisitor& visitor) {
  if (options.period < 0) throw Error(ErrorCode::InvalidArgument, "a period is not below 0", file.path());
  const std::vector<Event> gaps = gapsOf(file, signals.stream, options);
  auto gap = gaps.begin();
  PointReader points(signals);
  TrackThinner thinner(options.tolerance, visitor);
  bool beginsPart = true;
  std::optional<Nano> lastPeriod;
  const ReadOptions reading{
      .start = options.start, .end = options.end, .progress = options.progress, .stop = options.stop};
  for (const Batch& batch : file.native(points.signals(), reading)) {
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      for (; gap != gaps.end() && gap->record <= batch.time(row); ++gap) beginsPart = true;
      bool lost = false;
      std::optional<TrackPoint> point = points.read(batch, row, lost);
      beginsPart |= lost;
      if (!point) continue;
      if (options.period > 0) {
        const Nano period = point->time / options.period;
        if (!beginsPart && lastPeriod == period) continue;
        lastPeriod = period;
      }
      point->beginsPart = std::exchange(beginsPart, false);
      thinner.add(*point);
    }
  }
  thinner.finish();
}

}  // namespace Kvex::Front

namespace Kvex {

LocalPlane::Place LocalPlane::place(double x, double y) const {
  const Front::Radii radii = Front::radiiAt(latitude);
  const double sine = std::sin(heading * Front::kDegree);
  const double cosine = std::cos(heading * Front::kDegree);
  const double north = x * cosine + y * sine;
  const double east = x * sine - y * cosine;
  const double metresOfLongitude = (radii.across + altitude) * std::cos(latitude * Front::kDegree) * Front::kDegree;
  return {.latitude = latitude + north / ((radii.along + altitude) * Front::kDegree),
          .longitude = std::remainder(longitude + east / metresOfLongitude, 360.0)};
}

}  // namespace Kvex
