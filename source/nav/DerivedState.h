#pragma once

namespace Kvex::Nav {

/// What derived quantities remember from packet to packet beside the record: filters, integrators, and the rotations of
/// the present packet. A reset decoder holds a constructed one.
struct DerivedState {
  /// A new packet: the rotations of the one before no longer hold.
  void startPacket() {}
};

}  // namespace Kvex::Nav
