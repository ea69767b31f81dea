#include <cmath>
#include <optional>

#include "nav/Axes.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

namespace {

/// A point moves when the square of its horizontal speed is above that of 0.14 m/s.
constexpr double kMovingSquare = 0.019600000000000003;

constexpr Axes kImu2Veh{&NavRecord::Imu2VehHeading, &NavRecord::Imu2VehPitch, &NavRecord::Imu2VehRoll};
constexpr Axes kRemoteLeverArm{&NavRecord::RemoteLeverArmX, &NavRecord::RemoteLeverArmY, &NavRecord::RemoteLeverArmZ};

/// The motion of the vehicle as a rigid body, on the vehicle's own axes.
struct VehicleMotion {
  Vector3 origin;    ///< The unit's place, in metres.
  Vector3 velocity;  ///< There, in m/s north, east, down.
  Vector3 rate;      ///< rad/s.
  Matrix3 vehicleToNed;

  Vector3 velocityAt(const Vector3& point) const { return velocity + vehicleToNed * Lib::cross(rate, point - origin); }
};

std::optional<VehicleMotion> motionOf(NavState& state) {
  const NavRecord& record = state.record;
  Attitude& attitude = state.derived.attitude;
  if (!attitude.known()) return {};
  for (const Axes* axes : {&kImu2Veh, &kVeh2Out, &kRemoteLeverArm, &kAngularRate, &kVelocity}) {
    if (!allUsable(record, *axes)) return {};
  }
  const Matrix3& imuToVehicle = state.derived.imuInVehicle.rotation(radiansOf(record, kImu2Veh));
  const Matrix3& vehicleToOut = state.derived.vehicleInOutput.rotation(radiansOf(record, kVeh2Out));
  return VehicleMotion{.origin = transposedMultiply(imuToVehicle, valuesOf(record, kRemoteLeverArm)),
                       .velocity = valuesOf(record, kVelocity),
                       .rate = vehicleToOut * radiansOf(record, kAngularRate),
                       .vehicleToNed = multiplyTransposed(attitude.body(), vehicleToOut)};
}

void derivePoint(NavState& state, MeasPointBlock& point, const PointWants& wants, const VehicleMotion& motion) {
  const NavRecord& r = state.record;
  const Vector3 v = motion.velocityAt({point.PointXv.value, point.PointYv.value, point.PointZv.value});
  const double square = v[0] * v[0] + v[1] * v[1];
  if (!(square > kMovingSquare)) return;
  if (wants.Track) state.setBlockField(point.Track, std::atan2(v[1], v[0]) * kDegreesPerRadian);
  if (wants.Slip && point.Track.usable()) {
    state.setBlockField(point.Slip, halfTurn(point.Track.value - r.Heading.value));
  }
  if (wants.Curvature && r.Wd.usable()) {
    state.setBlockField(point.Curvature, r.Wd.value * kRadiansPerDegree / std::sqrt(square));
  }
}

}  // namespace

void derivePoints(NavState& state) {
  std::optional<VehicleMotion> motion;
  for (std::size_t i = 0; i < state.record.points.size(); ++i) {
    MeasPointBlock& point = state.record.points[i];
    const PointWants& wants = state.wants.points[i];
    if (!wants.base || !allUsable(point.PointXv, point.PointYv, point.PointZv)) continue;
    if (!motion) motion = motionOf(state);
    if (!motion) return;
    derivePoint(state, point, wants, *motion);
  }
}

}  // namespace Kvex::Nav
