#include "tables/SignalTable.h"

namespace Kvex::Sto {

Sample SignalRow::read(const void* record) const {
  Sample sample;
  Lib::withType(valueType, [&](auto tag) { sample.set(*fields<typename decltype(tag)::Type>(record)); });
  sample.source = source;
  return sample;
}

namespace {

/// Cuts a UTF-8 text at a character.
void shorten(std::string& text) {
  if (text.size() <= SignalTable::kMaxText) return;
  std::size_t size = SignalTable::kMaxText;
  while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  text.resize(size);
  text.shrink_to_fit();
}

}  // namespace

bool SignalTable::takesScalar(ValueType type, std::string_view name) const {
  return firstOrdinal_ + count() < kMaxOrdinals && name.size() <= kMaxText &&
         find({type, Shape::Scalar}, name) == nullptr;
}

bool SignalTable::insert(SignalRow row) {
  const std::uint32_t ordinal = firstOrdinal_ + count();
  if (ordinal >= kMaxOrdinals || row.name.size() > kMaxText) return false;
  for (std::string* text : {&row.unit, &row.description, &row.table}) shorten(*text);
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
