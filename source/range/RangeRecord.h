#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "library/NavField.h"

namespace Kvex::Rng {

using Lib::NavField;

inline constexpr std::size_t kSources = 8;         ///< Navigation sources that a range unit can name.
inline constexpr std::size_t kTargets = 4;         ///< Targets of one hunter.
inline constexpr std::size_t kPolygonPoints = 24;  ///< Points of a vehicle's outline.
inline constexpr std::size_t kSensorPoints = 12;   ///< Sensors of the hunter.

/// The field of a signal: one `NavField`, or for an array signal a list of them with a flag and a stamp for each.
template <class T, std::size_t Count>
using SignalField = std::conditional_t<Count == 1, NavField<T>, std::array<NavField<T>, Count>>;

/// A navigation unit that feeds the range unit, known by packets that carry its own packets.
struct RangeSource {
  NavField<std::uint8_t> provenance;  ///< The port it came in by, a `Provenance`.
  NavField<std::uint32_t> address;    ///< 0 for a source that is known by its port alone.
};

/// The signals of one target, named as in "Target1_" rows without that prefix.
struct RangeTarget {
#define KVEX_TARGET_SIGNAL(Name, Type, Count, ...) SignalField<Type, Count> Name;
#include "tables/RangeTargetSignals.def"
};

/// The signals of the hunter, the lanes, the range unit and its clock.
struct RangeBody {
#define KVEX_BODY_SIGNAL(Name, Type, Count, ...) SignalField<Type, Count> Name;
#include "tables/RangeBodySignals.def"
};

/// The newest values of a range stream. Lengths are metres, angles degrees, times nanoseconds or seconds as the
/// signal's unit says.
///
/// Three sets of axes are used. The range frame is level and lies along the hunter's heading: "Lon" along its X axis,
/// "Lat" along its Y axis. The local frame stands on the ground ("PosX", "PosY"), turned by `Hunter_RefHeading`. The
/// ISO axes ("Iso", "Pc") turn the sign of the lateral direction and of the angles about it.
struct RangeRecord {
  std::array<RangeSource, kSources> sources;
  std::array<RangeTarget, kTargets> targets;
  RangeBody body;

  const NavField<std::int64_t>& time() const { return body.Nano; }

  /// Every field without a value, as at the start of a walk: value and stamps 0, flags 144.
  void reset();
  /// Clears the mark of being written in all fields: what a decoder puts in at the start of a walk is no write.
  void clearWritten();
};

}  // namespace Kvex::Rng
