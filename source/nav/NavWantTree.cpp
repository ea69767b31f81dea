#include "nav/NavWantTree.h"

#include <cstddef>

#include "tables/Requirements.h"

namespace Kvex::Nav {

namespace {

// The requirements between the groups of the record, of its receivers and of its measurement points. Those within the
// record and within a point stand in the lists of groups.

struct ReceiverRequirement {
  bool NavWantTree::*group;
  std::size_t receiver;
  bool ReceiverWants::*required;
};

constexpr ReceiverRequirement kReceiverRequirements[] = {
    {&NavWantTree::ProductFamily, 0, &ReceiverWants::Type},
    {&NavWantTree::ProductFamily, 0, &ReceiverWants::RawRate},
    {&NavWantTree::ProductType, 1, &ReceiverWants::Type},
    {&NavWantTree::PsrDiffEnabled, 0, &ReceiverWants::Type},
};

struct PointRequirement {
  bool PointWants::*group;
  bool NavWantTree::*required;
};

constexpr PointRequirement kPointRequirements[] = {
    {&PointWants::base, &NavWantTree::Imu2VehHeading},
    {&PointWants::base, &NavWantTree::Veh2OutHeading},
    {&PointWants::base, &NavWantTree::RemoteLeverArmX},
    {&PointWants::base, &NavWantTree::Heading},
    {&PointWants::base, &NavWantTree::Wx},
    {&PointWants::base, &NavWantTree::Vn},
    {&PointWants::Slip, &NavWantTree::Heading},
    {&PointWants::Curvature, &NavWantTree::Wf},
};

}  // namespace

void NavWantTree::wantAll(bool on) {
  for (ReceiverWants& receiver : receivers) {
#define KVEX_RECEIVER_GROUP(Name, ...) receiver.Name = on;
#include "tables/ReceiverGroups.def"
  }
  for (PointWants& point : points) {
#define KVEX_POINT_GROUP(Name, ...) point.Name = on;
#include "tables/MeasPointGroups.def"
  }
#define KVEX_NAV_GROUP(Name, ...) Name = on;
#include "tables/NavGroups.def"
  OutputPacketType = SerialNumber = Nano = true;
}

void NavWantTree::settle() {
  Sto::settleRequirements([&](const auto& require) {
    const auto requireAll = [&]([[maybe_unused]] bool wanted, auto&... required) { (require(wanted, required), ...); };
    for (PointWants& point : points) {
      point.visitRequirements(requireAll);
      for (const auto& [group, required] : kPointRequirements) require(point.*group, this->*required);
    }
#define KVEX_NAV_GROUP(Name, Table, ...) requireAll(Name __VA_OPT__(, ) __VA_ARGS__);
#include "tables/NavGroups.def"
    for (const auto& [group, receiver, required] : kReceiverRequirements) {
      require(this->*group, receivers[receiver].*required);
    }
  });
}

void NavWantTree::setLevel(int level) {
  wantAll(level >= 10);
  if (level >= 1) PsrDiffEnabled = GnssGpsEnabled = TimeWeekCount = true;
  if (level >= 2) Vn = Lat = true;
  if (level >= 3) Heading = true;
  if (level >= 4) Dist2d = true;
  if (level >= 5) Speed2d = true;
  if (level >= 6) Ax = true;
  if (level >= 7) Af = true;
  if (level >= 8) Slip = true;
  if (level >= 9) ProductType = true;
  settle();
}

}  // namespace Kvex::Nav
