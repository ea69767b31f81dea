#include <cmath>
#include <optional>

#include "nav/Axes.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

namespace {

/// Stands in for a velocity accuracy that the unit does not give, in m/s.
constexpr double kAssumedAccuracy = 0.07;

/// Below this speed in m/s the direction of travel says nothing about the gradient.
constexpr double kGradientSpeed = 2.0;
/// The gradient's accuracy must not be worse than this, in radians.
constexpr double kGradientAccuracy = kRadiansPerDegree;

/// A measured vector and its form in forward, lateral, down.
struct Levelled {
  Want want;
  Axes from;
  Axes to;
};

constexpr Levelled kLevelled[] = {
    {&NavWantTree::Af, kAcceleration, {&NavRecord::Af, &NavRecord::Al, &NavRecord::Ad}},
    {&NavWantTree::FiltAf, kFilteredAcceleration, {&NavRecord::FiltAf, &NavRecord::FiltAl, &NavRecord::FiltAd}},
    {&NavWantTree::Jf, kJerk, {&NavRecord::Jf, &NavRecord::Jl, &NavRecord::Jd}},
    {&NavWantTree::FiltJf, kFilteredJerk, {&NavRecord::FiltJf, &NavRecord::FiltJl, &NavRecord::FiltJd}},
    {&NavWantTree::Wf, kAngularRate, {&NavRecord::Wf, &NavRecord::Wl, &NavRecord::Wd}},
    {&NavWantTree::Yf, kAngularAcceleration, {&NavRecord::Yf, &NavRecord::Yl, &NavRecord::Yd}},
    {&NavWantTree::FiltYf, kFilteredAngularAcceleration, {&NavRecord::FiltYf, &NavRecord::FiltYl, &NavRecord::FiltYd}},
};

constexpr Axes kNed2Veh{&NavRecord::Ned2VehHeading, &NavRecord::Ned2VehPitch, &NavRecord::Ned2VehRoll};
constexpr Axes kNed2Surf{&NavRecord::Ned2SurfHeading, &NavRecord::Ned2SurfPitch, &NavRecord::Ned2SurfRoll};
constexpr Axes kSurf2Out{&NavRecord::Surf2OutHeading, &NavRecord::Surf2OutPitch, &NavRecord::Surf2OutRoll};
constexpr Axes kLps{&NavRecord::LpsOmega, &NavRecord::LpsPhi, &NavRecord::LpsKappa};

struct Travelled {
  NavField<double> NavRecord::*speed;
  NavField<double> NavRecord::*distance;
};

constexpr std::array<Travelled, 4> kTravelled{{{&NavRecord::Speed2d, &NavRecord::Dist2d},
                                               {&NavRecord::Speed2dHold, &NavRecord::Dist2dHold},
                                               {&NavRecord::Speed3d, &NavRecord::Dist3d},
                                               {&NavRecord::Speed3dHold, &NavRecord::Dist3dHold}}};

void setEuler(NavState& state, const Axes& to, const Matrix3& rotation) {
  Vector3 angles = kDegreesPerRadian * Lib::eulerFromRotation(rotation);
  angles[0] = positiveAngle(angles[0]);
  setAxes(state, to, angles);
}

double length(double a, double b) {
  return std::sqrt(a * a + b * b);
}

/// Track, slip and curvature, for a horizontal speed that is large enough to have a direction.
void deriveDirection(NavState& state) {
  NavRecord& r = state.record;
  const NavWantTree& wants = state.wants;
  const double vn = r.Vn.value;
  const double ve = r.Ve.value;
  if (wants.Track) {
    state.setField(r.Track, std::atan2(ve, vn) * kDegreesPerRadian);
    if (allUsable(r.VnAcc, r.VeAcc)) {
      const double across = length(r.VnAcc.value * ve, r.VeAcc.value * vn);
      state.setField(r.TrackAcc, across / (vn * vn + ve * ve) * kDegreesPerRadian);
    }
  }
  if (wants.Slip && allUsable(r.Track, r.Heading)) {
    state.setField(r.Slip, halfTurn(r.Track.value - r.Heading.value));
    if (allUsable(r.TrackAcc, r.HeadingAcc)) {
      state.setField(r.SlipAcc, length(r.TrackAcc.value, r.HeadingAcc.value));
    }
  }
  if (wants.Curvature && r.Wd.usable()) {
    state.setField(r.Curvature, r.Wd.value * kRadiansPerDegree / r.Speed2d.value);
  }
}

}  // namespace

void deriveRotations(NavState& state) {
  NavRecord& r = state.record;
  const NavWantTree& wants = state.wants;
  Attitude& attitude = state.derived.attitude;
  if (!allUsable(r, kAttitude)) return;
  attitude.set(radiansOf(r, kAttitude));

  if (wants.LpsOmega) {
    const Vector3 lps = kDegreesPerRadian * Lib::omegaPhiKappa(attitude.body());
    setAxes(state, kLps, {lps[0], lps[1], positiveAngle(lps[2])});
  }
  for (const Levelled& row : kLevelled) {
    if (wants.*row.want && allUsable(r, row.from)) setAxes(state, row.to, attitude.level() * valuesOf(r, row.from));
  }
  if (wants.Vf && allUsable(r, kVelocity)) {
    const Vector3 v = transposedMultiply(attitude.heading(), valuesOf(r, kVelocity));
    state.setField(r.Vf, v[0]);
    state.setField(r.Vl, v[1]);
  }
  if (wants.Ned2VehHeading && allUsable(r, kVeh2Out)) {
    setEuler(state, kNed2Veh,
             multiplyTransposed(attitude.body(), state.derived.vehicleInOutput.rotation(radiansOf(r, kVeh2Out))));
  }
  if (wants.Surf2OutHeading && allUsable(r, kNed2Surf)) {
    setEuler(state, kSurf2Out,
             transposedMultiply(state.derived.surface.rotation(radiansOf(r, kNed2Surf)), attitude.body()));
  }
}

void deriveSpeeds(NavState& state) {
  NavRecord& r = state.record;
  if (!state.wants.Speed2d || !allUsable(r.Vn, r.Ve)) return;
  // What is not above twice its standard deviation counts as standing still.
  const auto held = [](double speed, double accuracy) { return speed > 2.0 * accuracy ? speed : 0.0; };

  const double speed = length(r.Vn.value, r.Ve.value);
  double accuracy = kAssumedAccuracy;
  if (allUsable(r.VnAcc, r.VeAcc)) {
    accuracy = length(r.VnAcc.value, r.VeAcc.value);
    state.setField(r.Speed2dAcc, accuracy);
  }
  state.setField(r.Speed2d, speed);
  state.setField(r.Speed2dHold, held(speed, accuracy));

  if (r.Vd.usable()) {
    const double speed3d = std::sqrt(r.Vn.value * r.Vn.value + r.Ve.value * r.Ve.value + r.Vd.value * r.Vd.value);
    const double accuracy3d = length(accuracy, r.VdAcc.usable() ? r.VdAcc.value : kAssumedAccuracy);
    if (r.VdAcc.usable()) state.setField(r.Speed3dAcc, accuracy3d);
    state.setField(r.Speed3d, speed3d);
    state.setField(r.Speed3dHold, held(speed3d, accuracy3d));
  }
  if (speed > 2.0 * accuracy) deriveDirection(state);
}

void deriveDistances(NavState& state, bool trigger) {
  NavRecord& r = state.record;
  if (!state.wants.Dist2d || !r.NanoSeconds.usable()) return;
  const double t = r.NanoSeconds.value;
  for (std::size_t i = 0; i < kTravelled.size(); ++i) {
    const NavField<double>& speed = r.*kTravelled[i].speed;
    if (!speed.usable()) continue;
    DistanceIntegrator& integrator = state.derived.distances[i];
    const std::optional<double> distance = trigger ? integrator.peek(t, speed.value) : integrator.step(t, speed.value);
    if (distance) state.setField(r.*kTravelled[i].distance, *distance);
  }
}

void deriveGradient(NavState& state) {
  NavRecord& r = state.record;
  if (!state.wants.AngleGradient || !allUsable(r, kVelocity) || !allUsable(r.VnAcc, r.VeAcc, r.VdAcc)) return;
  const double speed = length(r.Vn.value, r.Ve.value);
  if (!(speed >= kGradientSpeed)) return;
  const double accuracy =
      std::sqrt(r.VnAcc.value * r.VnAcc.value + r.VeAcc.value * r.VeAcc.value + r.VdAcc.value * r.VdAcc.value);
  if (std::atan(accuracy / speed) > kGradientAccuracy) return;
  state.setField(r.AngleGradient, -std::atan(r.Vd.value / speed) * kDegreesPerRadian);
}

}  // namespace Kvex::Nav
