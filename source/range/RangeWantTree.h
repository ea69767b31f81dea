#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "range/RangeRecord.h"

namespace Kvex::Rng {

/// The groups of a target's fields that are worth decoding or not as a whole; each is named after its first field.
enum class TargetGroup : std::uint8_t {
#define KVEX_TARGET_GROUP(Name, ...) Name,
#include "tables/RangeTargetGroups.def"
  Count
};

/// The groups of the body's fields.
enum class BodyGroup : std::uint8_t {
#define KVEX_BODY_GROUP(Name, ...) Name,
#include "tables/RangeBodyGroups.def"
  Count
};

/// One flag for each group.
template <class Group>
class WantSet {
 public:
  bool operator[](Group group) const { return wants_[static_cast<std::size_t>(group)]; }
  bool& operator[](Group group) { return wants_[static_cast<std::size_t>(group)]; }
  void fill(bool want) { wants_.fill(want); }

 private:
  std::array<bool, static_cast<std::size_t>(Group::Count)> wants_{};
};

/// Which groups of fields are worth decoding.
struct RangeWantTree {
  std::array<WantSet<TargetGroup>, kTargets> targets;
  WantSet<BodyGroup> body;

  /// Everything is wanted at first.
  RangeWantTree() { wantAll(true); }

  void wantAll(bool want);
  /// Adds what the wanted groups are worked out from, until nothing more is added.
  void settleWants();
};

}  // namespace Kvex::Rng
