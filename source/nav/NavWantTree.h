#pragma once

#include <array>

namespace Kvex::Nav {

/// The want flags of one receiver, each named after the first signal of its group.
struct ReceiverWants {
#define KVEX_RECEIVER_GROUP(Name, ...) bool Name;
#include "tables/ReceiverGroups.def"
};

/// The want flags of one measurement point. `base` holds no signal: it stands for what all the others need.
struct PointWants {
#define KVEX_POINT_GROUP(Name, ...) bool Name;
#include "tables/MeasPointGroups.def"

  /// Calls `visitor(wanted, required...)` for each group, with the groups of the point that it is worked out from.
  template <class Visitor>
  void visitRequirements(const Visitor& visitor) {
#define KVEX_POINT_GROUP(Name, Table, ...) visitor(Name __VA_OPT__(, ) __VA_ARGS__);
#include "tables/MeasPointGroups.def"
  }
};

/// Which groups of fields are worth decoding. A flag is named after the first signal of its group.
struct NavWantTree {
  std::array<ReceiverWants, 3> receivers;
  std::array<PointWants, 8> points;
#define KVEX_NAV_GROUP(Name, ...) bool Name;
#include "tables/NavGroups.def"

  /// Everything wanted.
  NavWantTree() {
    wantAll(true);
  }

  /// Sets all flags. The groups of `OutputPacketType`, `SerialNumber` and `Nano` stay set: they are always decoded.
  void wantAll(bool on);
  /// Sets the flag of every group that a wanted group is worked out from, directly or through others.
  void settle();
  /// Wants more and more with a level from below 1, nothing, to 10 and above, everything; settled.
  void setLevel(int level);
};

}  // namespace Kvex::Nav
