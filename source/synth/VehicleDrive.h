#pragma once

#include <cstdint>
#include <span>

#include "library/NavField.h"
#include "synth/ZintMessages.h"

namespace Kvex::Synth {

/// The self-describing stream of a vehicle that drives in a circle: inertial data a hundred times, positions ten times
/// and vehicle data once a second. Made for tests, demonstrations and benchmarks; the same start and seed give
/// the same packets.
///
/// Message 1 holds "Nano" and the position in "GnssInt1_Latitude", "GnssInt1_Longitude" (double, deg),
/// "GnssInt1_Altitude" (float, m) and "GnssInt1_NumSats". Message 2 holds "Nano", the accelerations "ImuAx", "ImuAy",
/// "ImuAz" (m/s²) and the angular rates "ImuWx", "ImuWy", "ImuWz" (deg/s). Message 3 holds "Nano" and vehicle data in
/// fields that begin and end within bytes.
class VehicleDrive {
 public:
  static constexpr double kRadius = 200;            ///< Of the circle, in m.
  static constexpr double kSpeed = 15;              ///< In m/s.
  static constexpr Lib::Nano kPeriod = 10'000'000;  ///< From one inertial message to the next.

  /// `start` is the time of the first packet; the measuring errors depend on `seed`.
  explicit VehicleDrive(Lib::Nano start, std::uint32_t seed = 1);

  /// What the stream's definition packet says.
  static const ZintDefinition& definition();

  /// The next packet, valid until the next call. Times never decrease.
  std::span<const std::uint8_t> next();
  /// Time of the packet that `next` gave last.
  Lib::Nano time() const { return time_; }

 private:
  enum class Due : std::uint8_t { Position, Vehicle, Inertial };

  const ZintPacket& position();
  const ZintPacket& vehicle();
  const ZintPacket& inertial();
  /// Angle driven since the start, in radians.
  double angle() const;
  /// A measured value: in steps of `scale`, with an error of a few steps.
  std::int64_t measured(double value, double scale);

  ZintPacket position_;
  ZintPacket inertial_;
  ZintPacket vehicle_;
  Lib::Nano start_;
  Lib::Nano time_;
  std::int64_t period_ = 0;
  Due due_ = Due::Position;
  std::uint32_t noise_;
};

}  // namespace Kvex::Synth
