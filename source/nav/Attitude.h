#pragma once

#include "library/Matrix.h"

namespace Kvex::Nav {

/// The rotations of one packet's attitude, worked out when the first of them is asked for.
class Attitude {
 public:
  /// The attitude is not known: what a packet starts with.
  void clear() { known_ = built_ = false; }
  /// Sets heading, pitch and roll, in radians.
  void set(const Lib::Vector3& angles) {
    angles_ = angles;
    known_ = true;
    built_ = false;
  }

  bool known() const { return known_; }

  // REQUIRES: `known`.

  /// From the axes of the body to north, east, down.
  const Lib::Matrix3& body() { return built().body_; }
  /// From the axes of the body to forward, lateral, down.
  const Lib::Matrix3& level() { return built().level_; }
  /// From forward, lateral, down to north, east, down.
  const Lib::Matrix3& heading() { return built().heading_; }

 private:
  const Attitude& built() {
    if (!built_) {
      heading_ = Lib::headingRotation(angles_);
      level_ = Lib::levelRotation(angles_);
      body_ = Lib::fullRotation(angles_);
      built_ = true;
    }
    return *this;
  }

  bool known_ = false;
  bool built_ = false;
  Lib::Vector3 angles_;
  Lib::Matrix3 body_;
  Lib::Matrix3 level_;
  Lib::Matrix3 heading_;
};

/// The rotation of angles that seldom change, kept until they do.
class Mounting {
 public:
  /// The full rotation of heading, pitch and roll in radians.
  const Lib::Matrix3& rotation(const Lib::Vector3& angles) {
    if (angles != angles_) {
      angles_ = angles;
      rotation_ = Lib::fullRotation(angles);
    }
    return rotation_;
  }

 private:
  Lib::Vector3 angles_;
  Lib::Matrix3 rotation_ = Lib::fullRotation({});
};

}  // namespace Kvex::Nav
