#include "tables/SignalTable.h"

namespace Kvex::Sto {

Sample SignalRow::read(const void* record) const {
  Sample sample;
  Lib::withType(valueType, [&](auto tag) { sample.set(*fields<typename decltype(tag)::Type>(record)); });
  sample.source = source;
  return sample;
}

bool SignalTable::insert(SignalRow row) {
  const std::uint32_t ordinal = firstOrdinal_ + count();
  if (ordinal >= kMaxOrdinals) return false;
  row.ordinal = static_cast<std::int32_t>(ordinal);
  Key key{Lib::runIndex(row.run()), row.name};
  return rows_.emplace(std::move(key), std::move(row)).second;
}

const SignalRow* SignalTable::find(Lib::Run run, std::string_view name) const {
  const auto found = rows_.find(std::pair{Lib::runIndex(run), name});
  return found == rows_.end() ? nullptr : &found->second;
}

const SignalRow* SignalTable::findScalar(std::string_view name) const {
  for (const Lib::Run run : Lib::kAllRuns) {
    if (run.shape != Shape::Scalar) break;
    if (const SignalRow* row = find(run, name)) return row;
  }
  return nullptr;
}

}  // namespace Kvex::Sto
