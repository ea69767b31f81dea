#include <cmath>

#include "nav/Axes.h"
#include "nav/Derived.h"

// The axes of the ISO frames: of the earth-fixed one east, north, up; of the intermediate one forward, left, up along
// the heading; of the vehicle's forward, left, up in the vehicle. The decoder works in north, east, down and in
// forward, right, down.

namespace Kvex::Nav {

namespace {

/// The form of a vector in one of the frames.
struct IsoForm {
  Want want;
  Axes axes;
};

struct IsoVector {
  IsoForm earth;
  IsoForm intermediate;
  IsoForm vehicle;
};

// Turned from the earth-fixed frame inwards: a form is wanted only together with those before it.
constexpr IsoVector kIsoVelocity{{&NavWantTree::IsoVnX, {&NavRecord::IsoVnX, &NavRecord::IsoVnY, &NavRecord::IsoVnZ}},
                                 {&NavWantTree::IsoVhX, {&NavRecord::IsoVhX, &NavRecord::IsoVhY, &NavRecord::IsoVhZ}},
                                 {&NavWantTree::IsoVoX, {&NavRecord::IsoVoX, &NavRecord::IsoVoY, &NavRecord::IsoVoZ}}};
constexpr IsoVector kIsoAcceleration{
    {&NavWantTree::IsoAnX, {&NavRecord::IsoAnX, &NavRecord::IsoAnY, &NavRecord::IsoAnZ}},
    {&NavWantTree::IsoAhX, {&NavRecord::IsoAhX, &NavRecord::IsoAhY, &NavRecord::IsoAhZ}},
    {&NavWantTree::IsoAoX, {&NavRecord::IsoAoX, &NavRecord::IsoAoY, &NavRecord::IsoAoZ}}};
constexpr IsoVector kFiltIsoAcceleration{
    {&NavWantTree::FiltIsoAnX, {&NavRecord::FiltIsoAnX, &NavRecord::FiltIsoAnY, &NavRecord::FiltIsoAnZ}},
    {&NavWantTree::FiltIsoAhX, {&NavRecord::FiltIsoAhX, &NavRecord::FiltIsoAhY, &NavRecord::FiltIsoAhZ}},
    {&NavWantTree::FiltIsoAoX, {&NavRecord::FiltIsoAoX, &NavRecord::FiltIsoAoY, &NavRecord::FiltIsoAoZ}}};
constexpr IsoVector kIsoJerk{{&NavWantTree::IsoJnX, {&NavRecord::IsoJnX, &NavRecord::IsoJnY, &NavRecord::IsoJnZ}},
                             {&NavWantTree::IsoJhX, {&NavRecord::IsoJhX, &NavRecord::IsoJhY, &NavRecord::IsoJhZ}},
                             {&NavWantTree::IsoJoX, {&NavRecord::IsoJoX, &NavRecord::IsoJoY, &NavRecord::IsoJoZ}}};
/// The turned forms of filtered jerk are worked out with those of jerk.
constexpr IsoVector kFiltIsoJerk{
    {&NavWantTree::FiltIsoJnX, {&NavRecord::FiltIsoJnX, &NavRecord::FiltIsoJnY, &NavRecord::FiltIsoJnZ}},
    {&NavWantTree::IsoJhX, {&NavRecord::FiltIsoJhX, &NavRecord::FiltIsoJhY, &NavRecord::FiltIsoJhZ}},
    {&NavWantTree::IsoJoX, {&NavRecord::FiltIsoJoX, &NavRecord::FiltIsoJoY, &NavRecord::FiltIsoJoZ}}};

// Turned from the vehicle's frame outwards.
constexpr IsoVector kIsoAngularRate{
    {&NavWantTree::IsoWnX, {&NavRecord::IsoWnX, &NavRecord::IsoWnY, &NavRecord::IsoWnZ}},
    {&NavWantTree::IsoWhX, {&NavRecord::IsoWhX, &NavRecord::IsoWhY, &NavRecord::IsoWhZ}},
    {&NavWantTree::IsoWoX, {&NavRecord::IsoWoX, &NavRecord::IsoWoY, &NavRecord::IsoWoZ}}};
constexpr IsoVector kIsoAngularAcceleration{
    {&NavWantTree::IsoYnX, {&NavRecord::IsoYnX, &NavRecord::IsoYnY, &NavRecord::IsoYnZ}},
    {&NavWantTree::IsoYhX, {&NavRecord::IsoYhX, &NavRecord::IsoYhY, &NavRecord::IsoYhZ}},
    {&NavWantTree::IsoYoX, {&NavRecord::IsoYoX, &NavRecord::IsoYoY, &NavRecord::IsoYoZ}}};
constexpr IsoVector kFiltIsoAngularAcceleration{
    {&NavWantTree::FiltIsoYnX, {&NavRecord::FiltIsoYnX, &NavRecord::FiltIsoYnY, &NavRecord::FiltIsoYnZ}},
    {&NavWantTree::FiltIsoYhX, {&NavRecord::FiltIsoYhX, &NavRecord::FiltIsoYhY, &NavRecord::FiltIsoYhZ}},
    {&NavWantTree::FiltIsoYoX, {&NavRecord::FiltIsoYoX, &NavRecord::FiltIsoYoY, &NavRecord::FiltIsoYoZ}}};

/// From north, east, down to east, north, up, and back.
Vector3 earthAxes(const Vector3& v) {
  return {v[1], v[0], -v[2]};
}
/// From forward, right, down to forward, left, up.
Vector3 vehicleAxes(const Vector3& v) {
  return {v[0], -v[1], -v[2]};
}

/// Sets the intermediate and the vehicle form of a vector given as north, east, down.
void setInner(NavState& state, const IsoVector& iso, const Vector3& ned) {
  Attitude& attitude = state.derived.attitude;
  if (!(state.wants.*iso.intermediate.want) || !attitude.known()) return;
  const Vector3 along = transposedMultiply(attitude.heading(), ned);
  setAxes(state, iso.intermediate.axes, vehicleAxes(along));
  if (!(state.wants.*iso.vehicle.want)) return;
  setAxes(state, iso.vehicle.axes, vehicleAxes(transposedMultiply(attitude.level(), along)));
}

void setFromEarth(NavState& state, const IsoVector& iso, const Vector3& ned) {
  if (!(state.wants.*iso.earth.want)) return;
  setAxes(state, iso.earth.axes, earthAxes(ned));
  setInner(state, iso, ned);
}

/// Sets the forms of a vector given on the body's axes. REQUIRES: the attitude is known.
void setFromBody(NavState& state, const IsoVector& iso, const Vector3& body) {
  Attitude& attitude = state.derived.attitude;
  if (!(state.wants.*iso.vehicle.want)) return;
  setAxes(state, iso.vehicle.axes, vehicleAxes(body));
  if (!(state.wants.*iso.intermediate.want)) return;
  const Vector3 along = attitude.level() * body;
  setAxes(state, iso.intermediate.axes, vehicleAxes(along));
  if (!(state.wants.*iso.earth.want)) return;
  setAxes(state, iso.earth.axes, earthAxes(attitude.heading() * along));
}

/// What a vehicle on the earth measures beside its own motion.
struct EarthTerms {
  Vector3 rate;          ///< Of the local level frame against space, rad/s on the body's axes.
  Vector3 acceleration;  ///< To be added to the measured one: gravity less the Coriolis term, north, east, down.
};

/// Normal gravity in m/s² at a latitude, given by its sine and cosine, and a depth below the ellipsoid in metres.
double gravity(double sinLat, double cosLat, double depth) {
  const double sinTwice = 2.0 * sinLat * cosLat;
  const double surface = 9.780318 * (1.0 + 0.0053024 * (sinLat * sinLat) - 5.9e-06 * (sinTwice * sinTwice));
  const double c = 1.0 - depth / 6367435.68;
  return depth > 0.0 ? c * c * c * surface : surface / (c * c);
}

EarthTerms earthTerms(double lat, double depth, const Vector3& velocity, const Matrix3& body) {
  constexpr double kEarthRate = 7.2921151467e-05;
  const double sinLat = std::sin(lat);
  const double cosLat = std::cos(lat);
  const EarthRadii radii = earthRadii(sinLat);
  const double north = velocity[0] / (radii.meridian - depth);
  const double east = velocity[1] / (radii.normal - depth);
  const Vector3 earth = kEarthRate * Vector3{cosLat, 0.0, -sinLat};
  const Vector3 transport{east, -north, -(sinLat / cosLat) * east};
  const Vector3 coriolis = Lib::cross(2.0 * earth + transport, velocity);
  return {.rate = transposedMultiply(body, earth + transport),
          .acceleration = Vector3{0.0, 0.0, gravity(sinLat, cosLat, depth)} - coriolis};
}

void deriveIsoAttitude(NavRecord& r) {
  if (r.Heading.hasValue()) r.IsoYaw.copyReversed(r.Heading, Lib::isoYaw(r.Heading.value));
  if (r.Pitch.hasValue()) r.IsoPitch.copyReversed(r.Pitch, -r.Pitch.value);
  if (r.Roll.hasValue()) r.IsoRoll.copy(r.Roll);
}

/// Jerk in the ISO frames: the rate of change of the acceleration in the earth-fixed one.
void deriveIsoJerk(NavState& state, bool trigger) {
  NavRecord& r = state.record;
  DerivedState& derived = state.derived;
  const double t = r.NanoSeconds.value;
  for (std::size_t i = 0; i < derived.isoJerk.size(); ++i) {
    const NavField<double>& acceleration = r.*kIsoAcceleration.earth.axes[i];
    if (!acceleration.usable()) continue;
    RateEstimator& estimator = derived.isoJerk[i];
    if (!trigger) estimator.step(t, acceleration.value);
    if (!estimator.ready()) continue;
    state.setField(r.*kIsoJerk.earth.axes[i], estimator.rate());

    if (!state.wants.FiltIsoJnX) continue;
    NavField<double>& filtered = r.*kFiltIsoJerk.earth.axes[i];
    if (derived.jerkFilter.bypass) {
      state.setField(filtered, estimator.rate());
      continue;
    }
    JerkFilter& filter = derived.isoJerkFilter[i];
    if (!trigger) filter.step(t, estimator.rate());
    if (filter.ready()) state.setField(filtered, filter.output());
  }
  for (const IsoVector* jerk : {&kIsoJerk, &kFiltIsoJerk}) {
    if (allUsable(r, jerk->earth.axes)) setInner(state, *jerk, earthAxes(valuesOf(r, jerk->earth.axes)));
  }
}

}  // namespace

void deriveIso(NavState& state, bool trigger) {
  NavRecord& r = state.record;
  const NavWantTree& wants = state.wants;
  Attitude& attitude = state.derived.attitude;
  if (wants.IsoYaw) deriveIsoAttitude(r);

  if (!allUsable(r, kVelocity)) return;
  const Vector3 velocity = valuesOf(r, kVelocity);
  setFromEarth(state, kIsoVelocity, velocity);
  if (!allUsable(r.Lat, r.Lon, r.Alt) || !attitude.known()) return;

  EarthTerms earth;
  if (wants.IsoAnX || wants.FiltIsoAnX || wants.IsoWoX) {
    earth = earthTerms(r.Lat.value * kRadiansPerDegree, -r.Alt.value, velocity, attitude.body());
  }
  const auto accelerate = [&](const IsoVector& iso, const Axes& measured) {
    if (!(wants.*iso.earth.want) || !allUsable(r, measured)) return;
    setFromEarth(state, iso, attitude.body() * valuesOf(r, measured) + earth.acceleration);
  };
  accelerate(kIsoAcceleration, kAcceleration);
  accelerate(kFiltIsoAcceleration, kFilteredAcceleration);
  if (wants.IsoJnX && state.protocol.hasJerk) deriveIsoJerk(state, trigger);

  // The rate of the earth is taken off in radians per second from a rate in degrees per second: readers of these
  // signals rely on the numbers as they stand.
  if (allUsable(r, kAngularRate)) setFromBody(state, kIsoAngularRate, valuesOf(r, kAngularRate) - earth.rate);
  if (allUsable(r, kAngularAcceleration)) {
    setFromBody(state, kIsoAngularAcceleration, valuesOf(r, kAngularAcceleration));
  }
  if (allUsable(r, kFilteredAngularAcceleration)) {
    setFromBody(state, kFiltIsoAngularAcceleration, valuesOf(r, kFilteredAngularAcceleration));
  }
}

}  // namespace Kvex::Nav
