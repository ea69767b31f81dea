#include "range/RangeWantTree.h"

#include <initializer_list>
#include <span>

namespace Kvex::Rng {

namespace {

using T = TargetGroup;
using B = BodyGroup;

/// A group of the body, or of a target.
struct Node {
  constexpr Node() = default;
  constexpr Node(T group) : index(static_cast<std::uint8_t>(group)), ofTarget(true) {}
  constexpr Node(B group) : index(static_cast<std::uint8_t>(group)) {}

  std::uint8_t index = 0;
  bool ofTarget = false;
};

struct Requirement {
  constexpr Requirement(Node wanted, std::initializer_list<Node> needs)
      : group(wanted), count(static_cast<std::uint8_t>(needs.size())) {
    std::copy(needs.begin(), needs.end(), required.begin());
  }

  Node group;
  std::uint8_t count;
  std::array<Node, 6> required{};
};

/// What each group is worked out from. A row of a target stands for each target and names its own groups; a target's
/// group that a body's group requires is required of all targets.
constexpr Requirement kRequirements[] = {
    {T::ModeStatus, {T::PolygonPointsUsed}},
    {T::IPv4Adr, {T::ModeStatus}},
    {T::RangeRateLon, {T::RangeLon}},
    {T::RangeAccLon, {T::RangeLon}},
    {T::TimeToImpactLon, {T::RangeLon, T::RangeRateLon}},
    {T::TimeToImpactwALon, {T::RangeLon, T::RangeRateLon, T::RangeAccLon}},
    {T::TimeGapForward, {T::RangeLon, T::HunterPosX}},
    {T::NearestHunPolyPtToTarPtPosX, {T::NearestHunPolyPtToTarPtLeft, B::Hunter_PolygonPointsPosX}},
    {T::NearestTarPolyPtToHunPtPosX,
     {T::NearestHunPolyPtToTarPtLeft, T::PolygonPointsPosX, B::Hunter_PolygonPointsPosX, B::Hunter_PolygonPointsUsed,
      B::Hunter_LocalAngle, B::Hunter_RefLat}},
    {T::IsoPrX, {T::RangeLon}},
    {T::IsoVrX, {T::RangeRateLon}},
    {T::IsoArX, {T::RangeAccLon}},
    {T::IsoNearestHunPolyPtToTarPtPcX, {T::NearestHunPolyPtToTarPtPosX}},
    {T::IsoNearestTarPolyPtToHunPtPcX, {T::NearestTarPolyPtToHunPtPosX}},
    {T::Range2TargetHeading, {T::Heading, B::Range_Ned2RangeHeading}},
    {T::IsoYaw, {T::Heading}},
    {T::LocalAngle, {T::Heading, B::Hunter_RefLat}},
    {T::HunterPosX, {T::PosX, B::Hunter_UnitPosX}},
    {T::HunterLonPosX, {T::HunterPosX, T::RangeLon, B::Hunter_UnitPosX, B::Hunter_LocalAngle}},
    {T::PolygonPointsPosX, {T::PosX, B::Hunter_LocalAngle, T::PolygonPointsUsed, T::Range2TargetHeading}},
    {T::IsoMeasPcX, {T::PosX}},
    {T::IsoLocalYaw, {B::Hunter_IsoRefYaw, T::IsoYaw}},
    {T::IsoHunterMeasPcX, {T::HunterPosX}},
    {T::IsoHunterMeasLonPcX, {T::HunterLonPosX}},
    {T::IsoPolygonPointsPcX, {T::PolygonPointsPosX}},
    {T::FeatPointLat, {T::FeatPointId}},
    {B::NanoFirmware, {B::DevID}},
    {B::NanoFromOrigin, {B::Nano}},
    {B::TimeWeekCount, {B::Nano}},
    {B::Range_Ned2RangeHeading, {T::ModeStatus, B::Hunter_Heading}},
    {B::Hunter_Range2HunterHeading, {T::ModeStatus, B::Hunter_Heading}},
    {B::Hunter_IsoYaw, {B::Hunter_Heading}},
    {B::Hunter_LocalAngle, {B::Hunter_Heading, B::Hunter_RefLat}},
    {B::Hunter_PolygonPointsPosX,
     {B::Hunter_UnitPosX, B::Hunter_LocalAngle, B::Hunter_PolygonPointsUsed, B::Hunter_Range2HunterHeading}},
    {B::Hunter_SensorPointsPosX,
     {B::Hunter_UnitPosX, B::Hunter_LocalAngle, B::Hunter_SensorPointsUsed, B::Hunter_Range2HunterHeading}},
    {B::Hunter_SensorRegionNearCentrePosX,
     {B::Hunter_SensorPointsPosX, B::Hunter_SensorPointsUsed, B::Hunter_LocalAngle}},
    {B::Hunter_IsoUnitPcX, {B::Hunter_UnitPosX}},
    {B::Hunter_IsoLocalYaw, {B::Hunter_IsoRefYaw, B::Hunter_IsoYaw}},
    {B::Hunter_IsoPolygonPointsPcX, {B::Hunter_PolygonPointsPosX}},
    {B::Hunter_IsoSensorPointsPcX, {B::Hunter_SensorPointsPosX}},
    {B::Hunter_IsoSensorRegionNearCentrePcX, {B::Hunter_SensorRegionNearCentrePosX}},
    {B::Hunter_IsoRefYaw, {B::Hunter_RefLat}},
    {B::Lane_IsoCurvA, {B::Lane_CurvA}},
    {B::Lane_IsoLatDisALtoA, {B::Lane_LatDisALtoA}},
    {B::Lane_IsoLatDisARtoA, {B::Lane_LatDisARtoA}},
    {B::Lane_IsoLatDisALtoB, {B::Lane_LatDisALtoB}},
    {B::Lane_IsoLatDisARtoC, {B::Lane_LatDisARtoC}},
    {B::Lane_IsoLatDisLine1toA, {B::Lane_LatDisLine1toA}},
    {B::Lane_IsoLatVelLine1toA, {B::Lane_LatVelLine1toA}},
    {B::Lane_IsoLatDisLine1toB, {B::Lane_LatDisLine1toB}},
    {B::Lane_IsoLatDisLine1toC, {B::Lane_LatDisLine1toC}},
    {B::Lane_IsoCurvLine1atA, {B::Lane_CurvLine1atA}},
};

/// Sets a want, and notes in `changed` whether it was clear before.
void raise(bool& want, bool& changed) {
  changed = changed || !want;
  want = true;
}

}  // namespace

void RangeWantTree::wantAll(bool want) {
  for (WantSet<TargetGroup>& target : targets) target.fill(want);
  body.fill(want);
}

void RangeWantTree::settleWants() {
  bool changed = true;
  const auto require = [&](const Requirement& row, WantSet<TargetGroup>* own) {
    for (const Node& node : std::span(row.required).first(row.count)) {
      if (!node.ofTarget) {
        raise(body[static_cast<B>(node.index)], changed);
      } else if (own != nullptr) {
        raise((*own)[static_cast<T>(node.index)], changed);
      } else {
        for (WantSet<TargetGroup>& target : targets) raise(target[static_cast<T>(node.index)], changed);
      }
    }
  };
  while (changed) {
    changed = false;
    for (const Requirement& row : kRequirements) {
      if (!row.group.ofTarget) {
        if (body[static_cast<B>(row.group.index)]) require(row, nullptr);
        continue;
      }
      for (WantSet<TargetGroup>& target : targets) {
        if (target[static_cast<T>(row.group.index)]) require(row, &target);
      }
    }
  }
}

}  // namespace Kvex::Rng
