#pragma once

#include <array>

#include "library/Angles.h"
#include "library/Matrix.h"
#include "nav/NavState.h"

namespace Kvex::Nav {

using Lib::halfTurn;
using Lib::kDegreesPerRadian;
using Lib::kRadiansPerDegree;
using Lib::Matrix3;
using Lib::positiveAngle;
using Lib::Vector3;

/// Three fields of the record that make a vector, or the heading, pitch and roll of a rotation.
using Axes = std::array<NavField<double> NavRecord::*, 3>;

/// A group's flag in the want tree.
using Want = bool NavWantTree::*;

using Lib::allUsable;

inline bool allUsable(const NavRecord& record, const Axes& axes) {
  return allUsable(record.*axes[0], record.*axes[1], record.*axes[2]);
}

inline Vector3 valuesOf(const NavRecord& record, const Axes& axes) {
  return {(record.*axes[0]).value, (record.*axes[1]).value, (record.*axes[2]).value};
}

/// Fields in degrees as a vector in radians.
inline Vector3 radiansOf(const NavRecord& record, const Axes& axes) {
  return kRadiansPerDegree * valuesOf(record, axes);
}

inline void setAxes(NavState& state, const Axes& axes, const Vector3& values) {
  for (std::size_t i = 0; i < axes.size(); ++i) state.setField(state.record.*axes[i], values[i]);
}

inline constexpr Axes kAcceleration{&NavRecord::Ax, &NavRecord::Ay, &NavRecord::Az};
inline constexpr Axes kFilteredAcceleration{&NavRecord::FiltAx, &NavRecord::FiltAy, &NavRecord::FiltAz};
inline constexpr Axes kJerk{&NavRecord::Jx, &NavRecord::Jy, &NavRecord::Jz};
inline constexpr Axes kFilteredJerk{&NavRecord::FiltJx, &NavRecord::FiltJy, &NavRecord::FiltJz};
inline constexpr Axes kAngularRate{&NavRecord::Wx, &NavRecord::Wy, &NavRecord::Wz};
inline constexpr Axes kAngularAcceleration{&NavRecord::Yx, &NavRecord::Yy, &NavRecord::Yz};
inline constexpr Axes kFilteredAngularAcceleration{&NavRecord::FiltYx, &NavRecord::FiltYy, &NavRecord::FiltYz};
inline constexpr Axes kVelocity{&NavRecord::Vn, &NavRecord::Ve, &NavRecord::Vd};
inline constexpr Axes kAttitude{&NavRecord::Heading, &NavRecord::Pitch, &NavRecord::Roll};
inline constexpr Axes kVeh2Out{&NavRecord::Veh2OutHeading, &NavRecord::Veh2OutPitch, &NavRecord::Veh2OutRoll};

}  // namespace Kvex::Nav
