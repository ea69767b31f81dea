#include "tool/DrawnPath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kAngleScale = 1e8;

std::size_t columnOf(const Overview& overview, const Signal& signal) {
  return static_cast<std::size_t>(std::ranges::find(overview.signals(), signal) - overview.signals().begin());
}

/// What a signal that seldom comes was last, slice by slice.
class HeldValue {
 public:
  HeldValue(const Overview& overview, const Signal& signal)
      : overview_(overview), column_(columnOf(overview, signal)) {}

  double at(std::size_t slice) {
    const Slice seen = overview_.at(column_, slice);
    if (seen.usable > 0) value_ = seen.last.asDouble();
    return value_;
  }

 private:
  const Overview& overview_;
  std::size_t column_;
  double value_ = DrawnSlice::kNone;
};

/// Brings positions of an overview to degrees, slice by slice.
class Placer {
 public:
  Placer(const TrackSignals& track, const Overview& overview) {
    if (!track.plane) return;
    plane_.emplace(Plane{
        {overview, track.plane->latitude}, {overview, track.plane->longitude}, {}, {overview, track.plane->heading}});
    if (track.plane->altitude) plane_->altitude.emplace(overview, *track.plane->altitude);
  }

  void move(std::size_t slice) {
    if (!plane_) return;
    const double altitude = plane_->altitude ? plane_->altitude->at(slice) : 0;
    at_ = {.latitude = plane_->latitude.at(slice),
           .longitude = plane_->longitude.at(slice),
           .altitude = std::isnan(altitude) ? 0 : altitude,
           .heading = plane_->heading.at(slice)};
  }

  LocalPlane::Place place(const Value& latitude, const Value& longitude) const {
    if (plane_) return at_.place(latitude.asDouble(), longitude.asDouble());
    return {latitude.asDouble(), longitude.asDouble()};
  }

 private:
  struct Plane {
    HeldValue latitude;
    HeldValue longitude;
    std::optional<HeldValue> altitude;
    HeldValue heading;
  };

  std::optional<Plane> plane_;
  LocalPlane at_;
};

}  // namespace

void addPlaceSignals(const TrackSignals& track, std::vector<Signal>& signals) {
  std::vector<Signal> wanted{track.latitude, track.longitude};
  if (const auto& plane = track.plane) {
    wanted.insert(wanted.end(), {plane->latitude, plane->longitude, plane->heading});
    if (plane->altitude) wanted.push_back(*plane->altitude);
  }
  for (const Signal& signal : wanted) {
    if (std::ranges::find(signals, signal) == signals.end()) signals.push_back(signal);
  }
}

Json drawnPath(const TrackSignals& track, const Overview& overview, const std::vector<StreamGap>& gaps) {
  const std::size_t latitude = columnOf(overview, track.latitude);
  const std::size_t longitude = columnOf(overview, track.longitude);
  std::array<Json, 2> lists{Json::array(), Json::array()};
  std::array<long long, 2> last{};
  Json slices = Json::array();
  Placer placer(track, overview);
  const auto add = [&](std::size_t slice, const Value& north, const Value& east) {
    const LocalPlane::Place place = placer.place(north, east);
    const std::array degrees{place.latitude, place.longitude};
    if (!(std::abs(degrees[0]) <= 90) || !(std::abs(degrees[1]) <= 360)) return;
    for (std::size_t i = 0; i < degrees.size(); ++i) {
      const long long whole = std::llround(degrees[i] * kAngleScale);
      lists[i].push_back(whole - last[i]);
      last[i] = whole;
    }
    slices.push_back(slice);
  };
  for (std::size_t i = 0; i < overview.slices(); ++i) {
    placer.move(i);
    const Slice north = overview.at(latitude, i);
    const Slice east = overview.at(longitude, i);
    // Both stand in one packet; where only one of them is usable there is no place.
    if (north.usable == 0 || north.usable != east.usable) continue;
    add(i, north.first, east.first);
    if (north.usable > 1) add(i, north.last, east.last);
  }
  return {{"stream", track.stream},
          {"object", track.object},
          {"latitude", lists[0]},
          {"longitude", lists[1]},
          {"slice", slices},
          {"breaks", drawnSignal(track.latitude, drawnSlices(overview, latitude), gaps)["breaks"]}};
}

}  // namespace Kvex::Tool
