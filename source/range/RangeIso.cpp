#include "range/RangeIso.h"

#include "range/RangeSteps.h"

namespace Kvex::Rng {

namespace {

constexpr std::uint8_t withEndsSwapped(std::uint8_t flags) {
  const int low = (flags & Lib::Flag::kHigh) != 0 ? Lib::Flag::kLow : 0;
  const int high = (flags & Lib::Flag::kLow) != 0 ? Lib::Flag::kHigh : 0;
  return static_cast<std::uint8_t>((flags & ~(Lib::Flag::kLow | Lib::Flag::kHigh)) | low | high);
}

void copy(Scalar& iso, const Scalar& own) {
  iso = own;
  iso.written = true;
}

/// A copy that points the other way: `value` in the place of the field's own.
void copyTurned(Scalar& iso, const Scalar& own, double value) {
  iso = own;
  iso.written = true;
  iso.flags = withEndsSwapped(own.flags);
  iso.value = value;
}

void negate(Scalar& iso, const Scalar& own) {
  copyTurned(iso, own, -own.value);
}

template <std::size_t Count>
void copy(std::array<Scalar, Count>& iso, const std::array<Scalar, Count>& own) {
  for (std::size_t i = 0; i < Count; ++i) copy(iso[i], own[i]);
}

template <std::size_t Count>
void negate(std::array<Scalar, Count>& iso, const std::array<Scalar, Count>& own) {
  for (std::size_t i = 0; i < Count; ++i) negate(iso[i], own[i]);
}

/// A heading counts clockwise from north, a yaw counterclockwise from east.
void copyYaw(Scalar& iso, const Scalar& heading) {
  copyTurned(iso, heading, (heading.value > 270.0 ? 450.0 : 90.0) - heading.value);
}

void copyReferenceYaw(Scalar& iso, const Scalar& heading) {
  const double yaw = 360.0 - heading.value;
  copyTurned(iso, heading, yaw > 180.0 ? yaw - 360.0 : yaw);
}

void deriveLocalYaw(const RangeState& state, Scalar& localYaw, const Scalar& yaw) {
  const Scalar& reference = state.record.body.Hunter_IsoRefYaw;
  if (!allUsable(reference, yaw)) return setUnavailable(localYaw);
  state.write(localYaw, wrapped360(yaw.value - reference.value));
}

}  // namespace

void copyToIso(RangeState& state, std::size_t target) {
  RangeBody& body = state.record.body;
  RangeTarget& t = state.record.targets[target];
  const WantSet<BodyGroup>& wants = state.wants.body;
  const WantSet<TargetGroup>& targetWants = state.wants.targets[target];

  // What nobody wants does not change, and a copy of it neither.
#define RANGE_ISO_TARGET(group, iso, own, how) \
  if (targetWants[TargetGroup::group] || state.markUnwanted) how(t.iso, t.own);
#define RANGE_ISO_HUNTER(group, iso, own, how) \
  if (wants[BodyGroup::group] || state.markUnwanted) how(body.iso, body.own);
#include "range/RangeIsoSignals.def"

  copyYaw(t.IsoYaw, t.Heading);
  copyYaw(body.Hunter_IsoYaw, body.Hunter_Heading);
  copyReferenceYaw(body.Hunter_IsoRefYaw, body.Hunter_RefHeading);
  deriveLocalYaw(state, t.IsoLocalYaw, t.IsoYaw);
  deriveLocalYaw(state, body.Hunter_IsoLocalYaw, body.Hunter_IsoYaw);
}

void copyLaneToIso(RangeState& state) {
  RangeBody& body = state.record.body;
  const WantSet<BodyGroup>& wants = state.wants.body;
#define RANGE_ISO_LANE(group, iso, own, how) \
  if (wants[BodyGroup::group] || state.markUnwanted) how(body.iso, body.own);
#include "range/RangeIsoSignals.def"
}

}  // namespace Kvex::Rng
