#include <gtest/gtest.h>
#include <initializer_list>

#include "nav/NavWantTree.h"

namespace Kvex::Nav {
namespace {

/// The wants that wanting some groups comes to.
template <class Set>
NavWantTree settled(Set set) {
  NavWantTree wants;
  wants.wantAll(false);
  set(wants);
  wants.settle();
  return wants;
}

void expectAll(std::initializer_list<bool> wants, bool expected) {
  for (std::size_t place = 0; const bool want : wants) EXPECT_EQ(want, expected) << place++;
}

TEST(NavWantTreeTest, WantsWhatAWantedValueIsMadeOf) {
  const NavWantTree iso = settled([](NavWantTree& w) { w.IsoAoX = true; });
  expectAll({iso.IsoAhX, iso.IsoAnX, iso.Heading, iso.Lat, iso.Vn, iso.Ax}, true);
  expectAll({iso.Wx, iso.FiltAx, iso.Speed2d}, false);

  const NavWantTree point = settled([](NavWantTree& w) { w.points[4].Slip = true; });
  expectAll({point.points[4].Track, point.points[4].base, point.points[4].PointXv, point.Imu2VehHeading,
             point.Veh2OutHeading, point.RemoteLeverArmX, point.Heading, point.Wx, point.Vn},
            true);
  expectAll({point.points[3].base, point.points[4].Curvature, point.Wf}, false);

  const NavWantTree product = settled([](NavWantTree& w) { w.ProductType = true; });
  expectAll({product.ProductFamily, product.GnssGpsEnabled, product.receivers[1].Type, product.receivers[0].Type,
             product.receivers[0].RawRate, product.PsrDiffEnabled, product.ImuType},
            true);
  EXPECT_FALSE(product.receivers[2].Type);

  const NavWantTree jerk = settled([](NavWantTree& w) { w.FiltIsoJoX = true; });
  expectAll({jerk.IsoJoX, jerk.IsoJhX, jerk.FiltIsoJhX, jerk.FiltIsoJnX, jerk.IsoAnX}, true);
  EXPECT_TRUE(settled([](NavWantTree& w) { w.AngleGradient = true; }).VnAcc);
}

TEST(NavWantTreeTest, AlwaysWantsIdentityAndTime) {
  const NavWantTree wants = settled([](NavWantTree&) {});
  expectAll({wants.OutputPacketType, wants.SerialNumber, wants.Nano}, true);
  expectAll({wants.Lat, wants.receivers[0].Type, wants.points[0].Track, wants.LidarIPAddress}, false);
}

TEST(NavWantTreeTest, WantsMoreWithTheLevel) {
  NavWantTree wants;
  wants.setLevel(0);
  EXPECT_FALSE(wants.TimeWeekCount);
  wants.setLevel(3);
  expectAll({wants.TimeWeekCount, wants.Lat, wants.Heading, wants.receivers[0].Type}, true);
  EXPECT_FALSE(wants.Dist2d);
  wants.setLevel(9);
  expectAll({wants.Slip, wants.Af, wants.ProductType}, true);
  EXPECT_FALSE(wants.WSpeedNano);
  wants.setLevel(10);
  expectAll({wants.WSpeedNano, wants.points[7].AngleGradient, wants.receivers[2].Chars}, true);
}

}  // namespace
}  // namespace Kvex::Nav
