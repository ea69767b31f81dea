#pragma once

#include <optional>

#include "library/Matrix.h"

namespace Kvex::Nav {

/// The rotations of one packet's attitude. A rotation is worked out when it is first asked for, and then kept.
class Attitude {
 public:
  Attitude() = default;

  /// The attitude is not known: what a packet starts with.
  void clear() { *this = {}; }
  /// Sets heading, pitch and roll, in radians.
  void set(const Lib::Vector3& angles) { *this = Attitude(angles); }

  bool known() const { return known_; }
  /// Heading, pitch and roll, in radians. REQUIRES, as the rotations do: `known`.
  const Lib::Vector3& angles() const { return angles_; }

  /// From the axes of the body to north, east, down.
  const Lib::Matrix3& body() { return built(body_, Lib::fullRotation); }
  /// From the axes of the body to forward, lateral, down.
  const Lib::Matrix3& level() { return built(level_, Lib::levelRotation); }
  /// From forward, lateral, down to north, east, down.
  const Lib::Matrix3& heading() { return built(heading_, Lib::headingRotation); }

 private:
  using Rotation = std::optional<Lib::Matrix3>;

  explicit Attitude(const Lib::Vector3& angles) : known_(true), angles_(angles) {}

  const Lib::Matrix3& built(Rotation& rotation, Lib::Matrix3 (*build)(const Lib::Vector3&)) {
    if (!rotation) rotation = build(angles_);
    return *rotation;
  }

  bool known_ = false;
  Lib::Vector3 angles_;
  Rotation body_;
  Rotation level_;
  Rotation heading_;
};

}  // namespace Kvex::Nav
