#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "range/RangeRecord.h"

namespace Kvex::Rng {

/// The groups of a target's fields that are worth decoding or not as a whole; each is named after its first field.
// clang-format off
enum class TargetGroup : std::uint8_t {
  ModeStatus, IPv4Adr, WirelessChars, RangeLon, RangeLonStd, RangeRateLon, RangeAccLon, TimeToImpactLon,
  TimeToImpactwALon, TimeGapForward, NearestHunPolyPtToTarPtLeft, NearestHunPolyPtToTarPtPosX,
  NearestTarPolyPtToHunPtPosX, Range_SensorPointsDist2d, IsoPrX, IsoVrX, IsoArX, IsoNearestHunPolyPtToTarPtPcX,
  IsoNearestTarPolyPtToHunPtPcX, Range2TargetHeading, Heading, IsoYaw, PosX, LocalAngle, HunterPosX, HunterLonPosX,
  PolygonPointsPosX, IsoMeasPcX, IsoLocalYaw, IsoHunterMeasPcX, IsoHunterMeasLonPcX, IsoPolygonPointsPcX, FeatPointId,
  FeatPointLat, RangeOffsetLon, FixedPointLat, DisplacementArmX, VehicleLength, PolygonPointsUsed, AccelFilterFreq,
  ExtrapolFilterFreq,
  Count
};

/// The groups of the body's fields.
enum class BodyGroup : std::uint8_t {
  ProductFamily, DevID, OsVersion1, OsScriptID, NanoFirmware, CpuLoad, Range_IPv4Adr, Range_CmdChars, FeatSetRefNum,
  Nano, NanoFromOrigin, TimeWeekCount, Hunter_Latency, Hunter_IPv4Adr, Hunter_Chars, Range_Ned2RangeHeading,
  Hunter_Range2HunterHeading, Hunter_Heading, Hunter_IsoYaw, Hunter_UnitPosX, Hunter_LocalAngle,
  Hunter_PolygonPointsPosX, Hunter_SensorPointsPosX, Hunter_SensorRegionNearCentrePosX, Hunter_IsoUnitPcX,
  Hunter_IsoLocalYaw, Hunter_IsoPolygonPointsPcX, Hunter_IsoSensorPointsPcX, Hunter_IsoSensorRegionNearCentrePcX,
  Hunter_RefLat, Hunter_IsoRefYaw, Hunter_DisplacementArmX, Hunter_VehicleLength, Hunter_PolygonPointsUsed,
  Hunter_SensorPointsUsed, Lane_MapNumber, Lane_DisAlongLine1, Lane_CurvA, Lane_LineNumberAL, Lane_LatDisALtoA,
  Lane_LatDisARtoA, Lane_LatDisALtoB, Lane_LatDisARtoC, Lane_HeadAL, Lane_IsoCurvA, Lane_IsoLatDisALtoA,
  Lane_IsoLatDisARtoA, Lane_IsoLatDisALtoB, Lane_IsoLatDisARtoC, Lane_LatDisLine1toA, Lane_LatVelLine1toA,
  Lane_LatDisLine1toB, Lane_LatDisLine1toC, Lane_CurvLine1atA, Lane_IsoLatDisLine1toA, Lane_IsoLatVelLine1toA,
  Lane_IsoLatDisLine1toB, Lane_IsoLatDisLine1toC, Lane_IsoCurvLine1atA, Lane_PointAArmX, Lane_PointBArmX,
  Lane_PointCArmX, Trig_Time,
  Count
};
// clang-format on

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
