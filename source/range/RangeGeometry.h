#pragma once

#include <cstddef>

#include "range/RangeState.h"

namespace Kvex::Rng {

/// The angles between the frames, and in the local frame the positions of the hunter, of the outlines, of the sensors
/// with their regions and of the nearest points on the outlines.
void placeVehicles(RangeState& state, std::size_t target);

/// Whether the target is a parking space (a fixed point with four corners), and how far from its centre and direction
/// the hunter stands. The hunter's centre is the centroid of its outline; that of an outline without area is not a
/// number.
void deriveParking(RangeState& state, std::size_t target);

}  // namespace Kvex::Rng
