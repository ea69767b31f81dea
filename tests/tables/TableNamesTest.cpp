#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tables/TableNames.h"

namespace Kvex::Sto {
namespace {

/// The signals of the lists: name and group, by the kind of block.
struct Listed {
  std::string signal;
  std::string group;
};

TEST(TableNamesTest, EverySignalHasATable) {
  const std::vector<Listed> record{
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, ...) {#Name, #Group},
#include "tables/NavSignals.def"
  };
  const std::vector<Listed> receiver{
#define KVEX_RECEIVER_SIGNAL(Name, Type, Unit, Resolution, Group, ...) {#Name, #Group},
#include "tables/ReceiverSignals.def"
  };
  const std::vector<Listed> point{
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, ...) {#Name, #Group},
#include "tables/MeasPointSignals.def"
  };
  const std::vector<Listed> target{
#define KVEX_TARGET_SIGNAL(Name, Type, Count, Unit, Resolution, Group, ...) {#Name, #Group},
#include "tables/RangeTargetSignals.def"
  };
  const std::vector<Listed> body{
#define KVEX_BODY_SIGNAL(Name, Type, Count, Unit, Resolution, Group, ...) {#Name, #Group},
#include "tables/RangeBodySignals.def"
  };
  for (const auto& [signal, group] : record) EXPECT_NE(navTableName(signal, group), "") << signal;
  for (const auto& [signal, group] : receiver) EXPECT_NE(receiverTableName("R", signal, group), "R ") << signal;
  for (const auto& [signal, group] : point) EXPECT_NE(pointTableName(0, signal, group), "point 1 ") << signal;
  for (const auto& [signal, group] : target) EXPECT_NE(targetTableName(0, signal, group), "target 1 ") << signal;
  for (const auto& [signal, group] : body) EXPECT_NE(bodyTableName(signal, group), "") << signal;

  const auto contains = [](const std::vector<Listed>& list, const std::string& signal) {
    return std::ranges::find(list, signal, &Listed::signal) != list.end();
  };
#define KVEX_NAV_TABLE(Name, Table) EXPECT_TRUE(contains(record, #Name)) << #Name;
#include "tables/NavGroups.def"
#define KVEX_RECEIVER_TABLE(Name, Table) EXPECT_TRUE(contains(receiver, #Name)) << #Name;
#include "tables/ReceiverGroups.def"
#define KVEX_TARGET_TABLE(Name, Table) EXPECT_TRUE(contains(target, #Name)) << #Name;
#include "tables/RangeTargetGroups.def"
#define KVEX_BODY_TABLE(Name, Table) EXPECT_TRUE(contains(body, #Name)) << #Name;
#include "tables/RangeBodyGroups.def"
}

TEST(TableNamesTest, SignalsOfOtherPacketsStandApart) {
  EXPECT_EQ(navTableName("Lon", "Lat"), "position");
  EXPECT_EQ(navTableName("Speed2d", "Speed2d"), "speed");
  EXPECT_EQ(navTableName("Speed2dAcc", "Speed2d"), "speed accuracy");
  EXPECT_EQ(receiverTableName("GpsExt1", "SupplyVolt", "CpuUsed"), "GpsExt1 status");
  EXPECT_EQ(pointTableName(7, "Track", "Track"), "point 8 track");
  EXPECT_EQ(targetTableName(1, "RangeLat", "RangeLon"), "target 2 range");
  EXPECT_EQ(targetTableName(1, "Latency", "ModeStatus"), "target 2 link");
  EXPECT_EQ(bodyTableName("Hunter_RefAlt", "Hunter_RefLat"), "reference frame height");
}

}  // namespace
}  // namespace Kvex::Sto
