#include <cmath>

#include "nav/Axes.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

namespace {

/// The ellipsoid WGS84.
constexpr double kSemiMajorAxis = 6378137.0;
constexpr double kEccentricity = 0.0818191908426;
constexpr double kPolarFactor = 6335439.327292843;  ///< Semi-major axis times (1 - eccentricity²).

/// Above this speed in m/s there is a track in the reference frame.
constexpr double kTrackSpeed = 2.0;

void derivePosition(NavState& state) {
  NavRecord& r = state.record;
  if (!allUsable(r.Lat, r.Lon, r.RefLat, r.RefLon, r.RefLatRadius, r.RefLonRadius)) return;
  const double northing = (r.Lat.value - r.RefLat.value) * r.RefLatRadius.value;
  const double easting = (r.Lon.value - r.RefLon.value) * r.RefLonRadius.value;
  state.setField(r.RefFrameNorthing, northing);
  state.setField(r.RefFrameEasting, easting);
  if (!allUsable(r.RefHeadingCos, r.RefHeadingSin)) return;
  state.setField(r.RefFrameX, r.RefHeadingCos.value * northing + r.RefHeadingSin.value * easting);
  state.setField(r.RefFrameY, r.RefHeadingSin.value * northing - r.RefHeadingCos.value * easting);
}

void deriveVelocity(NavState& state) {
  NavRecord& r = state.record;
  if (!allUsable(r.Vn, r.Ve, r.RefHeadingCos, r.RefHeadingSin)) return;
  state.setField(r.RefFrameVelX, r.Vn.value * r.RefHeadingCos.value + r.Ve.value * r.RefHeadingSin.value);
  state.setField(r.RefFrameVelY, r.Vn.value * r.RefHeadingSin.value - r.Ve.value * r.RefHeadingCos.value);
}

void deriveYaw(NavState& state) {
  NavRecord& r = state.record;
  if (!allUsable(r.Heading, r.RefHeading)) return;
  state.setField(r.RefFrameYaw, halfTurn(r.RefHeading.value - r.Heading.value));
}

void deriveTrack(NavState& state) {
  NavRecord& r = state.record;
  if (!allUsable(r.Vn, r.Ve, r.RefHeading)) return;
  const double vn = r.Vn.value;
  const double ve = r.Ve.value;
  if (!(std::sqrt(vn * vn + ve * ve) > kTrackSpeed)) return;
  const double track = halfTurn(std::atan2(ve, vn) * kDegreesPerRadian);
  state.setField(r.RefFrameTrack, halfTurn(r.RefHeading.value - track));
}

}  // namespace

EarthRadii earthRadii(double sinLat) {
  const double s = sinLat * kEccentricity;
  const double q = 1.0 - s * s;
  const double root = std::sqrt(q);
  return {.meridian = kPolarFactor / (q * root), .normal = kSemiMajorAxis / root};
}

void setReferenceFrame(NavState& state, double lat, double lon, double alt, double heading) {
  NavRecord& r = state.record;
  heading = halfTurn(heading);
  const double latRadians = lat * kRadiansPerDegree;
  const double headingRadians = heading * kRadiansPerDegree;
  const EarthRadii radii = earthRadii(std::sin(latRadians));
  state.setField(r.RefLat, lat);
  state.setField(r.RefLon, lon);
  state.setField(r.RefAlt, alt);
  state.setField(r.RefHeading, heading);
  state.setField(r.RefHeadingCos, std::cos(headingRadians));
  state.setField(r.RefHeadingSin, std::sin(headingRadians));
  state.setField(r.RefLatRadius, (radii.meridian + alt) * kRadiansPerDegree);
  state.setField(r.RefLonRadius, std::cos(latRadians) * (radii.normal + alt) * kRadiansPerDegree);
}

void deriveFrame(NavState& state) {
  const NavWantTree& wants = state.wants;
  if (!wants.RefLat) return;
  if (wants.RefFrameNorthing) derivePosition(state);
  if (wants.RefFrameVelX) deriveVelocity(state);
  if (wants.RefFrameYaw) deriveYaw(state);
  if (wants.RefFrameTrack) deriveTrack(state);
}

}  // namespace Kvex::Nav
