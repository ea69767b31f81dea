#pragma once

#include <array>

#include "nav/Attitude.h"
#include "nav/BiquadFilter.h"
#include "nav/DistanceIntegrator.h"
#include "nav/JerkFilter.h"
#include "nav/RateEstimator.h"

namespace Kvex::Nav {

/// The filters of the three axes of a quantity.
template <class Filter>
struct AxisFilters {
  std::array<Filter, 3> axes;
  bool bypass = false;  ///< The unit has reported zeros for the parameters: values pass as they are.
};

/// What derived quantities remember from packet to packet beside the record: filters, integrators, and the rotations of
/// the present packet. A reset decoder holds a constructed one.
struct DerivedState {
  Attitude attitude;
  Mounting imuInVehicle;
  Mounting vehicleInOutput;
  Mounting surface;

  std::array<RateEstimator, 3> jerk;
  std::array<RateEstimator, 3> angularAcceleration;
  std::array<RateEstimator, 3> isoJerk;

  AxisFilters<BiquadFilter> accelerationFilter;
  AxisFilters<BiquadFilter> angularAccelerationFilter;
  AxisFilters<JerkFilter> jerkFilter;
  std::array<JerkFilter, 3> isoJerkFilter;  ///< Configured and bypassed together with `jerkFilter`.

  /// For `Dist2d`, `Dist2dHold`, `Dist3d`, `Dist3dHold`.
  std::array<DistanceIntegrator, 4> distances;

  /// A new packet: the rotations of the one before no longer hold.
  void startPacket() { attitude.clear(); }
};

}  // namespace Kvex::Nav
