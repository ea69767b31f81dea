#pragma once

namespace Kvex::Lib {

inline constexpr double kRadiansPerDegree = 0.017453292519943295;
inline constexpr double kDegreesPerRadian = 57.29577951308232;

constexpr double radians(double degrees) {
  return degrees * kRadiansPerDegree;
}
constexpr double degrees(double radians) {
  return radians * kDegreesPerRadian;
}

/// An angle in degrees, brought into the range above -180 up to 180. REQUIRES: less than a turn outside.
constexpr double halfTurn(double degrees) {
  if (degrees > 180.0) return degrees - 360.0;
  if (degrees <= -180.0) return degrees + 360.0;
  return degrees;
}

/// An angle in degrees from -180 to 180 as one from 0 to 360.
constexpr double positiveAngle(double degrees) {
  return degrees < 0.0 ? degrees + 360.0 : degrees;
}

/// An angle in degrees, brought into the range from 0 up to but not including 360. What lies two turns or more outside
/// stays outside.
constexpr double wholeTurn(double degrees) {
  for (int step = 0; step < 2; ++step) {
    if (degrees < 0.0) {
      degrees += 360.0;
    } else if (degrees >= 360.0) {
      degrees -= 360.0;
    }
  }
  return degrees;
}

/// The yaw in ISO axes of a heading from 0 to 360 degrees. It counts counterclockwise from east, and lies in the range
/// above -180 up to 180 but for -180 at a heading of 270.
constexpr double isoYaw(double heading) {
  return (heading > 270.0 ? 450.0 : 90.0) - heading;
}

}  // namespace Kvex::Lib
