#pragma once

namespace Kvex::Nav {

inline constexpr double kRadiansPerDegree = 0.017453292519943295;
inline constexpr double kDegreesPerRadian = 57.29577951308232;

/// An angle in degrees, brought into the range above -180 up to 180. REQUIRES: less than a turn outside.
constexpr double halfTurn(double degrees) {
  if (degrees > 180.0) return degrees - 360.0;
  if (degrees <= -180.0) return degrees + 360.0;
  return degrees;
}

/// An angle in degrees from -180 to 180, told as one from 0 to 360.
constexpr double positiveAngle(double degrees) {
  return degrees < 0.0 ? degrees + 360.0 : degrees;
}

}  // namespace Kvex::Nav
