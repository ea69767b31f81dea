#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>

#include "range/RangeDerived.h"
#include "range/RangeIso.h"

namespace Kvex::Rng {
namespace {

using namespace Lib::Flag;

constexpr double kTolerance = 1e-9;

/// A state in which everything is wanted, at a known time, and no field holds a value yet.
struct Scene {
  Scene() {
    state.record.reset();
    state.record.body.Nano = {.stamp = 1000, .flags = 0, .value = 1000};
  }

  template <class T>
  static void put(NavField<T>& field, std::type_identity_t<T> value, std::uint8_t flags = 0) {
    field = {.flags = flags, .value = value};
  }

  /// The three angles of hunter and target.
  void head(double hunter, double target, double hunterPitch = 0.0) {
    put(body.Hunter_Heading, hunter);
    put(body.Hunter_Pitch, hunterPitch);
    put(body.Hunter_Roll, 0.0);
    put(t.Heading, target);
    put(t.Pitch, 0.0);
    put(t.Roll, 0.0);
  }

  using Points = std::initializer_list<std::array<double, 2>>;

  /// The hunter's origin and outline, as (ahead, to the right).
  void outlineHunter(double x, double y, Points points) {
    put(body.Hunter_PolygonOriginPosX, x);
    put(body.Hunter_PolygonOriginPosY, y);
    putOutline(body.Hunter_PolygonPointsUsed, body.Hunter_PolygonPointsLon, body.Hunter_PolygonPointsLat, points);
  }

  void outlineTarget(double x, double y, Points points) {
    put(t.PolygonOriginPosX, x);
    put(t.PolygonOriginPosY, y);
    putOutline(t.PolygonPointsUsed, t.PolygonPointsLon, t.PolygonPointsLat, points);
  }

  template <class Entries>
  static void putOutline(NavField<std::int32_t>& used, Entries& lons, Entries& lats, Points points) {
    put(used, static_cast<std::int32_t>(points.size()));
    for (std::size_t i = 0; const auto& [lon, lat] : points) {
      put(lons[i], lon);
      put(lats[i++], lat);
    }
  }

  std::unique_ptr<RangeState> owner = std::make_unique<RangeState>();
  RangeState& state = *owner;
  RangeBody& body = state.record.body;
  RangeTarget& t = state.record.targets[0];
};

void expectField(const NavField<double>& field, std::optional<double> expected, const char* what) {
  if (!expected) {
    EXPECT_EQ(field.flags, kNotAvailable) << what;
    return;
  }
  EXPECT_EQ(field.flags, 0) << what;
  EXPECT_EQ(field.stamp, 1000) << what;
  EXPECT_NEAR(field.value, *expected, kTolerance) << what;
}

TEST(RangeDerivedTest, RangesAndTimesToImpact) {
  constexpr std::nullopt_t kNone = std::nullopt;
  struct Case {
    const char* name;
    double lon, lat, rateLon, rateLat;
    double res, angle, rateRes;
    std::optional<double> timeLon, timeLat;
  };
  const Case cases[] = {
      {"ahead, closing", 10, 0, -2, 0, 10, 0, -2, 5, kNone},
      {"beside, leaving", 0, 5, 0, 1, 5, 90, 1, kNone, -5},
      {"behind", -10, 0, 4, 0, 10, 180, -4, 2.5, kNone},
      {"left ahead, moving across", 3, -3, 1, 1, std::sqrt(18.0), -45, 0, -3, 3},
      {"at no distance", 0, 0, 3, 4, 0, 0, 5, 0, 0},
      {"too slow for an impact", 10, 10, -0.09, -0.1, std::sqrt(200.0), 45, -0.19 / std::sqrt(2.0), kNone, 100},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Scene s;
    Scene::put(s.t.RangeLon, c.lon);
    Scene::put(s.t.RangeLat, c.lat);
    Scene::put(s.t.RangeRateLon, c.rateLon);
    Scene::put(s.t.RangeRateLat, c.rateLat);
    deriveRanges(s.state, 0);
    expectField(s.t.RangeRes, c.res, "RangeRes");
    expectField(s.t.RangeAngle, c.angle, "RangeAngle");
    expectField(s.t.RangeRateRes, c.rateRes, "RangeRateRes");
    expectField(s.t.TimeToImpactLon, c.timeLon, "TimeToImpactLon");
    expectField(s.t.TimeToImpactLat, c.timeLat, "TimeToImpactLat");
  }
}

TEST(RangeDerivedTest, RangeAtItsEndAndMissing) {
  Scene s;
  for (NavField<double>* field :
       {&s.t.RangeLat, &s.t.RangeRateLon, &s.t.RangeRateLat, &s.t.RangeAccLon, &s.t.RangeAccLat}) {
    Scene::put(*field, 1.0);
  }
  struct Case {
    std::uint8_t lonFlags;
    int range, angle, rate, time, acceleration;
  };
  for (const Case& c :
       {Case{0, 0, 0, 0, 0, 0}, Case{kHigh, kHigh, kHigh | kLow, kNotAvailable, kNotAvailable, kHigh},
        Case{kNotAvailable, kNotAvailable, kNotAvailable, kNotAvailable, kNotAvailable, kNotAvailable}}) {
    Scene::put(s.t.RangeLon, 0.0, c.lonFlags);
    deriveRanges(s.state, 0);
    deriveMotion(s.state, 0);
    EXPECT_EQ(s.t.RangeRes.flags, c.range);
    EXPECT_EQ(s.t.RangeRes.value, c.lonFlags == 0 ? 1.0 : 2147483.647) << "the old value stays where there is none";
    EXPECT_EQ(s.t.RangeAngle.flags, c.angle);
    EXPECT_EQ(s.t.RangeRateRes.flags, c.rate);
    EXPECT_EQ(s.t.TimeToImpactLon.flags, c.time);
    EXPECT_EQ(s.t.RangeAccRes.flags, c.acceleration);
    EXPECT_EQ(s.t.RangeAccRes.value, c.lonFlags == 0 ? 1.0 : 327.67);
  }
}

TEST(RangeDerivedTest, TimesToImpactWithAcceleration) {
  struct Case {
    const char* name;
    double range, rate, acceleration;
    std::uint8_t accelerationFlags;
    std::optional<double> time;
    std::uint8_t flags;
  };
  const Case cases[] = {
      {"both to come, the nearer one", 3, -4, 2, 0, 1.0, 0},
      {"acceleration too small to count", 4, -2, 0.04, 0, 2.0, 0},
      {"neither rate nor acceleration", 4, 0.09, 0.04, 0, std::nullopt, kNotAvailable},
      {"touching", 4, -4, 2, 0, 2.0, 0},
      {"turning away before the impact", 5, -4, 2, 0, std::nullopt, kNotAvailable},
      {"one gone, one to come", -3, 2, 2, 0, 1.0, 0},
      {"one gone, one to come, decelerating", 3, 2, -2, 0, 3.0, 0},
      {"both gone, the nearer one", 3, 4, 2, 0, -1.0, 0},
      {"acceleration at its end", 3, -4, 327.67, 8, std::nullopt, 76},
      {"acceleration not there", 3, -4, 2, kNotAvailable, std::nullopt, kNotAvailable},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Scene s;
    Scene::put(s.t.RangeLat, c.range);
    Scene::put(s.t.RangeRateLat, c.rate);
    Scene::put(s.t.RangeAccLat, c.acceleration, c.accelerationFlags);
    deriveMotion(s.state, 0);
    EXPECT_EQ(s.t.TimeToImpactwALat.flags, c.flags);
    EXPECT_NEAR(s.t.TimeToImpactwALat.value, c.time.value_or(0.0), kTolerance);
    EXPECT_EQ(s.t.TimeToImpactwALon.flags, kNotAvailable);
  }
}

TEST(RangeDerivedTest, AnglesBetweenFrames) {
  struct Case {
    double hunter, target, pitch, heading, relPitch;
  };
  for (const Case& c : {Case{30, 75, 0, 45, 0}, Case{350, 10, 0, 20, 0}, Case{10, 350, 0, -20, 0},
                        Case{90, 90, 10, 0, -10}, Case{0, 180, 10, 180, 10}}) {
    SCOPED_TRACE(testing::Message() << c.hunter << " to " << c.target << " pitched " << c.pitch);
    Scene s;
    s.head(c.hunter, c.target, c.pitch);
    deriveGeometry(s.state, 0);
    expectField(s.body.Range_Ned2RangeHeading, c.hunter, "Range_Ned2RangeHeading");
    expectField(s.body.Hunter_Range2HunterPitch, c.pitch, "Hunter_Range2HunterPitch");
    expectField(s.t.Range2TargetHeading, c.heading, "Range2TargetHeading");
    expectField(s.t.Hunter2TargetRelHeading, c.heading, "Hunter2TargetRelHeading");
    expectField(s.t.Hunter2TargetRelPitch, c.relPitch, "Hunter2TargetRelPitch");
  }
  Scene s;
  s.head(10, 20);
  s.body.Hunter_Heading.flags = kNotAvailable;
  s.body.Hunter_Pitch.flags = kNotAvailable;
  deriveGeometry(s.state, 0);
  expectField(s.body.Range_Ned2RangeHeading, std::nullopt, "Range_Ned2RangeHeading");
  expectField(s.body.Hunter_Range2HunterRoll, std::nullopt, "Hunter_Range2HunterRoll");
  expectField(s.t.Range2TargetHeading, std::nullopt, "Range2TargetHeading");
  expectField(s.t.Hunter2TargetRelHeading, std::nullopt, "Hunter2TargetRelHeading");
}

TEST(RangeDerivedTest, LanesAreCopiedIntoIsoAxesFromTheirOwnSignals) {
  Scene s;
  double next = 1;
  const auto number = [&](NavField<double>& field) { Scene::put(field, next++, kLow); };
#define KVEX_LANE_ISO(Name, Own, Group, How) number(s.body.Own);
#include "range/RangeIsoSignals.def"
  copyLaneToIso(s.state);
  const auto expectCopied = [](const NavField<double>& iso, const NavField<double>& own, const char* name) {
    EXPECT_EQ(std::abs(iso.value), own.value) << name;
    EXPECT_EQ(iso.flags, iso.value < 0 ? kHigh : kLow) << name;
    EXPECT_TRUE(iso.written) << name;
  };
#define KVEX_LANE_ISO(Name, Own, Group, How) expectCopied(s.body.Name, s.body.Own, #Name);
#include "range/RangeIsoSignals.def"
}

TEST(RangeDerivedTest, EachCopyIntoIsoAxesIsAWrite) {
  Scene s;
  s.head(10.0, 20.0);
  Scene::put(s.t.RangeLat, 5.0, kHigh);
  s.state.record.clearWritten();
  deriveGeometry(s.state, 0);
  EXPECT_TRUE(s.t.IsoPrY.written);
  EXPECT_EQ(s.t.IsoPrY.flags, kLow);
  EXPECT_TRUE(s.t.IsoPrX.written) << "of a value that is not there";
  EXPECT_TRUE(s.t.IsoYaw.written);
  EXPECT_TRUE(s.t.IsoPolygonPointsPcX[23].written);
  EXPECT_FALSE(s.t.RangeLat.written);
}

TEST(RangeDerivedTest, LocalAnglesAndYawsAroundTheTurn) {
  struct Case {
    double reference, heading, localAngle, yaw, referenceYaw, localYaw;
  };
  const Case cases[] = {
      {0, 0, 0, 90, 0, 90},          {10, 350, 20, 100, -10, 110},           {350, 10, 340, 80, 10, 70},
      {200, 271, 289, 179, 160, 19}, {180, 270, 270, -180, 180, 0},          {90, 359.99, 90.01, 90.01, -90, 180.01},
      {429, 0, 69, 90, -69, 159},    {0, 655.34, 64.66, -205.34, 0, 154.66},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.reference << " and " << c.heading);
    Scene s;
    s.head(c.heading, c.heading);
    Scene::put(s.body.Hunter_RefHeading, c.reference);
    deriveGeometry(s.state, 0);
    expectField(s.body.Hunter_LocalAngle, c.localAngle, "Hunter_LocalAngle");
    expectField(s.t.LocalAngle, c.localAngle, "LocalAngle");
    EXPECT_NEAR(s.t.IsoYaw.value, c.yaw, kTolerance);
    EXPECT_NEAR(s.body.Hunter_IsoYaw.value, c.yaw, kTolerance);
    EXPECT_NEAR(s.body.Hunter_IsoRefYaw.value, c.referenceYaw, kTolerance);
    expectField(s.t.IsoLocalYaw, c.localYaw, "IsoLocalYaw");
    expectField(s.body.Hunter_IsoLocalYaw, c.localYaw, "Hunter_IsoLocalYaw");
  }
  // A difference that rounding leaves just below 0 must not come out as a full turn.
  Scene s;
  s.head(123.40000000000002, 0);
  Scene::put(s.body.Hunter_RefHeading, 123.4);
  deriveGeometry(s.state, 0);
  EXPECT_EQ(s.body.Hunter_LocalAngle.value, 0.0);
}

/// A hunter at (100, 50) with a local angle of 90 degrees, so that a point ahead lies along Y and one to its right
/// along X; its outline has four points, of which the third is missing and the fourth at its low end.
struct OutlineScene : Scene {
  OutlineScene() {
    head(0, 0);
    put(body.Hunter_RefHeading, 90.0);
    outlineHunter(100, 50, {{2, 1}, {2, -1}, {-2, -1}, {-2, 1}});
    body.Hunter_PolygonPointsLat[2].flags = kNotAvailable;
    body.Hunter_PolygonPointsLon[3].flags = kLow;
  }
};

TEST(RangeDerivedTest, HunterInTheLocalFrame) {
  OutlineScene s;
  Scene::put(s.t.HunterPosX, 10.0);
  Scene::put(s.t.HunterPosY, 20.0);
  Scene::put(s.t.RangeLon, 3.0);
  Scene::put(s.t.RangeLat, 4.0);
  deriveGeometry(s.state, 0);
  expectField(s.t.HunterLonPosX, 10, "moved ahead");
  expectField(s.t.HunterLonPosY, 23, "moved ahead");
  expectField(s.t.HunterLatPosX, 14, "moved beside");
  expectField(s.t.HunterLatPosY, 20, "moved beside");
  const auto& xs = s.body.Hunter_PolygonPointsPosX;
  const auto& ys = s.body.Hunter_PolygonPointsPosY;
  expectField(xs[0], 101, "right of the hunter");
  expectField(ys[0], 52, "ahead of the hunter");
  expectField(xs[1], 99, "left of the hunter");
  expectField(xs[2], std::nullopt, "missing");
  EXPECT_NEAR(xs[3].value, 101, kTolerance);
  EXPECT_EQ(xs[3].flags, kLow);
  EXPECT_EQ(ys[3].flags, kLow);
  expectField(ys[4], std::nullopt, "beyond the points in use");
  expectField(s.t.PolygonPointsPosX[0], std::nullopt, "no outline of the target");

  EXPECT_EQ(s.body.Hunter_IsoPolygonPointsPcX[3].flags, kHigh);
  EXPECT_EQ(s.body.Hunter_IsoPolygonPointsPcY[3].value, xs[3].value);

  // A pitch shortens what lies ahead as it is seen from above.
  Scene::put(s.body.Hunter_Pitch, 60.0);
  deriveGeometry(s.state, 0);
  expectField(ys[0], 51, "ahead of the pitched hunter");

  s.body.Hunter_PolygonOriginPosY.flags = kNotAvailable;
  deriveGeometry(s.state, 0);
  expectField(xs[0], std::nullopt, "no origin");
}

TEST(RangeDerivedTest, TargetOutlineTurnsWithTheTarget) {
  Scene s;
  s.head(10, 100);
  Scene::put(s.body.Hunter_RefHeading, 10.0);
  s.outlineTarget(7, 8, {{2, 1}});
  deriveGeometry(s.state, 0);
  expectField(s.t.PolygonPointsPosX[0], 6, "to the right is back along X");
  expectField(s.t.PolygonPointsPosY[0], 6, "ahead is down along Y");
}

TEST(RangeDerivedTest, NearestPointsOnOutlines) {
  struct Case {
    std::uint8_t left, right;
    double scale;
    std::optional<double> x;
  };
  for (const Case& c :
       {Case{1, 2, 0.0, 101.0}, Case{1, 2, 0.25, 100.5}, Case{2, 1, 1.0, 101.0}, Case{0, 2, 0.5, std::nullopt},
        Case{1, 25, 0.5, std::nullopt}, Case{2, 3, 0.5, std::nullopt}, Case{1, 4, 0.5, std::nullopt}}) {
    SCOPED_TRACE(testing::Message() << int{c.left} << " to " << int{c.right});
    OutlineScene s;
    Scene::put(s.t.NearestHunPolyPtToTarPolyLeft, c.left);
    Scene::put(s.t.NearestHunPolyPtToTarPolyRight, c.right);
    Scene::put(s.t.NearestHunPolyPtToTarPolyScale, c.scale);
    deriveGeometry(s.state, 0);
    expectField(s.t.NearestHunPolyPtToTarPolyPosX, c.x, "NearestHunPolyPtToTarPolyPosX");
    expectField(s.t.NearestHunPolyPtToTarPolyPosY, c.x ? std::optional(52.0) : std::nullopt, "PosY");
  }
}

/// A hunter whose outline is a triangle with its centroid at (2, 2), and a square parking space around (5, 6).
struct ParkingScene : Scene {
  ParkingScene() {
    head(10, 350);
    put(body.Hunter_RefHeading, 10.0);
    outlineHunter(0, 0, {{0, 0}, {6, 0}, {0, -6}});
    outlineTarget(5, 6, {{1, 1}, {1, -1}, {-1, -1}, {-1, 1}});
    put(t.ModeStatus, 1);
  }
};

TEST(RangeDerivedTest, Parking) {
  ParkingScene s;
  const NavField<double>& distance = s.t.RelDistanceHunterCentreToTargetCentre;
  deriveGeometry(s.state, 0);
  EXPECT_EQ(s.t.StaticTargetType.value, 1);
  expectField(distance, 5, "distance of the centres");
  expectField(s.t.RelHeadingDiff, 20, "350 to 10");

  s.body.Hunter_PolygonPointsLon[1].value = 0.0;
  deriveGeometry(s.state, 0);
  EXPECT_EQ(distance.flags, 0);
  EXPECT_TRUE(std::isnan(distance.value)) << "an outline without area";

  s.body.Hunter_PolygonPointsUsed.value = 2;
  deriveGeometry(s.state, 0);
  EXPECT_EQ(distance.flags, kNeverWritten);
  expectField(s.t.RelHeadingDiff, 20, "needs no outline of the hunter");

  s.t.PolygonPointsUsed.value = 3;
  deriveGeometry(s.state, 0);
  EXPECT_EQ(s.t.StaticTargetType.value, 2);
  EXPECT_EQ(s.t.RelHeadingDiff.flags, kNeverWritten);
}

// The scan decodes nearly nothing: what nobody wants must cost it one marking per walk, and must not be worked out.
TEST(RangeDerivedTest, UnwantedGroupsAreMarkedOnce) {
  ParkingScene s;
  s.state.wants.wantAll(false);
  for (const bool firstTime : {true, false}) {
    const int expected = firstTime ? kNeverWritten : kNeverWritten | kUntimed;
    s.state.record.reset();
    s.state.markUnwanted = firstTime;
    deriveRanges(s.state, 0);
    deriveMotion(s.state, 0);
    deriveGeometry(s.state, 0);
    for (const NavField<double>& field :
         {s.t.RangeAngle, s.t.TimeToImpactLat, s.t.TimeGapForward, s.t.RangeAccRes, s.t.TimeToImpactwALon,
          s.body.Range_Ned2RangeHeading, s.t.Hunter2TargetRelRoll, s.t.LocalAngle, s.t.HunterLatPosY,
          s.body.Hunter_PolygonPointsPosX[23], s.t.NearestTarPolyPtToHunPolyPosY,
          s.body.Hunter_SensorRegionFarCentrePosY[11], s.t.RelHeadingDiff, s.t.IsoPolygonPointsPcX[23]}) {
      EXPECT_EQ(field.flags, expected);
    }
    EXPECT_EQ(s.t.HunterRelLatDist.flags, kUntimed) << "written whether wanted or not, here without a time";
  }
}

// Whatever a packet can bring must neither be read out of bounds nor lead to undefined arithmetic.
TEST(RangeDerivedTest, AbsurdValues) {
  const double absurd[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e308};
  for (const double value : absurd) {
    for (const std::int32_t used : {-1, 255}) {
      ParkingScene s;
      for (NavField<double>* field :
           {&s.t.RangeLon, &s.t.RangeLat, &s.t.RangeRateLon, &s.t.RangeRateLat, &s.t.RangeAccLon, &s.t.HunterVelF,
            &s.body.Hunter_Heading, &s.t.Heading, &s.body.Hunter_RefHeading, &s.t.NearestTarPolyPtToHunPtScale}) {
        Scene::put(*field, value);
      }
      Scene::put(s.body.Hunter_PolygonPointsUsed, used);
      Scene::put(s.body.Hunter_SensorPointsUsed, used);
      Scene::put(s.t.NearestTarPolyPtToHunPtLeft, 255);
      Scene::put(s.t.NearestTarPolyPtToHunPtRight, 1);
      deriveRanges(s.state, 0);
      deriveMotion(s.state, 0);
      deriveGeometry(s.state, 0);
      EXPECT_EQ(s.t.NearestTarPolyPtToHunPtPosX.flags, kNotAvailable);
      EXPECT_EQ(s.body.Hunter_SensorPointsPosX[11].flags, kNotAvailable);
    }
  }
}

}  // namespace
}  // namespace Kvex::Rng
