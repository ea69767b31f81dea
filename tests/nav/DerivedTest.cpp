#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <string_view>
#include <vector>

#include "nav/Axes.h"
#include "nav/DecisionList.h"
#include "nav/Derived.h"

namespace Kvex::Nav {
namespace {

constexpr double kPi = std::numbers::pi;

/// A decoder's state, fed field by field.
struct Vehicle : NavState {
  explicit Vehicle(bool wanted = true) : NavState(kQuonProtocol, false) {
    record.reset();
    wants.wantAll(wanted);
    setTime(Lib::kNanosPerWeek);
  }

  /// The next packet, some time later: derived values are marked as a packet marks them.
  void nextPacket(double seconds) {
    setTime(record.Nano.value + std::llround(seconds * 1e9));
    record.BlockNano = record.Nano;
    derived.startPacket();
    const auto mark = [&](std::string_view source, auto& field) {
      if (source == "Packet" && &field.flags != &record.Nano.flags) markNotAvailable(field);
    };
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, ...) mark(#Source, record.Name);
#include "tables/NavSignals.def"
    for (MeasPointBlock& point : record.points) markNotAvailable(point.Track, point.Slip, point.Curvature);
  }

  void set(const Axes& axes, const Vector3& values) {
    setAxes(*this, axes, values);
  }

  /// All quantities of a packet in their order.
  void derive(bool trigger = false) {
    if (!trigger) {
      deriveRates(*this);
      deriveFiltered(*this);
    }
    deriveRotations(*this);
    deriveSpeeds(*this);
    deriveDistances(*this, trigger);
    deriveFrame(*this);
    derivePoints(*this);
    deriveGradient(*this);
    deriveIso(*this, trigger);
    deriveIdentity(*this);
  }
};

constexpr Axes kIsoAn{&NavRecord::IsoAnX, &NavRecord::IsoAnY, &NavRecord::IsoAnZ};
constexpr Axes kIsoAh{&NavRecord::IsoAhX, &NavRecord::IsoAhY, &NavRecord::IsoAhZ};
constexpr Axes kIsoAo{&NavRecord::IsoAoX, &NavRecord::IsoAoY, &NavRecord::IsoAoZ};
constexpr Axes kPosition{&NavRecord::Lat, &NavRecord::Lon, &NavRecord::Alt};
constexpr Axes kAccuracy{&NavRecord::VnAcc, &NavRecord::VeAcc, &NavRecord::VdAcc};

void expectNear(const NavRecord& record, const Axes& axes, const Vector3& expected, double tolerance,
                const char* what) {
  ASSERT_TRUE(allUsable(record, axes)) << what;
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR((record.*axes[i]).value, expected[i], tolerance) << what << ", " << i;
}

std::vector<std::string_view> usableFields(const NavRecord& record) {
  std::vector<std::string_view> names;
  const auto add = [&](bool usable, const char* name) {
    if (usable) names.emplace_back(name);
  };
#define KVEX_NAV_SIGNAL(Name, ...) add(record.Name.usable(), #Name);
#include "tables/NavSignals.def"
  return names;
}

TEST(DerivedTest, NothingIsWorkedOutThatIsNotWanted) {
  Vehicle vehicle(false);
  for (int i = 0; i < 3; ++i) {
    vehicle.nextPacket(0.01);
    for (const Axes* axes : {&kPosition, &kAttitude, &kAcceleration, &kAngularRate, &kVelocity, &kAccuracy}) {
      vehicle.set(*axes, {10.0, 20.0, 30.0});
    }
    const auto before = usableFields(vehicle.record);
    vehicle.derive();
    EXPECT_EQ(usableFields(vehicle.record), before);
  }
}

TEST(DerivedTest, SpeedsHoldAtTwiceTheirAccuracy) {
  struct Case {
    double vn, ve;
    std::optional<Vector3> accuracy;
    double speed, held;
    std::optional<double> track;
  };
  for (const Case& c :
       {Case{0.1, 0.0, {}, 0.1, 0.0, {}},  // below twice the accuracy that is assumed
        Case{0.15, 0.0, {}, 0.15, 0.15, 0.0}, Case{-3.0, 4.0, Vector3{1.0, 1.0, 0.0}, 5.0, 5.0, 126.8698976458440},
        Case{-3.0, 4.0, Vector3{2.0, 2.0, 0.0}, 5.0, 0.0, {}},
        Case{1.0, 0.0, Vector3{0.3, 0.4, 0.0}, 1.0, 0.0, {}}}) {  // exactly twice is not above
    Vehicle vehicle;
    vehicle.nextPacket(0.01);
    vehicle.set(kVelocity, {c.vn, c.ve, 0.0});
    if (c.accuracy) vehicle.set(kAccuracy, *c.accuracy);
    vehicle.derive();
    const NavRecord& r = vehicle.record;
    EXPECT_NEAR(r.Speed2d.value, c.speed, 1e-12);
    EXPECT_EQ(r.Speed2dHold.value, c.held) << c.vn << ", " << c.ve;
    EXPECT_EQ(r.Speed2dAcc.usable(), c.accuracy.has_value());
    ASSERT_EQ(r.Track.usable(), c.track.has_value()) << c.vn << ", " << c.ve;
    if (c.track) {
      EXPECT_NEAR(r.Track.value, *c.track, 1e-12);
    }
  }
}

TEST(DerivedTest, AnglesWrapIntoTheirRange) {
  struct Case {
    double track, heading, slip, referenceYaw, isoYaw;  // reference heading: 170
  };
  for (const Case& c : {Case{10.0, 350.0, 20.0, 180.0, 100.0}, Case{350.0, 170.0, 180.0, 0.0, -80.0},
                        Case{170.0, 350.0, 180.0, 180.0, 100.0}, Case{5.0, 300.0, 65.0, -130.0, 150.0},
                        Case{5.0, 270.0, 95.0, -100.0, -180.0}, Case{5.0, 271.0, 94.0, -101.0, 179.0}}) {
    Vehicle vehicle;
    vehicle.nextPacket(0.01);
    setReferenceFrame(vehicle, 0.0, 0.0, 0.0, 170.0);
    vehicle.set(kVelocity,
                {10.0 * std::cos(c.track * kRadiansPerDegree), 10.0 * std::sin(c.track * kRadiansPerDegree), 0.0});
    vehicle.set(kAttitude, {c.heading, 0.0, 0.0});
    vehicle.derive();
    // Either end of the range is as good where rounding decides.
    EXPECT_NEAR(std::abs(vehicle.record.Slip.value), std::abs(c.slip), 1e-9) << c.track << ", " << c.heading;
    EXPECT_EQ(vehicle.record.RefFrameYaw.value, c.referenceYaw) << c.heading;
    EXPECT_EQ(vehicle.record.IsoYaw.value, c.isoYaw) << c.heading;
  }
}

TEST(DerivedTest, ReversedAnglesSwapTheEndsOfTheirRange) {
  Vehicle vehicle;
  vehicle.nextPacket(0.01);
  vehicle.set(kAttitude, {10.0, 5.0, 3.0});
  NavRecord& r = vehicle.record;
  r.Heading.flags |= Lib::Flag::kLow;
  r.Pitch.flags |= Lib::Flag::kHigh | Lib::Flag::kProvisional;
  r.Roll.flags |= Lib::Flag::kHigh;
  deriveIso(vehicle, false);
  EXPECT_EQ(r.IsoYaw.flags, Lib::Flag::kHigh);
  EXPECT_EQ(r.IsoPitch.flags, Lib::Flag::kLow | Lib::Flag::kProvisional);
  EXPECT_EQ(r.IsoPitch.value, -5.0);
  EXPECT_EQ(r.IsoRoll.flags, Lib::Flag::kHigh);
  EXPECT_EQ(r.IsoRoll.value, 3.0);
}

TEST(DerivedTest, DistanceUnderConstantAccelerationPausesAndIsNotMovedByTriggers) {
  Vehicle vehicle;
  NavRecord& r = vehicle.record;
  const double acceleration = 2.0;
  const auto drive = [&](double step, double t, bool trigger) {
    vehicle.nextPacket(step);
    vehicle.set(kVelocity, {acceleration * t, 0.0, 0.0});
    deriveSpeeds(vehicle);
    deriveDistances(vehicle, trigger);
  };
  drive(0.1, 0.0, true);
  EXPECT_FALSE(r.Dist2d.usable()) << "a trigger starts nothing";
  drive(0.0, 0.0, false);
  EXPECT_EQ(r.Dist2d.value, 0.0);
  for (int i = 1; i <= 50; ++i) drive(0.1, i * 0.1, false);
  EXPECT_NEAR(r.Dist2d.value, 25.0, 1e-6);
  drive(0.05, 5.05, true);
  EXPECT_NEAR(r.Dist3d.value, 5.05 * 5.05, 1e-6);

  vehicle.nextPacket(0.0);
  r.Vn.flags |= Lib::Flag::kNotAvailable;
  deriveSpeeds(vehicle);
  deriveDistances(vehicle, false);
  EXPECT_FALSE(r.Dist2d.usable());
  drive(0.95, 6.0, false);
  EXPECT_NEAR(r.Dist2d.value, 36.0, 1e-6) << "one trapezoid spans the gap";
}

TEST(DerivedTest, CircleDrive) {
  // A circle to the right at 20 m/s and 0.25 rad/s: the radius is 80 m. The heading leads the track by 5 degrees, and a
  // point 3 m ahead of the unit goes sideways by its turning.
  Vehicle vehicle;
  NavRecord& r = vehicle.record;
  const Axes none[] = {{&NavRecord::Imu2VehHeading, &NavRecord::Imu2VehPitch, &NavRecord::Imu2VehRoll},
                       {&NavRecord::RemoteLeverArmX, &NavRecord::RemoteLeverArmY, &NavRecord::RemoteLeverArmZ},
                       kVeh2Out};
  for (const Axes& axes : none) vehicle.set(axes, {});
  MeasPointBlock& point = r.points[2];
  vehicle.setField(point.PointXv, 3.0);
  vehicle.setField(point.PointYv, 0.0);
  vehicle.setField(point.PointZv, 1.5);
  for (int i = 0; i < 20; ++i) {
    const double track = i * 0.3;
    vehicle.nextPacket(0.01);
    vehicle.set(kVelocity, {20.0 * std::cos(track), 20.0 * std::sin(track), 0.0});
    vehicle.set(kAttitude, {track * kDegreesPerRadian + 5.0, 0.0, 0.0});
    vehicle.set(kAngularRate, {0.0, 0.0, 0.25 * kDegreesPerRadian});
    vehicle.derive();
    EXPECT_NEAR(r.Slip.value, -5.0, 1e-9);
    EXPECT_NEAR(r.Curvature.value, 1.0 / 80.0, 1e-12);

    const double slip = -5.0 * kRadiansPerDegree;
    const double forward = 20.0 * std::cos(slip);
    const double right = 20.0 * std::sin(slip) + 0.25 * 3.0;
    EXPECT_NEAR(point.Slip.value, std::atan2(right, forward) * kDegreesPerRadian, 1e-9);
    EXPECT_NEAR(point.Curvature.value, 0.25 / std::hypot(forward, right), 1e-12);
    EXPECT_NEAR(r.Vf.value, forward, 1e-9);
    EXPECT_NEAR(r.IsoVhY.value, -20.0 * std::sin(slip), 1e-9);
  }
}

TEST(DerivedTest, AVehicleAtRestMeasuresGravityAndNothingElse) {
  struct Case {
    double lat, alt, gravity;
  };
  for (const Case& c : {Case{0.0, 0.0, 9.780318}, Case{45.0, 0.0, 9.780318 * (1.0 + 0.0053024 * 0.5 - 5.9e-06)},
                        Case{-90.0, 0.0, 9.780318 * 1.0053024}, Case{0.0, 6367435.68, 9.780318 / 4.0},
                        Case{0.0, -6367435.68 / 2.0, 9.780318 / 8.0}}) {
    Vehicle vehicle;
    vehicle.nextPacket(0.01);
    vehicle.set(kPosition, {c.lat, 10.0, c.alt});
    vehicle.set(kVelocity, {});
    const Vector3 attitude{250.0, 12.0, -35.0};
    vehicle.set(kAttitude, attitude);
    const Vector3 measured =
        transposedMultiply(Lib::fullRotation(kRadiansPerDegree * attitude), Vector3{0.0, 0.0, -c.gravity});
    vehicle.set(kAcceleration, measured);
    vehicle.derive();
    const NavRecord& r = vehicle.record;
    for (const Axes* iso : {&kIsoAn, &kIsoAh, &kIsoAo}) expectNear(r, *iso, {}, 1e-9, "at rest");
    expectNear(r, {&NavRecord::Af, &NavRecord::Al, &NavRecord::Ad}, {0.0, 0.0, -c.gravity}, 1e-9, "level");
  }
}

TEST(DerivedTest, FramesAgreeWithOneRotation) {
  Vehicle vehicle;
  NavRecord& r = vehicle.record;
  vehicle.nextPacket(0.01);
  const Vector3 attitude{200.0, -7.0, 20.0};
  const Vector3 mounting{15.0, 4.0, -3.0};
  const Vector3 angular{1.0, -2.0, 0.5};
  const Vector3 velocity{12.0, -5.0, 0.7};
  const Matrix3 body = Lib::fullRotation(kRadiansPerDegree * attitude);
  vehicle.set(kAttitude, attitude);
  vehicle.set(kVeh2Out, mounting);
  vehicle.set(kPosition, {60.0, 20.0, 100.0});
  vehicle.set(kVelocity, velocity);
  vehicle.set(kAngularRate, angular);
  vehicle.set(kAngularAcceleration, angular);
  vehicle.derive();

  const Vector3 outer = body * angular;
  expectNear(r, {&NavRecord::IsoYnX, &NavRecord::IsoYnY, &NavRecord::IsoYnZ}, {outer[1], outer[0], -outer[2]}, 1e-12,
             "Yn");
  const Vector3 inner = transposedMultiply(body, velocity);
  expectNear(r, {&NavRecord::IsoVoX, &NavRecord::IsoVoY, &NavRecord::IsoVoZ}, {inner[0], -inner[1], -inner[2]}, 1e-12,
             "Vo");
  // The rate of the earth is that of a day, seen from here: a hint of it, in radians, comes off the measured rate.
  EXPECT_NEAR(r.IsoWoX.value, angular[0], 1e-4);
  EXPECT_NE(r.IsoWoX.value, angular[0]);

  const Vector3 vehicleAngles{r.Ned2VehHeading.value, r.Ned2VehPitch.value, r.Ned2VehRoll.value};
  const Matrix3 back =
      Lib::fullRotation(kRadiansPerDegree * vehicleAngles) * Lib::fullRotation(kRadiansPerDegree * mounting);
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(back.data[i], body.data[i], 1e-12);
}

TEST(DerivedTest, MovingOverTheEarthTurnsTheCoriolisTerm) {
  // Due east at the equator, with the earth: the path is bent down towards its axis and the attitude turns with it.
  Vehicle vehicle;
  vehicle.nextPacket(0.01);
  vehicle.set(kPosition, {0.0, 0.0, 0.0});
  vehicle.set(kVelocity, {0.0, 300.0, 0.0});
  vehicle.set(kAttitude, {0.0, 0.0, 0.0});
  vehicle.set(kAngularRate, {});
  vehicle.set(kAcceleration, {0.0, 0.0, -9.780318});
  vehicle.derive();
  const double earthRate = 7.2921151467e-05;
  const double transport = 300.0 / 6378137.0;
  const NavRecord& r = vehicle.record;
  EXPECT_NEAR(r.IsoAnZ.value, (2.0 * earthRate + transport) * 300.0, 1e-12);
  EXPECT_NEAR(r.IsoWoX.value, -(earthRate + transport), 1e-15);
}

TEST(DerivedTest, ReferenceFrameIsForwardAndLeft) {
  Vehicle vehicle;
  NavRecord& r = vehicle.record;
  vehicle.nextPacket(0.01);
  setReferenceFrame(vehicle, 50.0, 8.0, 0.0, 450.0 - 360.0);
  // A degree of latitude and of longitude at 50 degrees.
  EXPECT_NEAR(r.RefLatRadius.value, 111229.0, 1.0);
  EXPECT_NEAR(r.RefLonRadius.value, 71695.7, 1.0);
  vehicle.set(kPosition, {50.001, 8.002, 0.0});
  vehicle.set(kVelocity, {3.0, 4.0, 0.0});
  deriveFrame(vehicle);
  EXPECT_NEAR(r.RefFrameX.value, 0.002 * r.RefLonRadius.value, 1e-8) << "ahead, to the east";
  EXPECT_NEAR(r.RefFrameY.value, 0.001 * r.RefLatRadius.value, 1e-8) << "to the left, north";
  EXPECT_NEAR(r.RefFrameVelX.value, 4.0, 1e-12);
  EXPECT_NEAR(r.RefFrameVelY.value, 3.0, 1e-12);
  EXPECT_NEAR(r.RefFrameTrack.value, 90.0 - std::atan2(4.0, 3.0) * kDegreesPerRadian, 1e-12);

  vehicle.nextPacket(0.01);
  vehicle.set(kVelocity, {2.0, 0.0, 0.0});
  deriveFrame(vehicle);
  EXPECT_FALSE(r.RefFrameTrack.usable()) << "too slow";
}

TEST(DerivedTest, GradientNeedsSpeedAndAccuracy) {
  struct Case {
    double speed, vd, accuracy;
    std::optional<double> gradient;
  };
  for (const Case& c : {Case{10.0, -1.0, 0.05, std::atan(0.1) * kDegreesPerRadian}, Case{2.0, 0.0, 0.01, 0.0},
                        Case{1.9, -1.0, 0.01, {}}, Case{10.0, -1.0, 0.2, {}}}) {
    Vehicle vehicle;
    vehicle.nextPacket(0.01);
    vehicle.set(kVelocity, {0.0, c.speed, c.vd});
    vehicle.set(kAccuracy, {c.accuracy, 0.0, 0.0});
    deriveGradient(vehicle);
    ASSERT_EQ(vehicle.record.AngleGradient.usable(), c.gradient.has_value()) << c.speed << ", " << c.accuracy;
    if (c.gradient) {
      EXPECT_NEAR(vehicle.record.AngleGradient.value, *c.gradient, 1e-12);
    }
  }
}

/// Drives north with a jerk of 0.5 m/s³, level, for `packets` packets of 10 ms.
void driveWithJerk(Vehicle& vehicle, int packets) {
  for (int i = 0; i < packets; ++i) {
    vehicle.nextPacket(0.01);
    const double t = vehicle.record.NanoSeconds.value - 604800.0;
    vehicle.set(kPosition, {0.0, 0.0, 0.0});
    vehicle.set(kVelocity, {});
    vehicle.set(kAttitude, {});
    vehicle.set(kAcceleration, {0.5 * t, 0.0, -9.780318});
    vehicle.set(kAngularRate, {0.0, 0.0, 3.0 * t});
    vehicle.derive();
  }
}

TEST(DerivedTest, RatesAndFiltersFollowWhatTheUnitReports) {
  Vehicle vehicle;
  NavRecord& r = vehicle.record;
  driveWithJerk(vehicle, 5);
  EXPECT_NEAR(r.Jx.value, 0.5, 1e-6);
  EXPECT_NEAR(r.Yz.value, 3.0, 1e-6);
  EXPECT_NEAR(r.IsoJnY.value, 0.5, 1e-6);
  EXPECT_NEAR(r.IsoJoX.value, 0.5, 1e-6);
  for (const auto* field : {&r.FiltAx, &r.FiltJx, &r.FiltYz}) EXPECT_FALSE(field->usable()) << "nothing reported yet";

  configureLinAccFilter(vehicle, 5.0, 0.7);
  configureAngAccFilter(vehicle, 60.0, 0.7);  // above half the packet rate
  configureLinJerkFilter(vehicle, 1, 4, 10.0, 0.05);
  driveWithJerk(vehicle, 300);
  // A ramp comes out of a low-pass late by twice the damping over the cut-off's angular frequency.
  EXPECT_NEAR(r.Ax.value - r.FiltAx.value, 0.5 * 2.0 * 0.7 / (2.0 * kPi * 5.0), 1e-3);
  EXPECT_NEAR(r.FiltJx.value, 0.5, 1e-4);
  EXPECT_NEAR(r.FiltIsoJoX.value, 0.5, 1e-4);
  EXPECT_FALSE(r.FiltYz.usable());

  const double rate = r.IsoJnY.value;
  vehicle.nextPacket(0.004);
  vehicle.set(kPosition, {});
  vehicle.set(kVelocity, {});
  vehicle.set(kAttitude, {});
  vehicle.set(kAcceleration, {9.0, 9.0, 9.0});
  vehicle.derive(true);
  EXPECT_FALSE(r.Jx.usable());
  EXPECT_EQ(r.IsoJnY.value, rate) << "a trigger packet repeats the last rate";
  EXPECT_TRUE(r.FiltIsoJnY.usable());
}

TEST(DerivedTest, ZerosSwitchAFilterOff) {
  struct Case {
    std::optional<double> freq, zeta;
  };
  const Case onePair[] = {{0.0, 0.0}};
  const Case oldAndNew[] = {{5.0, 0.0}, {0.0, 0.7}};
  const Case oneGone[] = {{5.0, 0.0}, {0.0, {}}, {5.0, 0.7}};
  const Case neverBoth[] = {{0.0, {}}, {{}, 0.0}, {5.0, 0.7}};
  const auto bypassed = [](std::span<const Case> reports) {
    Vehicle vehicle;
    for (const Case& c : reports) configureLinAccFilter(vehicle, c.freq, c.zeta);
    driveWithJerk(vehicle, 1);
    return vehicle.record.FiltAx.usable() && vehicle.record.FiltAx.value == vehicle.record.Ax.value;
  };
  EXPECT_TRUE(bypassed(onePair));
  EXPECT_TRUE(bypassed(oldAndNew)) << "a new frequency beside the old damping";
  EXPECT_TRUE(bypassed(oneGone)) << "once off, off until the next walk";
  EXPECT_FALSE(bypassed(neverBoth));
}

TEST(DerivedTest, IdentityComesFromTheLetterInTheDeviceId) {
  struct Case {
    const char* device;
    bool reported;  // what the unit is built from
    std::optional<std::uint16_t> model;
    std::optional<int> generation, housing;
  };
  for (const Case& c :
       {Case{"210101s1", false, 349, 1, 0}, Case{"210101x1", false, {}, {}, {}}, Case{"210101x1", true, 629, 5, 6},
        Case{"210101b1", false, {}, {}, {}}, Case{"210101b1", true, 629, 2, 4}, Case{"21", true, 629, 2, 4}}) {
    Vehicle vehicle;
    NavRecord& r = vehicle.record;
    vehicle.setText(r.DevIDText, c.device);
    if (c.reported) {
      for (auto* field : {&r.HwConfig, &r.receivers[0].Type, &r.receivers[1].Type, &r.receivers[0].VelRate,
                          &r.receivers[0].RawRate, &r.ImuType, &r.ProductVersion, &r.ProductType}) {
        vehicle.setField(*field, 3);
      }
      vehicle.setField(r.receivers[0].Type, 18);
      vehicle.setField(r.ProductVersion, 9);
      for (auto* field : {&r.L1L2DiffEnabled, &r.OmniVBSEnabled, &r.OmniHPEnabled, &r.TerraStarDEnabled,
                          &r.L1DiffEnabled, &r.GnssGlonassEnabled, &r.GnssGalileoEnabled, &r.GnssBeiDouEnabled}) {
        vehicle.setField(*field, true);
      }
    }
    deriveIdentity(vehicle);
    const auto expect = [&](const auto& field, auto expected, const char* what) {
      ASSERT_EQ(field.usable(), expected.has_value()) << c.device << ", " << what;
      if (expected) {
        EXPECT_EQ(field.value, *expected) << c.device << ", " << what;
      }
    };
    expect(r.ProductModel, c.model, "model");
    expect(r.ProductGeneration, c.generation, "generation");
    expect(r.ImuHousing, c.housing, "housing");
  }
}

TEST(DecisionListTest, SharesFirstKeysBetweenRows) {
  using Row = DecisionRow<3>;
  const Row rows[] = {{{1, 5, 7}, {3, 2, 1}, {10}},   //
                      {{1, 5, 8}, {3, 3, 2}, {20}},   // comes with keys 1 and 5 met
                      {{1, 6, 7}, {3, 3, 0}, {30}},   // the last key leads backwards
                      {{2, 6, 7}, {9, 9, 9}, {40}}};  // beyond the list
  const auto find = [&](std::array<std::uint8_t, 3> keys) {
    const auto* results = decide(std::span<const Row>(rows), keys);
    return results == nullptr ? 0 : results->front();
  };
  EXPECT_EQ(find({1, 5, 7}), 10);
  EXPECT_EQ(find({1, 5, 8}), 20);
  EXPECT_EQ(find({1, 6, 7}), 30);
  EXPECT_EQ(find({2, 6, 7}), 40);
  EXPECT_EQ(find({1, 6, 9}), 0);
  EXPECT_EQ(find({4, 6, 7}), 0);
}

}  // namespace
}  // namespace Kvex::Nav
