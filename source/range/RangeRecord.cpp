#include "range/RangeRecord.h"

namespace Kvex::Rng {

namespace {

constexpr std::uint8_t kResetFlags = Lib::Flag::kNeverWritten | Lib::Flag::kUntimed;

/// Calls `visitor` with every field of the record, and with each entry of a list.
template <class Visitor>
void forEachField(RangeRecord& record, Visitor visitor) {
  const auto visitEntries = [&]<class Field>(Field& field) {
    if constexpr (requires { field.size(); }) {
      for (auto& entry : field) visitor(entry);
    } else {
      visitor(field);
    }
  };
  for (RangeSource& source : record.sources) {
    visitor(source.provenance);
    visitor(source.address);
  }
  for (RangeTarget& target : record.targets) {
#define RANGE_TARGET(type, name, ...) visitEntries(target.name);
#include "tables/RangeTargetSignals.def"
  }
#define RANGE_BODY(type, name, ...) visitEntries(record.body.name);
#include "tables/RangeBodySignals.def"
}

}  // namespace

void RangeRecord::reset() {
  forEachField(*this, []<class T>(NavField<T>& field) { field = {.flags = kResetFlags}; });
}

void RangeRecord::clearWritten() {
  forEachField(*this, [](auto& field) { field.written = false; });
}

}  // namespace Kvex::Rng
