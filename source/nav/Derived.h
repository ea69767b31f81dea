#pragma once

#include <cstdint>
#include <optional>

#include "nav/NavState.h"

namespace Kvex::Nav {

// The quantities that are worked out from what a packet brings, in the order of work of a packet. A quantity whose
// group is not wanted, or whose inputs are not usable, is left as it stands: marked by the start of the packet.
// `trigger`: the packet is a trigger packet, between two regular ones; it changes no filter and no integration.

/// Jerk and angular acceleration: the rates of change of acceleration and angular rate. Not for a trigger packet.
void deriveRates(NavState& state);
/// Filtered accelerations, jerk and angular accelerations. Not for a trigger packet.
void deriveFiltered(NavState& state);
/// The rotations of the attitude, and measured vectors turned into the vehicle's level frame.
void deriveRotations(NavState& state);
/// Speeds, track, slip and curvature.
void deriveSpeeds(NavState& state);
/// Distances travelled.
void deriveDistances(NavState& state, bool trigger);
/// Position, velocity and angles in the reference frame.
void deriveFrame(NavState& state);
/// Track, slip and curvature of the measurement points.
void derivePoints(NavState& state);
/// The angle of the direction of travel against the horizontal.
void deriveGradient(NavState& state);
/// Values in the ISO frames.
void deriveIso(NavState& state, bool trigger);
/// Product family, group, model and generation from what the unit reports about itself.
void deriveIdentity(NavState& state);

/// Sets the reference frame: origin in degrees and metres, heading of its X axis in degrees.
void setReferenceFrame(NavState& state, double lat, double lon, double alt, double heading);

/// Radii of curvature of the ellipsoid in metres.
struct EarthRadii {
  double meridian;
  double normal;
};
/// The radii at a latitude, given by its sine.
EarthRadii earthRadii(double sinLat);

// What the unit reports about its filters, which the filtered values here follow; none where a report has no value.

/// The filter of linear acceleration: cut-off in Hz and damping ratio.
void configureLinAccFilter(NavState& state, std::optional<double> freq, std::optional<double> zeta);
/// The filter of angular acceleration: cut-off in Hz and damping ratio.
void configureAngAccFilter(NavState& state, std::optional<double> freq, std::optional<double> zeta);
/// The filter of jerk: `LinJerkFiltType`, even order, cut-off in Hz, and length of the moving average in seconds.
void configureLinJerkFilter(NavState& state, std::optional<std::uint8_t> type, std::optional<std::int32_t> order,
                            std::optional<double> freq, double movAvgLen);

}  // namespace Kvex::Nav
