#include "nav/NavWantTree.h"

#include <cstddef>
#include <initializer_list>

namespace Kvex::Nav {

namespace {

using Node = bool NavWantTree::*;
using ReceiverNode = bool ReceiverWants::*;
using PointNode = bool PointWants::*;

enum Group : std::size_t {
#define KVEX_NAV_GROUP(Name, ...) Name,
#include "tables/NavGroups.def"
};

/// The node of each group.
constexpr Node kNodes[] = {
#define KVEX_NAV_GROUP(Name, ...) &NavWantTree::Name,
#include "tables/NavGroups.def"
};

struct Requirement {
  Group group;
  std::initializer_list<Group> required;
};

constexpr Requirement kRequirements[] = {
#define KVEX_NAV_GROUP(Name, ...) {Name, {__VA_ARGS__}},
#include "tables/NavGroups.def"
};

struct ReceiverRequirement {
  Node group;
  std::size_t receiver;
  ReceiverNode required;
};

constexpr ReceiverRequirement kReceiverRequirements[] = {
    {&NavWantTree::ProductFamily, 0, &ReceiverWants::Type},
    {&NavWantTree::ProductFamily, 0, &ReceiverWants::RawRate},
    {&NavWantTree::ProductType, 1, &ReceiverWants::Type},
    {&NavWantTree::PsrDiffEnabled, 0, &ReceiverWants::Type},
};

struct PointRequirement {
  PointNode group;
  PointNode required;
};

constexpr PointRequirement kPointRequirements[] = {
    {&PointWants::Track, &PointWants::base},
    {&PointWants::Track, &PointWants::PointXv},
    {&PointWants::Slip, &PointWants::base},
    {&PointWants::Slip, &PointWants::PointXv},
    {&PointWants::Slip, &PointWants::Track},
    {&PointWants::Curvature, &PointWants::base},
    {&PointWants::Curvature, &PointWants::PointXv},
    {&PointWants::AngleGradient, &PointWants::base},
    {&PointWants::AngleGradient, &PointWants::PointXv},
};

struct PointRootRequirement {
  PointNode group;
  Node required;
};

constexpr PointRootRequirement kPointRootRequirements[] = {
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
  receivers.fill({on, on, on, on, on, on, on, on});
  points.fill({on, on, on, on, on, on});
  for (const Node node : kNodes) this->*node = on;
  OutputPacketType = SerialNumber = Nano = true;
}

void NavWantTree::settle() {
  bool changed = true;
  const auto require = [&](bool wanted, bool& required) {
    if (!wanted || required) return;
    required = true;
    changed = true;
  };
  while (changed) {
    changed = false;
    for (PointWants& point : points) {
      for (const auto& [group, required] : kPointRequirements) require(point.*group, point.*required);
      for (const auto& [group, required] : kPointRootRequirements) require(point.*group, this->*required);
    }
    for (const Requirement& row : kRequirements) {
      for (const Group required : row.required) require(this->*kNodes[row.group], this->*kNodes[required]);
    }
    for (const auto& [group, receiver, required] : kReceiverRequirements) {
      require(this->*group, receivers[receiver].*required);
    }
  }
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
