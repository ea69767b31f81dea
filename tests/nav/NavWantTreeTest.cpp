#include <gtest/gtest.h>

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

TEST(NavWantTree, wantsWhatAWantedValueIsMadeOf) {
  const NavWantTree iso = settled([](NavWantTree& w) { w.IsoAoX = true; });
  EXPECT_TRUE(iso.IsoAhX && iso.IsoAnX && iso.Heading && iso.Lat && iso.Vn && iso.Ax);
  EXPECT_FALSE(iso.Wx || iso.FiltAx || iso.IsoAnX != iso.IsoAhX || iso.Speed2d);

  const NavWantTree point = settled([](NavWantTree& w) { w.points[4].Slip = true; });
  EXPECT_TRUE(point.points[4].Track && point.points[4].base && point.points[4].PointXv && point.Imu2VehHeading &&
              point.Veh2OutHeading && point.RemoteLeverArmX && point.Heading && point.Wx && point.Vn);
  EXPECT_FALSE(point.points[3].base || point.points[4].Curvature || point.Wf);

  const NavWantTree product = settled([](NavWantTree& w) { w.ProductType = true; });
  EXPECT_TRUE(product.ProductFamily && product.GnssGpsEnabled && product.receivers[1].Type &&
              product.receivers[0].Type && product.receivers[0].RawRate && product.PsrDiffEnabled && product.ImuType);
  EXPECT_FALSE(product.receivers[2].Type);

  const NavWantTree jerk = settled([](NavWantTree& w) { w.FiltIsoJoX = true; });
  EXPECT_TRUE(jerk.IsoJoX && jerk.IsoJhX && jerk.FiltIsoJhX && jerk.FiltIsoJnX && jerk.IsoAnX);
  EXPECT_TRUE(settled([](NavWantTree& w) { w.AngleGradient = true; }).VnAcc);
}

TEST(NavWantTree, alwaysWantsIdentityAndTime) {
  const NavWantTree wants = settled([](NavWantTree&) {});
  EXPECT_TRUE(wants.OutputPacketType && wants.SerialNumber && wants.Nano);
  EXPECT_FALSE(wants.Lat || wants.receivers[0].Type || wants.points[0].Track || wants.LidarIPAddress);
}

TEST(NavWantTree, wantsMoreWithTheLevel) {
  NavWantTree wants;
  wants.setLevel(0);
  EXPECT_FALSE(wants.TimeWeekCount);
  wants.setLevel(3);
  EXPECT_TRUE(wants.TimeWeekCount && wants.Lat && wants.Heading && wants.receivers[0].Type);
  EXPECT_FALSE(wants.Dist2d);
  wants.setLevel(9);
  EXPECT_TRUE(wants.Slip && wants.Af && wants.ProductType);
  EXPECT_FALSE(wants.WSpeedNano);
  wants.setLevel(10);
  EXPECT_TRUE(wants.WSpeedNano && wants.points[7].AngleGradient && wants.receivers[2].Chars);
}

}  // namespace
}  // namespace Kvex::Nav
