#include "range/RangeIso.h"

#include "range/RangeSteps.h"

namespace Kvex::Rng {

namespace {

// The forms of the list of ISO signals.

void copy(Scalar& iso, const Scalar& own) {
  iso.copy(own);
}

void negate(Scalar& iso, const Scalar& own) {
  iso.copyReversed(own, -own.value);
}

template <std::size_t Count>
void copy(std::array<Scalar, Count>& iso, const std::array<Scalar, Count>& own) {
  for (std::size_t i = 0; i < Count; ++i) copy(iso[i], own[i]);
}

template <std::size_t Count>
void negate(std::array<Scalar, Count>& iso, const std::array<Scalar, Count>& own) {
  for (std::size_t i = 0; i < Count; ++i) negate(iso[i], own[i]);
}

void copyReferenceYaw(Scalar& iso, const Scalar& heading) {
  const double yaw = 360.0 - heading.value;
  iso.copyReversed(heading, yaw > 180.0 ? yaw - 360.0 : yaw);
}

void deriveLocalYaw(const RangeState& state, Scalar& localYaw, const Scalar& yaw) {
  const Scalar& reference = state.record.body.Hunter_IsoRefYaw;
  if (!allUsable(reference, yaw)) return setUnavailable(localYaw);
  state.write(localYaw, Lib::wholeTurn(yaw.value - reference.value));
}

}  // namespace

void copyToIso(RangeState& state, std::size_t target) {
  RangeBody& body = state.record.body;
  RangeTarget& t = state.record.targets[target];
  const WantSet<BodyGroup>& wants = state.wants.body;
  const WantSet<TargetGroup>& targetWants = state.wants.targets[target];

  // What nobody wants does not change, and a copy of it neither.
#define KVEX_TARGET_ISO(Name, Own, Group, How) \
  if (targetWants[TargetGroup::Group] || state.markUnwanted) How(t.Name, t.Own);
#define KVEX_HUNTER_ISO(Name, Own, Group, How) \
  if (wants[BodyGroup::Group] || state.markUnwanted) How(body.Name, body.Own);
#include "range/RangeIsoSignals.def"

  t.IsoYaw.copyReversed(t.Heading, Lib::isoYaw(t.Heading.value));
  body.Hunter_IsoYaw.copyReversed(body.Hunter_Heading, Lib::isoYaw(body.Hunter_Heading.value));
  copyReferenceYaw(body.Hunter_IsoRefYaw, body.Hunter_RefHeading);
  deriveLocalYaw(state, t.IsoLocalYaw, t.IsoYaw);
  deriveLocalYaw(state, body.Hunter_IsoLocalYaw, body.Hunter_IsoYaw);
}

void copyLaneToIso(RangeState& state) {
  RangeBody& body = state.record.body;
  const WantSet<BodyGroup>& wants = state.wants.body;
#define KVEX_LANE_ISO(Name, Own, Group, How) \
  if (wants[BodyGroup::Group] || state.markUnwanted) How(body.Name, body.Own);
#include "range/RangeIsoSignals.def"
}

}  // namespace Kvex::Rng
