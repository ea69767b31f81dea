#include "range/RangeDerived.h"

#include <cmath>
#include <optional>

#include "range/RangeGeometry.h"
#include "range/RangeIso.h"
#include "range/RangeSteps.h"

namespace Kvex::Rng {

namespace {

constexpr std::uint8_t kBothEnds = Lib::Flag::kLow | Lib::Flag::kHigh;

// What the resultants read when an input stands at an end of its range.
constexpr double kLongestRange = 2147483.647;
constexpr double kLargestAcceleration = 327.67;

// Below these a rate brings no impact, and an acceleration does not count.
constexpr double kSmallestRate = 0.1;
constexpr double kSmallestAcceleration = 0.05;

/// The part of a vector along the line to the target, or its length where the target is at no distance.
double alongRange(const RangeTarget& t, double lon, double lat) {
  const double range = t.RangeRes.value;
  if (range > 0.0) return (lat * t.RangeLat.value + t.RangeLon.value * lon) / range;
  return std::sqrt(lat * lat + lon * lon);
}

void deriveRange(RangeState& state, RangeTarget& t, bool wanted) {
  if (!state.open(wanted, t.RangeRes, t.RangeAngle)) return;
  if (anyWithoutValue(t.RangeLon, t.RangeLat)) return setUnavailable(t.RangeRes, t.RangeAngle);
  if (anySaturated(t.RangeLon, t.RangeLat)) {
    state.write(t.RangeRes, kLongestRange);
    t.RangeRes.flags |= Lib::Flag::kHigh;
    state.write(t.RangeAngle, 0.0);
    t.RangeAngle.flags |= kBothEnds;
    return;
  }
  const double lon = t.RangeLon.value;
  const double lat = t.RangeLat.value;
  state.write(t.RangeRes, std::sqrt(lon * lon + lat * lat));
  state.write(t.RangeAngle, degrees(std::atan2(lat, lon)));
}

void deriveRangeRate(RangeState& state, RangeTarget& t, bool wanted) {
  if (!state.open(wanted, t.RangeRateRes)) return;
  if (!allUsable(t.RangeRateLon, t.RangeRateLat, t.RangeLon, t.RangeLat, t.RangeRes)) {
    return setUnavailable(t.RangeRateRes);
  }
  state.write(t.RangeRateRes, alongRange(t, t.RangeRateLon.value, t.RangeRateLat.value));
}

/// The time in which a distance is covered at a speed that is not too small.
void deriveTime(RangeState& state, Scalar& time, const Scalar& distance, const Scalar& speed, double sign) {
  if (!allUsable(distance, speed) || std::abs(speed.value) < kSmallestRate) return setUnavailable(time);
  state.write(time, sign * distance.value / speed.value);
}

void deriveRangeAcceleration(RangeState& state, RangeTarget& t, bool wanted) {
  if (!state.open(wanted, t.RangeAccRes)) return;
  if (anyWithoutValue(t.RangeAccLat, t.RangeAccLon, t.RangeLat, t.RangeLon, t.RangeRes)) {
    return setUnavailable(t.RangeAccRes);
  }
  if (anySaturated(t.RangeAccLat, t.RangeAccLon, t.RangeLat, t.RangeLon, t.RangeRes)) {
    state.write(t.RangeAccRes, kLargestAcceleration);
    t.RangeAccRes.flags |= Lib::Flag::kHigh;
    return;
  }
  state.write(t.RangeAccRes, alongRange(t, t.RangeAccLon.value, t.RangeAccLat.value));
}

/// When `range + rate * t + acceleration / 2 * t^2` becomes 0. Of two times the one to come is taken, of two of the
/// same sign the nearer one; none where the range never becomes 0.
std::optional<double> timeToZero(double range, double rate, double acceleration) {
  if (std::abs(acceleration) < kSmallestAcceleration) {
    if (std::abs(rate) < kSmallestRate) return std::nullopt;
    return -range / rate;
  }
  const double d = rate * rate - 2.0 * acceleration * range;
  if (d < 0.0) return std::nullopt;
  if (d == 0.0) return -rate / acceleration;
  const double root = std::sqrt(d);
  const double t1 = -(rate + root) / acceleration;
  const double t2 = -(rate - root) / acceleration;
  if ((t1 >= 0.0) != (t2 >= 0.0)) return t1 >= 0.0 ? t1 : t2;
  return std::abs(t2) > std::abs(t1) ? t1 : t2;
}

bool isSaturated(const Scalar& field) {
  return !anyWithoutValue(field) && anySaturated(field);
}

void deriveTimeWithAcceleration(RangeState& state, Scalar& time, const Scalar& range, const Scalar& rate,
                                const Scalar& acceleration) {
  std::optional<double> found;
  if (allUsable(range, rate, acceleration)) found = timeToZero(range.value, rate.value, acceleration.value);
  if (found) {
    state.write(time, *found);
  } else {
    setUnavailable(time);
  }
  if (isSaturated(range) || isSaturated(rate) || isSaturated(acceleration)) time.flags |= kBothEnds;
}

}  // namespace

void deriveRanges(RangeState& state, std::size_t target) {
  RangeTarget& t = state.record.targets[target];
  const WantSet<TargetGroup>& wants = state.wants.targets[target];
  deriveRange(state, t, wants[TargetGroup::RangeLon]);
  deriveRangeRate(state, t, wants[TargetGroup::RangeRateLon]);
  if (state.open(wants[TargetGroup::TimeToImpactLon], t.TimeToImpactLon, t.TimeToImpactLat)) {
    deriveTime(state, t.TimeToImpactLon, t.RangeLon, t.RangeRateLon, -1.0);
    deriveTime(state, t.TimeToImpactLat, t.RangeLat, t.RangeRateLat, -1.0);
  }
}

void deriveMotion(RangeState& state, std::size_t target) {
  RangeTarget& t = state.record.targets[target];
  const WantSet<TargetGroup>& wants = state.wants.targets[target];
  if (state.open(wants[TargetGroup::TimeGapForward], t.TimeGapForward)) {
    deriveTime(state, t.TimeGapForward, t.RangeLon, t.HunterVelF, 1.0);
  }
  deriveRangeAcceleration(state, t, wants[TargetGroup::RangeAccLon]);
  if (state.open(wants[TargetGroup::TimeToImpactwALon], t.TimeToImpactwALat, t.TimeToImpactwALon)) {
    deriveTimeWithAcceleration(state, t.TimeToImpactwALat, t.RangeLat, t.RangeRateLat, t.RangeAccLat);
    deriveTimeWithAcceleration(state, t.TimeToImpactwALon, t.RangeLon, t.RangeRateLon, t.RangeAccLon);
  }
}

void deriveGeometry(RangeState& state, std::size_t target) {
  placeVehicles(state, target);
  copyToIso(state, target);
  deriveParking(state, target);
}

void deriveLane(RangeState& state) {
  copyLaneToIso(state);
}

}  // namespace Kvex::Rng
