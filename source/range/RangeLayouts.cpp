#include "range/RangeLayouts.h"

namespace Kvex::Rng {

namespace {

using T = RangeTarget;
using B = RangeBody;
using TG = TargetGroup;
using BG = BodyGroup;

constexpr std::uint8_t kNoneAndEnds = Mark::kNone | Mark::kEnds;
constexpr std::uint8_t kNoneOfShort = Mark::kNone | Mark::kShortNone;
constexpr Scale kFraction{0.004};

constexpr Reading kNumber{Raw::U8, kWhole};
constexpr Reading kPosition{Raw::I32, kMilli};
constexpr Reading kHeading{Raw::U16, kCentidegree};

constexpr FieldRun<T> kShortTarget[] = {
    {TG::RangeLon, 6, {Raw::I16, kMilli, kNoneAndEnds}, {&T::RangeLat}},
    {TG::RangeLon, 8, {Raw::I32, kMilli, kNoneOfShort | Mark::kEnds}, {&T::RangeLon}},
    {TG::RangeRateLon, 12, {Raw::I16, kCenti, kNoneAndEnds}, {&T::RangeRateLat, &T::RangeRateLon}},
    {TG::HunterPosX, 16, kPosition, {&T::HunterPosX, &T::HunterPosY}},
    {TG::PosX, 24, {Raw::I32, kMilli, kNoneOfShort}, {&T::PosX, &T::PosY}},
    {TG::Heading, 34, kHeading, {&T::Heading}},
};
constexpr FieldRun<B> kShortBody[] = {
    {BG::Hunter_Heading, 32, kHeading, {&B::Hunter_Heading}},
};

constexpr FieldRun<T> kLongTarget[] = {
    {TG::RangeLon, 8, {Raw::I32, kMilli, kNoneAndEnds}, {&T::RangeLat, &T::RangeLon}},
    {TG::RangeRateLon, 16, {Raw::I16, kCenti, kNoneAndEnds}, {&T::RangeRateLat, &T::RangeRateLon}},
    {TG::HunterPosX, 20, kPosition, {&T::HunterPosX, &T::HunterPosY}},
    {TG::PosX, 28, kPosition, {&T::PosX, &T::PosY}},
    {TG::Heading, 38, kHeading, {&T::Heading}},
    {TG::HunterPosX, 50, {Raw::I16, kCenti}, {&T::HunterVelF, &T::HunterVelL}, 54},
    {TG::RangeAccLon, 54, {Raw::I16, kCenti, kNoneAndEnds}, {&T::RangeAccLat, &T::RangeAccLon}, 61},
    {TG::NearestHunPolyPtToTarPtLeft,
     58,
     kNumber,
     {&T::NearestTarPolyPtToHunPtLeft, &T::NearestTarPolyPtToHunPtRight, &T::Visible},
     61},
    {TG::NearestHunPolyPtToTarPtLeft,
     64,
     kNumber,
     {&T::NearestHunPolyPtToTarPtLeft, &T::NearestHunPolyPtToTarPtRight, &T::NearestTarPolyPtToHunPolyLeft,
      &T::NearestTarPolyPtToHunPolyRight, &T::NearestHunPolyPtToTarPolyLeft, &T::NearestHunPolyPtToTarPolyRight},
     90},
    {TG::NearestHunPolyPtToTarPtLeft,
     70,
     {Raw::U8, kFraction},
     {&T::NearestTarPolyPtToHunPtScale, &T::NearestHunPolyPtToTarPtScale, &T::NearestTarPolyPtToHunPolyScale,
      &T::NearestHunPolyPtToTarPolyScale},
     90},
    {TG::PosX, 82, kPosition, {&T::PolygonOriginPosX, &T::PolygonOriginPosY}, 90},
    {TG::PosX, 98, kPosition, {&T::UnitPosX, &T::UnitPosY}, 106},
    {TG::Heading, 110, {Raw::I16, kCenti}, {&T::Pitch, &T::Roll}, 114},
};
constexpr FieldRun<B> kLongBody[] = {
    {BG::Hunter_Latency, 7, {Raw::U8, kWhole, 0}, {&B::Hunter_TargetTotal}},
    {BG::Hunter_Heading, 36, kHeading, {&B::Hunter_Heading}},
    {BG::Hunter_UnitPosX, 74, kPosition, {&B::Hunter_PolygonOriginPosX, &B::Hunter_PolygonOriginPosY}, 90},
    {BG::Hunter_UnitPosX, 90, kPosition, {&B::Hunter_UnitPosX, &B::Hunter_UnitPosY}, 106},
    {BG::Hunter_Heading, 106, {Raw::I16, kCenti}, {&B::Hunter_Pitch, &B::Hunter_Roll}, 114},
};

constexpr Reading kLaneDistance{Raw::I16, kMilli};
constexpr Reading kLaneRate{Raw::I16, kCenti};
constexpr Reading kLaneCurvature{Raw::I16, kTenthMilli};
constexpr std::uint8_t kLaneMiddle = 74;
constexpr std::uint8_t kLaneFull = 132;

constexpr FieldRun<B> kLaneBody[] = {
    {BG::Lane_LineNumberAL, 6, kNumber, {&B::Lane_LineNumberAL, &B::Lane_LineNumberAR}},
    {BG::Lane_DisAlongLine1, 8, kPosition, {&B::Lane_DisAlongLine1}},
    {BG::Lane_LatDisALtoA, 12, kLaneDistance, {&B::Lane_LatDisALtoA}},
    {BG::Lane_LatDisALtoA, 14, kLaneRate, {&B::Lane_LatVelALtoA, &B::Lane_LatAccALtoA}},
    {BG::Lane_LatDisARtoA, 18, kLaneDistance, {&B::Lane_LatDisARtoA}},
    {BG::Lane_LatDisARtoA, 20, kLaneRate, {&B::Lane_LatVelARtoA, &B::Lane_LatAccARtoA}},
    {BG::Lane_LatDisLine1toA,
     24,
     kLaneDistance,
     {&B::Lane_LatDisLine1toA, &B::Lane_LatDisLine2toA, &B::Lane_LatDisLine3toA, &B::Lane_LatDisLine4toA,
      &B::Lane_LatDisLine5toA, &B::Lane_LatDisLine6toA, &B::Lane_LatDisLine7toA, &B::Lane_LatDisLine8toA}},
    {BG::Lane_LatDisALtoB, 40, kLaneDistance, {&B::Lane_LatDisALtoB}},
    {BG::Lane_LatDisARtoC, 42, kLaneDistance, {&B::Lane_LatDisARtoC}},
    {BG::Lane_LineNumberAL,
     44,
     kNumber,
     {&B::Lane_LineNumberBL, &B::Lane_LineNumberBR, &B::Lane_LineNumberCL, &B::Lane_LineNumberCR}},
    {BG::Lane_LatVelLine1toA,
     58,
     kLaneRate,
     {&B::Lane_LatVelLine1toA, &B::Lane_LatVelLine2toA, &B::Lane_LatVelLine3toA, &B::Lane_LatVelLine4toA,
      &B::Lane_LatVelLine5toA, &B::Lane_LatVelLine6toA, &B::Lane_LatVelLine7toA, &B::Lane_LatVelLine8toA},
     kLaneMiddle},
    {BG::Lane_LatDisLine1toB,
     74,
     kLaneDistance,
     {&B::Lane_LatDisLine1toB, &B::Lane_LatDisLine2toB, &B::Lane_LatDisLine3toB, &B::Lane_LatDisLine4toB,
      &B::Lane_LatDisLine5toB, &B::Lane_LatDisLine6toB, &B::Lane_LatDisLine7toB, &B::Lane_LatDisLine8toB},
     kLaneFull},
    {BG::Lane_LatDisLine1toC,
     90,
     kLaneDistance,
     {&B::Lane_LatDisLine1toC, &B::Lane_LatDisLine2toC, &B::Lane_LatDisLine3toC, &B::Lane_LatDisLine4toC,
      &B::Lane_LatDisLine5toC, &B::Lane_LatDisLine6toC, &B::Lane_LatDisLine7toC, &B::Lane_LatDisLine8toC},
     kLaneFull},
    {BG::Lane_CurvLine1atA,
     106,
     kLaneCurvature,
     {&B::Lane_CurvLine1atA, &B::Lane_CurvLine2atA, &B::Lane_CurvLine3atA, &B::Lane_CurvLine4atA, &B::Lane_CurvLine5atA,
      &B::Lane_CurvLine6atA, &B::Lane_CurvLine7atA, &B::Lane_CurvLine8atA},
     kLaneFull},
    {BG::Lane_CurvA, 122, kLaneCurvature, {&B::Lane_CurvA, &B::Lane_CurvB, &B::Lane_CurvC}, kLaneFull},
    {BG::Lane_HeadAL, 128, {Raw::I16, kCentidegree}, {&B::Lane_HeadAL, &B::Lane_HeadAR}, kLaneFull},
};

}  // namespace

constinit const Layout kShortLayout{kShortTarget, kShortBody};
constinit const Layout kLongLayout{kLongTarget, kLongBody};
constinit const Layout kLaneLayout{{}, kLaneBody};

}  // namespace Kvex::Rng
