#include "front/NativeSource.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Kvex::Front {

NativeSource::NativeSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, Tables tables,
                           const ReadOptions& options)
    : reading_(std::move(file), options), walk_(reading_, signals), targets_(signals.size()) {
  const auto sameTable = [&](const Signal& signal) { return signal.table() == signals.front().table(); };
  const std::string theOne = std::ranges::all_of(signals, sameTable) ? signals.front().table() : "";
  const auto tableOf = [&](const Signal& signal) { return tables == Tables::One ? theOne : signal.table(); };

  std::vector<std::string> names;
  std::map<std::string, std::vector<Signal>> columns;
  for (const Signal& signal : signals) {
    std::vector<Signal>& ofTable = columns[tableOf(signal)];
    if (ofTable.empty()) names.push_back(tableOf(signal));
    ofTable.push_back(signal);
  }
  std::size_t bytes = 0;
  for (const auto& [name, ofTable] : columns) bytes += rowBytes(ofTable, options);
  std::map<std::string, Table*> made;
  for (const std::string& name : names) {
    tables_.push_back(
        std::make_unique<Table>(Table{BatchWriter(name, columns[name], batchRows(bytes, options), options)}));
    made[name] = tables_.back().get();
  }
  std::map<std::string, std::size_t> column;
  for (std::size_t asked = 0; asked < signals.size(); ++asked) {
    const std::string& name = tableOf(signals[asked]);
    targets_[asked] = {&made[name]->writer.columns()[column[name]++], made[name]};
  }
}

template <class T>
void NativeSource::put(const Target& target, const Lib::NavField<T>& field) {
  Table& table = *target.table;
  if (table.step != step_) beginRow(table);
  const ColumnWriter& column = *target.column;
  column.putValue(table.row, field.value, field.flags, field.stamp);
  column.present[table.byte] |= table.bit;
  column.validity[table.byte] |= field.usable() ? table.bit : std::uint8_t{0};
}

template <class T>
void NativeSource::putList(const Target& target, std::span<const Lib::NavField<T>> fields) {
  const auto isTimed = [](const Lib::NavField<T>& field) { return (field.flags & Flag::kUntimed) == 0; };
  if (std::ranges::none_of(fields, isTimed)) return;
  Table& table = *target.table;
  if (table.step != step_) beginRow(table);
  ColumnWriter& column = *target.column;
  column.present[table.byte] |= table.bit;
  column.validity[table.byte] |= table.bit;
  for (const Lib::NavField<T>& field : fields) column.addElement(field.value, field.flags, field.stamp, isTimed(field));
}

bool NativeSource::next(Batch& batch) {
  reading_.check();
  if (handedOver_ != nullptr) std::exchange(handedOver_, nullptr)->writer.restart();
  for (;;) {
    for (const auto& table : tables_) {
      if (table->writer.empty() || (!ended_ && !table->writer.full())) continue;
      batch = table->writer.finish();
      handedOver_ = table.get();
      return true;
    }
    if (ended_) return false;
    fill();
  }
}

void NativeSource::fill() {
  anyFull_ = false;
  while (!anyFull_ && !ended_) {
    if (!walk_.step()) {
      ended_ = true;
      return;
    }
    ++step_;
    walk_.visit([this]<class T>(std::span<const NativeWalk::Use> uses, std::span<const Lib::NavField<T>> fields) {
      for (const NativeWalk::Use& use : uses) {
        const Target& target = targets_[use.asked];
        if (use.whole) {
          putList(target, fields);
        } else if ((fields[use.element].flags & Flag::kUntimed) == 0) {
          put(target, fields[use.element]);
        }
      }
    });
  }
}

}  // namespace Kvex::Front
