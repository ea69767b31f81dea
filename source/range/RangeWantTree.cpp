#include "range/RangeWantTree.h"

#include "tables/Requirements.h"

namespace Kvex::Rng {

namespace {

// As the lists of groups call them.
using Target = TargetGroup;
using Body = BodyGroup;

}  // namespace

void RangeWantTree::wantAll(bool want) {
  for (WantSet<TargetGroup>& target : targets) target.fill(want);
  body.fill(want);
}

void RangeWantTree::settleWants() {
  Sto::settleRequirements([&](const auto& require) {
    for (WantSet<TargetGroup>& own : targets) {
      const auto wantOf = [&](auto group) -> bool& {
        if constexpr (std::is_same_v<decltype(group), Target>) {
          return own[group];
        } else {
          return body[group];
        }
      };
      const auto requireAll = [&]([[maybe_unused]] bool wanted, auto... required) {
        (require(wanted, wantOf(required)), ...);
      };
#define KVEX_TARGET_GROUP(Name, Table, ...) requireAll(own[Target::Name] __VA_OPT__(, ) __VA_ARGS__);
#include "tables/RangeTargetGroups.def"
      // What the body's values are worked out from in a target, they need of each target.
#define KVEX_BODY_GROUP(Name, Table, ...) requireAll(body[Body::Name] __VA_OPT__(, ) __VA_ARGS__);
#include "tables/RangeBodyGroups.def"
    }
  });
}

}  // namespace Kvex::Rng
