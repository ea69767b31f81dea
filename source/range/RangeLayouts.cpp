#include "range/RangeLayouts.h"

namespace Kvex::Rng {

namespace {

constexpr std::uint8_t kNoneAndEnds = Marker::kNone | Marker::kEnds;
constexpr std::uint8_t kNoneOfShort = Marker::kNone | Marker::kShortNone;
constexpr Scale kFraction{0.004};

constexpr Reading kNumber{Raw::U8, kWhole};
constexpr Reading kPosition{Raw::I32, kMilli};
constexpr Reading kHeading{Raw::U16, kCentidegree};

constexpr FieldRow<RangeTarget> kShortTarget[] = {
    {TargetGroup::RangeLon, 6, {Raw::I16, kMilli, kNoneAndEnds}, {&RangeTarget::RangeLat}},
    {TargetGroup::RangeLon, 8, {Raw::I32, kMilli, kNoneOfShort | Marker::kEnds}, {&RangeTarget::RangeLon}},
    {TargetGroup::RangeRateLon,
     12,
     {Raw::I16, kCenti, kNoneAndEnds},
     {&RangeTarget::RangeRateLat, &RangeTarget::RangeRateLon}},
    {TargetGroup::HunterPosX, 16, kPosition, {&RangeTarget::HunterPosX, &RangeTarget::HunterPosY}},
    {TargetGroup::PosX, 24, {Raw::I32, kMilli, kNoneOfShort}, {&RangeTarget::PosX, &RangeTarget::PosY}},
    {TargetGroup::Heading, 34, kHeading, {&RangeTarget::Heading}},
};
constexpr FieldRow<RangeBody> kShortBody[] = {
    {BodyGroup::Hunter_Heading, 32, kHeading, {&RangeBody::Hunter_Heading}},
};

constexpr FieldRow<RangeTarget> kLongTarget[] = {
    {TargetGroup::RangeLon, 8, {Raw::I32, kMilli, kNoneAndEnds}, {&RangeTarget::RangeLat, &RangeTarget::RangeLon}},
    {TargetGroup::RangeRateLon,
     16,
     {Raw::I16, kCenti, kNoneAndEnds},
     {&RangeTarget::RangeRateLat, &RangeTarget::RangeRateLon}},
    {TargetGroup::HunterPosX, 20, kPosition, {&RangeTarget::HunterPosX, &RangeTarget::HunterPosY}},
    {TargetGroup::PosX, 28, kPosition, {&RangeTarget::PosX, &RangeTarget::PosY}},
    {TargetGroup::Heading, 38, kHeading, {&RangeTarget::Heading}},
    {TargetGroup::HunterPosX, 50, {Raw::I16, kCenti}, {&RangeTarget::HunterVelF, &RangeTarget::HunterVelL}, 54},
    {TargetGroup::RangeAccLon,
     54,
     {Raw::I16, kCenti, kNoneAndEnds},
     {&RangeTarget::RangeAccLat, &RangeTarget::RangeAccLon},
     61},
    {TargetGroup::NearestHunPolyPtToTarPtLeft,
     58,
     kNumber,
     {&RangeTarget::NearestTarPolyPtToHunPtLeft, &RangeTarget::NearestTarPolyPtToHunPtRight, &RangeTarget::Visible},
     61},
    {TargetGroup::NearestHunPolyPtToTarPtLeft,
     64,
     kNumber,
     {&RangeTarget::NearestHunPolyPtToTarPtLeft, &RangeTarget::NearestHunPolyPtToTarPtRight,
      &RangeTarget::NearestTarPolyPtToHunPolyLeft, &RangeTarget::NearestTarPolyPtToHunPolyRight,
      &RangeTarget::NearestHunPolyPtToTarPolyLeft, &RangeTarget::NearestHunPolyPtToTarPolyRight},
     90},
    {TargetGroup::NearestHunPolyPtToTarPtLeft,
     70,
     {Raw::U8, kFraction},
     {&RangeTarget::NearestTarPolyPtToHunPtScale, &RangeTarget::NearestHunPolyPtToTarPtScale,
      &RangeTarget::NearestTarPolyPtToHunPolyScale, &RangeTarget::NearestHunPolyPtToTarPolyScale},
     90},
    {TargetGroup::PosX, 82, kPosition, {&RangeTarget::PolygonOriginPosX, &RangeTarget::PolygonOriginPosY}, 90},
    {TargetGroup::PosX, 98, kPosition, {&RangeTarget::UnitPosX, &RangeTarget::UnitPosY}, 106},
    {TargetGroup::Heading, 110, {Raw::I16, kCenti}, {&RangeTarget::Pitch, &RangeTarget::Roll}, 114},
};
constexpr FieldRow<RangeBody> kLongBody[] = {
    {BodyGroup::Hunter_Latency, 7, {Raw::U8, kWhole, 0}, {&RangeBody::Hunter_TargetTotal}},
    {BodyGroup::Hunter_Heading, 36, kHeading, {&RangeBody::Hunter_Heading}},
    {BodyGroup::Hunter_UnitPosX,
     74,
     kPosition,
     {&RangeBody::Hunter_PolygonOriginPosX, &RangeBody::Hunter_PolygonOriginPosY},
     90},
    {BodyGroup::Hunter_UnitPosX, 90, kPosition, {&RangeBody::Hunter_UnitPosX, &RangeBody::Hunter_UnitPosY}, 106},
    {BodyGroup::Hunter_Heading, 106, {Raw::I16, kCenti}, {&RangeBody::Hunter_Pitch, &RangeBody::Hunter_Roll}, 114},
};

constexpr Reading kLaneDistance{Raw::I16, kMilli};
constexpr Reading kLaneRate{Raw::I16, kCenti};
constexpr Reading kLaneCurvature{Raw::I16, kTenthMilli};
constexpr std::uint8_t kLaneMiddle = 74;
constexpr std::uint8_t kLaneFull = 132;

constexpr FieldRow<RangeBody> kLaneBody[] = {
    {BodyGroup::Lane_LineNumberAL, 6, kNumber, {&RangeBody::Lane_LineNumberAL, &RangeBody::Lane_LineNumberAR}},
    {BodyGroup::Lane_DisAlongLine1, 8, kPosition, {&RangeBody::Lane_DisAlongLine1}},
    {BodyGroup::Lane_LatDisALtoA, 12, kLaneDistance, {&RangeBody::Lane_LatDisALtoA}},
    {BodyGroup::Lane_LatDisALtoA, 14, kLaneRate, {&RangeBody::Lane_LatVelALtoA, &RangeBody::Lane_LatAccALtoA}},
    {BodyGroup::Lane_LatDisARtoA, 18, kLaneDistance, {&RangeBody::Lane_LatDisARtoA}},
    {BodyGroup::Lane_LatDisARtoA, 20, kLaneRate, {&RangeBody::Lane_LatVelARtoA, &RangeBody::Lane_LatAccARtoA}},
    {BodyGroup::Lane_LatDisLine1toA,
     24,
     kLaneDistance,
     {&RangeBody::Lane_LatDisLine1toA, &RangeBody::Lane_LatDisLine2toA, &RangeBody::Lane_LatDisLine3toA,
      &RangeBody::Lane_LatDisLine4toA, &RangeBody::Lane_LatDisLine5toA, &RangeBody::Lane_LatDisLine6toA,
      &RangeBody::Lane_LatDisLine7toA, &RangeBody::Lane_LatDisLine8toA}},
    {BodyGroup::Lane_LatDisALtoB, 40, kLaneDistance, {&RangeBody::Lane_LatDisALtoB}},
    {BodyGroup::Lane_LatDisARtoC, 42, kLaneDistance, {&RangeBody::Lane_LatDisARtoC}},
    {BodyGroup::Lane_LineNumberAL,
     44,
     kNumber,
     {&RangeBody::Lane_LineNumberBL, &RangeBody::Lane_LineNumberBR, &RangeBody::Lane_LineNumberCL,
      &RangeBody::Lane_LineNumberCR}},
    {BodyGroup::Lane_LatVelLine1toA,
     58,
     kLaneRate,
     {&RangeBody::Lane_LatVelLine1toA, &RangeBody::Lane_LatVelLine2toA, &RangeBody::Lane_LatVelLine3toA,
      &RangeBody::Lane_LatVelLine4toA, &RangeBody::Lane_LatVelLine5toA, &RangeBody::Lane_LatVelLine6toA,
      &RangeBody::Lane_LatVelLine7toA, &RangeBody::Lane_LatVelLine8toA},
     kLaneMiddle},
    {BodyGroup::Lane_LatDisLine1toB,
     74,
     kLaneDistance,
     {&RangeBody::Lane_LatDisLine1toB, &RangeBody::Lane_LatDisLine2toB, &RangeBody::Lane_LatDisLine3toB,
      &RangeBody::Lane_LatDisLine4toB, &RangeBody::Lane_LatDisLine5toB, &RangeBody::Lane_LatDisLine6toB,
      &RangeBody::Lane_LatDisLine7toB, &RangeBody::Lane_LatDisLine8toB},
     kLaneFull},
    {BodyGroup::Lane_LatDisLine1toC,
     90,
     kLaneDistance,
     {&RangeBody::Lane_LatDisLine1toC, &RangeBody::Lane_LatDisLine2toC, &RangeBody::Lane_LatDisLine3toC,
      &RangeBody::Lane_LatDisLine4toC, &RangeBody::Lane_LatDisLine5toC, &RangeBody::Lane_LatDisLine6toC,
      &RangeBody::Lane_LatDisLine7toC, &RangeBody::Lane_LatDisLine8toC},
     kLaneFull},
    {BodyGroup::Lane_CurvLine1atA,
     106,
     kLaneCurvature,
     {&RangeBody::Lane_CurvLine1atA, &RangeBody::Lane_CurvLine2atA, &RangeBody::Lane_CurvLine3atA,
      &RangeBody::Lane_CurvLine4atA, &RangeBody::Lane_CurvLine5atA, &RangeBody::Lane_CurvLine6atA,
      &RangeBody::Lane_CurvLine7atA, &RangeBody::Lane_CurvLine8atA},
     kLaneFull},
    {BodyGroup::Lane_CurvA,
     122,
     kLaneCurvature,
     {&RangeBody::Lane_CurvA, &RangeBody::Lane_CurvB, &RangeBody::Lane_CurvC},
     kLaneFull},
    {BodyGroup::Lane_HeadAL,
     128,
     {Raw::I16, kCentidegree},
     {&RangeBody::Lane_HeadAL, &RangeBody::Lane_HeadAR},
     kLaneFull},
};

}  // namespace

constinit const Layout kShortLayout{kShortTarget, kShortBody};
constinit const Layout kLongLayout{kLongTarget, kLongBody};
constinit const Layout kLaneLayout{{}, kLaneBody};

}  // namespace Kvex::Rng
