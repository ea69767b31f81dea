#include "range/RangeGeometry.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

#include "library/Matrix.h"
#include "range/RangeSteps.h"

namespace Kvex::Rng {

namespace {

using Lib::Matrix3;
using Lib::Vector3;

template <std::size_t Count>
using Scalars = std::array<Scalar, Count>;

double valueOrZero(const Scalar& field) {
  return field.usable() ? field.value : 0.0;
}

/// The attitude of a vehicle. Without a heading there is none; a pitch or roll that is not known counts as level.
std::optional<Vector3> attitude(const Scalar& heading, const Scalar& pitch, const Scalar& roll) {
  if (!heading.usable()) return std::nullopt;
  return Vector3{radians(heading.value), radians(valueOrZero(pitch)), radians(valueOrZero(roll))};
}

void writeAngles(const RangeState& state, const Matrix3& rotation, Scalar& heading, Scalar& pitch, Scalar& roll) {
  const Vector3 angles = eulerFromRotation(rotation);
  state.write(heading, degrees(angles[0]));
  state.write(pitch, degrees(angles[1]));
  state.write(roll, degrees(angles[2]));
}

/// The hunter's attitude in one packet, and rotations between the range frame and the vehicles' own axes. What lacks an
/// input, and a rotation that nobody wants, is not there.
struct Frames {
  std::optional<Vector3> hunter;
  std::optional<Matrix3> nedToRange;
  std::optional<Matrix3> rangeToHunter;
  std::optional<Matrix3> rangeToTarget;
};

void deriveHunterFrames(RangeState& state, Frames& frames) {
  RangeBody& body = state.record.body;
  frames.hunter = attitude(body.Hunter_Heading, body.Hunter_Pitch, body.Hunter_Roll);

  if (state.open(state.wants.body[BodyGroup::Range_Ned2RangeHeading], body.Range_Ned2RangeHeading,
                 body.Range_Ned2RangePitch, body.Range_Ned2RangeRoll)) {
    if (frames.hunter) {
      state.write(body.Range_Ned2RangeHeading, body.Hunter_Heading.value);
      state.write(body.Range_Ned2RangePitch, 0.0);
      state.write(body.Range_Ned2RangeRoll, 0.0);
      frames.nedToRange = headingRotation(*frames.hunter);
    } else {
      setUnavailable(body.Range_Ned2RangeHeading, body.Range_Ned2RangePitch, body.Range_Ned2RangeRoll);
    }
  }

  if (state.open(state.wants.body[BodyGroup::Hunter_Range2HunterHeading], body.Hunter_Range2HunterHeading,
                 body.Hunter_Range2HunterPitch, body.Hunter_Range2HunterRoll)) {
    if (frames.hunter) {
      state.write(body.Hunter_Range2HunterHeading, 0.0);
      state.write(body.Hunter_Range2HunterPitch, valueOrZero(body.Hunter_Pitch));
      state.write(body.Hunter_Range2HunterRoll, valueOrZero(body.Hunter_Roll));
      frames.rangeToHunter = levelRotation(*frames.hunter);
    } else {
      setUnavailable(body.Hunter_Range2HunterHeading, body.Hunter_Range2HunterPitch, body.Hunter_Range2HunterRoll);
    }
  }
}

void deriveTargetFrames(RangeState& state, RangeTarget& t, bool wanted, Frames& frames) {
  if (!state.open(wanted, t.Range2TargetHeading, t.Range2TargetPitch, t.Range2TargetRoll, t.Hunter2TargetRelHeading,
                  t.Hunter2TargetRelPitch, t.Hunter2TargetRelRoll)) {
    return;
  }
  const std::optional<Vector3> target = attitude(t.Heading, t.Pitch, t.Roll);
  if (!target) {
    return setUnavailable(t.Range2TargetHeading, t.Range2TargetPitch, t.Range2TargetRoll, t.Hunter2TargetRelHeading,
                          t.Hunter2TargetRelPitch, t.Hunter2TargetRelRoll);
  }
  const Matrix3 nedToTarget = fullRotation(*target);

  if (frames.nedToRange) {
    frames.rangeToTarget = transposedMultiply(*frames.nedToRange, nedToTarget);
    writeAngles(state, *frames.rangeToTarget, t.Range2TargetHeading, t.Range2TargetPitch, t.Range2TargetRoll);
  } else {
    setUnavailable(t.Range2TargetHeading, t.Range2TargetPitch, t.Range2TargetRoll);
  }
  if (frames.hunter) {
    writeAngles(state, transposedMultiply(fullRotation(*frames.hunter), nedToTarget), t.Hunter2TargetRelHeading,
                t.Hunter2TargetRelPitch, t.Hunter2TargetRelRoll);
  } else {
    setUnavailable(t.Hunter2TargetRelHeading, t.Hunter2TargetRelPitch, t.Hunter2TargetRelRoll);
  }
}

void deriveLocalAngle(const RangeState& state, bool wanted, Scalar& localAngle, const Scalar& heading) {
  const Scalar& reference = state.record.body.Hunter_RefHeading;
  if (!state.open(wanted, localAngle)) return;
  if (!allUsable(reference, heading)) return setUnavailable(localAngle);
  state.write(localAngle, Lib::wholeTurn(reference.value - heading.value));
}

/// The hunter's measurement point moved along the range: first only ahead, then only to the side.
void deriveHunterPositions(RangeState& state, RangeTarget& t, bool wanted) {
  if (!state.open(wanted, t.HunterLonPosX, t.HunterLonPosY, t.HunterLatPosX, t.HunterLatPosY)) return;
  const Scalar& localAngle = state.record.body.Hunter_LocalAngle;
  if (!allUsable(t.HunterPosX, t.HunterPosY, t.RangeLon, t.RangeLat, localAngle)) {
    return setUnavailable(t.HunterLonPosX, t.HunterLonPosY, t.HunterLatPosX, t.HunterLatPosY);
  }
  const double cosine = std::cos(radians(localAngle.value));
  const double sine = std::sin(radians(localAngle.value));
  state.write(t.HunterLonPosX, t.HunterPosX.value + t.RangeLon.value * cosine);
  state.write(t.HunterLonPosY, t.HunterPosY.value + t.RangeLon.value * sine);
  state.write(t.HunterLatPosX, t.HunterPosX.value + t.RangeLat.value * sine);
  state.write(t.HunterLatPosY, t.HunterPosY.value - t.RangeLat.value * cosine);
}

struct Point {
  double x;
  double y;
};

/// Where a vehicle stands in the local frame: takes a point of its outline there.
class Placement {
 public:
  Placement(const Scalar& originX, const Scalar& originY, const Scalar& localAngle, const Matrix3& levelled)
      : levelled_(levelled),
        origin_{originX.value, originY.value},
        cosine_(std::cos(radians(localAngle.value))),
        sine_(std::sin(radians(localAngle.value))) {}

  /// `lon` ahead of and `lat` to the right of the vehicle's origin, in its own axes.
  Point operator()(double lon, double lat) const {
    const double x = levelled_(0, 0) * lon + levelled_(0, 1) * lat;
    const double y = levelled_(1, 0) * lon + levelled_(1, 1) * lat;
    return {origin_.x + x * cosine_ + y * sine_, origin_.y + x * sine_ - y * cosine_};
  }

 private:
  Matrix3 levelled_;
  Point origin_;
  double cosine_;
  double sine_;
};

std::optional<Placement> placement(const Scalar& originX, const Scalar& originY, const Scalar& localAngle,
                                   const std::optional<Matrix3>& levelled) {
  if (!levelled || !allUsable(originX, originY, localAngle)) return std::nullopt;
  return Placement(originX, originY, localAngle, *levelled);
}

/// The entries of a list that are to be placed: none without a placement.
template <std::size_t Count>
std::size_t entriesToPlace(const std::optional<Placement>& place, const NavField<std::int32_t>& used) {
  if (!place || !used.usable() || used.value < 0) return 0;
  return std::min(Count, static_cast<std::size_t>(used.value));
}

template <std::size_t Count>
void placePoints(const RangeState& state, const std::optional<Placement>& place, const NavField<std::int32_t>& used,
                 const Scalars<Count>& lon, const Scalars<Count>& lat, Scalars<Count>& posX, Scalars<Count>& posY) {
  const std::size_t entries = entriesToPlace<Count>(place, used);
  for (std::size_t i = 0; i < Count; ++i) {
    if (i >= entries || anyWithoutValue(lon[i], lat[i])) {
      setUnavailable(posX[i], posY[i]);
      continue;
    }
    const Point point = (*place)(lon[i].value, lat[i].value);
    state.write(posX[i], point.x);
    state.write(posY[i], point.y);
    if (anySaturated(lon[i], lat[i])) posX[i].flags = posY[i].flags = lon[i].flags | lat[i].flags;
  }
}

/// The middle of the near and of the far end of each sensor's region.
void placeSensorRegions(RangeState& state, const std::optional<Placement>& place) {
  RangeBody& b = state.record.body;
  const std::size_t entries = entriesToPlace<kSensorPoints>(place, b.Hunter_SensorPointsUsed);
  for (std::size_t i = 0; i < kSensorPoints; ++i) {
    const Scalar& lon = b.Hunter_SensorPointsLon[i];
    const Scalar& lat = b.Hunter_SensorPointsLat[i];
    const Scalar& heading = b.Hunter_SensorPointsHeading[i];
    const Scalar& nearest = b.Hunter_SensorPointsRangeMin[i];
    const Scalar& farthest = b.Hunter_SensorPointsRangeMax[i];
    Scalar& nearX = b.Hunter_SensorRegionNearCentrePosX[i];
    Scalar& nearY = b.Hunter_SensorRegionNearCentrePosY[i];
    Scalar& farX = b.Hunter_SensorRegionFarCentrePosX[i];
    Scalar& farY = b.Hunter_SensorRegionFarCentrePosY[i];
    if (i >= entries || !allUsable(lon, lat, heading, nearest, farthest)) {
      setUnavailable(nearX, nearY, farX, farY);
      continue;
    }
    const double cosine = std::cos(radians(heading.value));
    const double sine = std::sin(radians(heading.value));
    const auto placeAt = [&](const Scalar& range, Scalar& posX, Scalar& posY) {
      const Point point = (*place)(lon.value + cosine * range.value, lat.value + sine * range.value);
      state.write(posX, point.x);
      state.write(posY, point.y);
    };
    placeAt(nearest, nearX, nearY);
    placeAt(farthest, farX, farY);
  }
}

using Outline = Scalars<kPolygonPoints>;

/// A point on an outline's edge: between two vertices, counted from 1, at a fraction of the way from left to right.
struct EdgePoint {
  NavField<std::uint8_t> RangeTarget::*left;
  NavField<std::uint8_t> RangeTarget::*right;
  Scalar RangeTarget::*scale;
  Scalar RangeTarget::*posX;
  Scalar RangeTarget::*posY;
};

constexpr std::array<EdgePoint, 2> kOnHunterOutline{{
    {&RangeTarget::NearestHunPolyPtToTarPtLeft, &RangeTarget::NearestHunPolyPtToTarPtRight,
     &RangeTarget::NearestHunPolyPtToTarPtScale, &RangeTarget::NearestHunPolyPtToTarPtPosX,
     &RangeTarget::NearestHunPolyPtToTarPtPosY},
    {&RangeTarget::NearestHunPolyPtToTarPolyLeft, &RangeTarget::NearestHunPolyPtToTarPolyRight,
     &RangeTarget::NearestHunPolyPtToTarPolyScale, &RangeTarget::NearestHunPolyPtToTarPolyPosX,
     &RangeTarget::NearestHunPolyPtToTarPolyPosY},
}};

constexpr std::array<EdgePoint, 2> kOnTargetOutline{{
    {&RangeTarget::NearestTarPolyPtToHunPtLeft, &RangeTarget::NearestTarPolyPtToHunPtRight,
     &RangeTarget::NearestTarPolyPtToHunPtScale, &RangeTarget::NearestTarPolyPtToHunPtPosX,
     &RangeTarget::NearestTarPolyPtToHunPtPosY},
    {&RangeTarget::NearestTarPolyPtToHunPolyLeft, &RangeTarget::NearestTarPolyPtToHunPolyRight,
     &RangeTarget::NearestTarPolyPtToHunPolyScale, &RangeTarget::NearestTarPolyPtToHunPolyPosX,
     &RangeTarget::NearestTarPolyPtToHunPolyPosY},
}};

void placeOnEdge(const RangeState& state, RangeTarget& t, const EdgePoint& point, const Outline& xs,
                 const Outline& ys) {
  Scalar& posX = t.*point.posX;
  Scalar& posY = t.*point.posY;
  const Scalar& scale = t.*point.scale;
  if (!allUsable(t.*point.left, t.*point.right, scale)) return setUnavailable(posX, posY);
  // A vertex number of 0 ends up far beyond the list.
  const std::size_t i = (t.*point.left).value - std::size_t{1};
  const std::size_t j = (t.*point.right).value - std::size_t{1};
  if (i >= kPolygonPoints || j >= kPolygonPoints || !allUsable(xs[i], ys[i], xs[j], ys[j])) {
    return setUnavailable(posX, posY);
  }
  state.write(posX, xs[i].value + (xs[j].value - xs[i].value) * scale.value);
  state.write(posY, ys[i].value + (ys[j].value - ys[i].value) * scale.value);
}

void placeNearestPoints(const RangeState& state, RangeTarget& t, bool wanted, std::span<const EdgePoint> points,
                        const Outline& xs, const Outline& ys) {
  for (const EdgePoint& point : points) {
    if (state.open(wanted, t.*point.posX, t.*point.posY)) placeOnEdge(state, t, point, xs, ys);
  }
}

/// The mean of a parking space's four corners.
Point centreOfCorners(const Outline& xs, const Outline& ys) {
  return {0.25 * (xs[0].value + xs[1].value + xs[2].value + xs[3].value),
          0.25 * (ys[0].value + ys[1].value + ys[2].value + ys[3].value)};
}

/// The area centroid of an outline by the shoelace formula; not a number for an outline without area.
Point centroid(const Outline& xs, const Outline& ys, std::size_t points) {
  double twiceArea = 0.0;
  Point sum{0.0, 0.0};
  for (std::size_t i = 0; i < points; ++i) {
    const std::size_t k = i + 1 == points ? 0 : i + 1;
    const double cross = xs[i].value * ys[k].value - xs[k].value * ys[i].value;
    twiceArea += cross;
    sum.x += (xs[i].value + xs[k].value) * cross;
    sum.y += (ys[i].value + ys[k].value) * cross;
  }
  const double divisor = 6.0 * (0.5 * twiceArea);
  return {sum.x / divisor, sum.y / divisor};
}

constexpr std::uint8_t kFixedPoint = 1;    // of the target's mode
constexpr std::uint8_t kParkingSpace = 1;  // of the static target's type
constexpr std::uint8_t kUnknownType = 2;
constexpr std::int32_t kCorners = 4;

}  // namespace

void placeVehicles(RangeState& state, std::size_t target) {
  RangeBody& b = state.record.body;
  RangeTarget& t = state.record.targets[target];
  const WantSet<BodyGroup>& wants = state.wants.body;
  const WantSet<TargetGroup>& targetWants = state.wants.targets[target];

  Frames frames;
  deriveHunterFrames(state, frames);
  deriveTargetFrames(state, t, targetWants[TargetGroup::Range2TargetHeading], frames);
  deriveLocalAngle(state, wants[BodyGroup::Hunter_LocalAngle], b.Hunter_LocalAngle, b.Hunter_Heading);
  deriveLocalAngle(state, targetWants[TargetGroup::LocalAngle], t.LocalAngle, t.Heading);
  deriveHunterPositions(state, t, targetWants[TargetGroup::HunterLonPosX]);
  // Written from whatever stands there, wanted or not.
  state.write(t.HunterRelLatDist, b.Hunter_UnitPosX.value - t.PosX.value);

  const std::optional<Placement> hunter =
      placement(b.Hunter_PolygonOriginPosX, b.Hunter_PolygonOriginPosY, b.Hunter_LocalAngle, frames.rangeToHunter);
  if (state.open(wants[BodyGroup::Hunter_PolygonPointsPosX], b.Hunter_PolygonPointsPosX, b.Hunter_PolygonPointsPosY)) {
    placePoints(state, hunter, b.Hunter_PolygonPointsUsed, b.Hunter_PolygonPointsLon, b.Hunter_PolygonPointsLat,
                b.Hunter_PolygonPointsPosX, b.Hunter_PolygonPointsPosY);
  }
  if (state.open(targetWants[TargetGroup::PolygonPointsPosX], t.PolygonPointsPosX, t.PolygonPointsPosY)) {
    // The target's own axes are already turned against the range frame, so the hunter's angle takes them further.
    placePoints(state, placement(t.PolygonOriginPosX, t.PolygonOriginPosY, b.Hunter_LocalAngle, frames.rangeToTarget),
                t.PolygonPointsUsed, t.PolygonPointsLon, t.PolygonPointsLat, t.PolygonPointsPosX, t.PolygonPointsPosY);
  }
  placeNearestPoints(state, t, targetWants[TargetGroup::NearestHunPolyPtToTarPtPosX], kOnHunterOutline,
                     b.Hunter_PolygonPointsPosX, b.Hunter_PolygonPointsPosY);
  placeNearestPoints(state, t, targetWants[TargetGroup::NearestTarPolyPtToHunPtPosX], kOnTargetOutline,
                     t.PolygonPointsPosX, t.PolygonPointsPosY);
  if (state.open(wants[BodyGroup::Hunter_SensorPointsPosX], b.Hunter_SensorPointsPosX, b.Hunter_SensorPointsPosY)) {
    placePoints(state, hunter, b.Hunter_SensorPointsUsed, b.Hunter_SensorPointsLon, b.Hunter_SensorPointsLat,
                b.Hunter_SensorPointsPosX, b.Hunter_SensorPointsPosY);
  }
  if (state.open(wants[BodyGroup::Hunter_SensorRegionNearCentrePosX], b.Hunter_SensorRegionNearCentrePosX,
                 b.Hunter_SensorRegionNearCentrePosY, b.Hunter_SensorRegionFarCentrePosX,
                 b.Hunter_SensorRegionFarCentrePosY)) {
    placeSensorRegions(state, hunter);
  }
}

void deriveParking(RangeState& state, std::size_t target) {
  const RangeBody& b = state.record.body;
  RangeTarget& t = state.record.targets[target];
  const WantSet<TargetGroup>& wants = state.wants.targets[target];

  const bool parkingSpace = t.ModeStatus.value == kFixedPoint && t.PolygonPointsUsed.value == kCorners;
  if (state.open(wants[TargetGroup::ModeStatus], t.StaticTargetType)) {
    state.write(t.StaticTargetType, parkingSpace ? kParkingSpace : kUnknownType);
  }

  Scalar& distance = t.RelDistanceHunterCentreToTargetCentre;
  if (!state.open(wants[TargetGroup::NearestTarPolyPtToHunPtPosX], distance, t.RelHeadingDiff)) return;
  if (!parkingSpace) {
    RangeState::mark(distance, Lib::Flag::kNeverWritten);
    RangeState::mark(t.RelHeadingDiff, Lib::Flag::kNeverWritten);
    return;
  }
  const double difference = b.Hunter_Heading.value - t.Heading.value;
  state.write(t.RelHeadingDiff, difference < 0.0 ? difference + 360.0 : difference);

  if (b.Hunter_PolygonPointsUsed.value < 3) return RangeState::mark(distance, Lib::Flag::kNeverWritten);
  const std::size_t points = std::min(kPolygonPoints, static_cast<std::size_t>(b.Hunter_PolygonPointsUsed.value));
  const Point space = centreOfCorners(t.PolygonPointsPosX, t.PolygonPointsPosY);
  const Point hunter = centroid(b.Hunter_PolygonPointsPosX, b.Hunter_PolygonPointsPosY, points);
  const double dx = hunter.x - space.x;
  const double dy = hunter.y - space.y;
  state.write(distance, std::sqrt(dx * dx + dy * dy));
}

}  // namespace Kvex::Rng
