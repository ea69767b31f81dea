#include "range/RangeRecord.h"

namespace Kvex::Rng {

namespace {

constexpr std::uint8_t kResetFlags = Lib::Flag::kNeverWritten | Lib::Flag::kUntimed;

template <class T>
void clear(NavField<T>& field) {
  field = {.stamp = 0, .flags = kResetFlags, .stamp2 = 0, .value = T{}};
}

template <class T, std::size_t Count>
void clear(std::array<NavField<T>, Count>& fields) {
  for (NavField<T>& field : fields) clear(field);
}

}  // namespace

void RangeRecord::reset() {
  for (RangeSource& source : sources) {
    clear(source.provenance);
    clear(source.address);
  }
  for (RangeTarget& target : targets) {
#define RANGE_TARGET(type, name, ...) clear(target.name);
#include "tables/RangeTargetSignals.def"
  }
#define RANGE_BODY(type, name, ...) clear(body.name);
#include "tables/RangeBodySignals.def"
}

}  // namespace Kvex::Rng
