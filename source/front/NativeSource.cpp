#include "front/NativeSource.h"

#include <algorithm>
#include <bit>
#include <map>
#include <utility>

namespace Kvex::Front {

namespace {

using Steps = std::uint64_t;

constexpr std::size_t kWholeBlock = Sto::NativeReader::kBlockSteps;

/// The lowest `count` steps of a set.
Steps lowest(Steps steps, std::size_t count) {
  if (static_cast<std::size_t>(std::popcount(steps)) <= count) return steps;
  Steps taken = 0;
  for (; count > 0 && steps != 0; --count, steps &= steps - 1) taken |= steps & -steps;
  return taken;
}

/// Of the steps of `rows`, in order, those that are in `set`: a bit for each row.
Steps rowsIn(Steps set, Steps rows) {
  if (rows == ~Steps{0}) return set;
  if (set == rows) return (Steps{1} << std::popcount(rows)) - 1;
  Steps result = 0;
  Steps row = 1;
  for (; rows != 0; rows &= rows - 1, row <<= 1) {
    if ((set & rows & -rows) != 0) result |= row;
  }
  return result;
}

template <class T>
void appendScalar(ColumnWriter& column, const Sto::NativeReader& samples, std::size_t element, Steps steps,
                  std::size_t firstRow) {
  // Rows without a sample take whatever stands there: a null's value does not count.
  T* const out = static_cast<T*>(column.values) + firstRow;
  if (steps == ~Steps{0}) {
    for (std::size_t step = 0; step < kWholeBlock; ++step) out[step] = samples.value<T>(element, step);
    return;
  }
  std::size_t row = 0;
  forEachStep(steps, [&](std::size_t step) { out[row++] = samples.value<T>(element, step); });
}

void appendDetails(ColumnWriter& column, const Sto::NativeReader& samples, std::size_t element, Steps steps,
                   std::size_t firstRow) {
  std::size_t row = firstRow;
  forEachStep(steps, [&](std::size_t step) {
    if (column.flags != nullptr) column.flags[row] = samples.flags(element, step);
    if (column.stamps != nullptr) column.stamps[row] = samples.stamp(element, step);
    ++row;
  });
}

void appendScalarColumn(ColumnWriter& column, const Sto::NativeReader& samples, std::size_t element, Steps steps,
                        std::size_t firstRow) {
  const Steps present = samples.samples(element) & steps;
  if (present == 0) return;
  orBits(column.present, firstRow, rowsIn(present, steps));
  orBits(column.validity, firstRow, rowsIn(samples.usableSamples(element) & steps, steps));
  if (column.type == ValueType::Bool) {
    Steps values = 0;
    forEachStep(present, [&](std::size_t step) { values |= Steps{samples.value<bool>(element, step)} << step; });
    orBits(static_cast<std::uint8_t*>(column.values), firstRow, rowsIn(values, steps));
  } else {
    Lib::withType(column.type, [&](auto tag) {
      appendScalar<typename decltype(tag)::Type>(column, samples, element, steps, firstRow);
    });
  }
  if (column.flags != nullptr || column.stamps != nullptr) appendDetails(column, samples, element, steps, firstRow);
}

/// Adds the elements of a list in one step to the newest row; no element where none has a sample.
template <class T>
void appendList(ColumnWriter& column, const Sto::NativeReader& samples, std::size_t first, std::size_t step,
                std::size_t row) {
  const auto has = [&](Steps set) { return (set >> step & 1) != 0; };
  Steps any = 0;
  for (std::size_t i = 0; i < column.count; ++i) any |= samples.samples(first + i);
  if (!has(any)) return;
  orBits(column.present, row, 1);
  orBits(column.validity, row, 1);
  const bool detailed = column.flags != nullptr || column.stamps != nullptr;
  for (std::size_t i = 0; i < column.count; ++i) {
    const std::size_t element = first + i;
    const bool sampled = has(samples.samples(element));
    column.addElement(samples.value<T>(element, step), sampled, has(samples.usableSamples(element)),
                      detailed ? samples.flags(element, step) : std::uint8_t{0},
                      detailed ? samples.stamp(element, step) : 0);
  }
}

}  // namespace

NativeSource::NativeSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, Tables tables,
                           const ReadOptions& options)
    : reading_(std::move(file), options),
      walk_(reading_, signals,
            options.flags || options.stamps ? NativeWalk::Detail::FlagsAndStamp : NativeWalk::Detail::Value) {
  const auto sameTable = [&](const Signal& signal) { return signal.table() == signals.front().table(); };
  const std::string theOne = std::ranges::all_of(signals, sameTable) ? signals.front().table() : "";

  struct Columns {
    std::string table;
    std::vector<Signal> signals;
    std::vector<std::size_t> elements;
  };
  std::vector<Columns> parts;
  std::map<std::string, std::size_t> places;
  for (std::size_t asked = 0; asked < signals.size(); ++asked) {
    const std::string& name = tables == Tables::One ? theOne : signals[asked].table();
    const auto [place, isNew] = places.emplace(name, parts.size());
    if (isNew) parts.push_back({name, {}, {}});
    parts[place->second].signals.push_back(signals[asked]);
    parts[place->second].elements.push_back(walk_.elementOf(asked));
  }
  std::size_t bytes = 0;
  for (const Columns& part : parts) bytes += rowBytes(part.signals, options);
  for (Columns& part : parts) {
    tables_.push_back({BatchWriter(part.table, part.signals, batchRows(bytes, options), options), part.elements});
  }
  current_ = tables_.size();
}

bool NativeSource::readBlock() {
  if (!walk_.nextBlock()) return false;
  const Sto::NativeReader& samples = walk_.samples();
  for (Table& table : tables_) {
    const std::vector<ColumnWriter>& columns = table.writer.columns();
    for (std::size_t column = 0; column < columns.size(); ++column) {
      for (std::size_t i = 0; i < columns[column].count; ++i) {
        table.waiting |= samples.samples(table.elements[column] + i);
      }
    }
    table.waiting &= walk_.steps();
  }
  current_ = 0;
  return true;
}

void NativeSource::append(Table& table) {
  const Steps steps = lowest(table.waiting, table.writer.room());
  if (steps == 0) return;
  table.waiting &= ~steps;
  const Sto::NativeReader& samples = walk_.samples();
  std::vector<ColumnWriter>& columns = table.writer.columns();
  const std::size_t firstRow = table.writer.rows();
  if (!table.writer.hasLists() && steps == ~Steps{0}) {
    table.writer.addRows(samples.times());
  } else {
    forEachStep(steps, [&](std::size_t step) {
      table.writer.beginRow(walk_.time(step));
      for (std::size_t column = 0; column < columns.size() && table.writer.hasLists(); ++column) {
        if (!columns[column].isList()) continue;
        Lib::withType(columns[column].type, [&](auto tag) {
          appendList<typename decltype(tag)::Type>(columns[column], samples, table.elements[column], step,
                                                   table.writer.rows() - 1);
        });
      }
    });
  }
  for (std::size_t column = 0; column < columns.size(); ++column) {
    if (columns[column].isList()) continue;
    appendScalarColumn(columns[column], samples, table.elements[column], steps, firstRow);
  }
}

bool NativeSource::next(Batch& batch) {
  reading_.check();
  if (handedOver_ != nullptr) std::exchange(handedOver_, nullptr)->writer.restart();
  for (;;) {
    for (; current_ < tables_.size(); ++current_) {
      Table& table = tables_[current_];
      if (table.waiting == 0 && !ended_) continue;
      append(table);
      // A batch ends with a block: rows of a whole block are the quickest to append.
      const bool full =
          table.waiting != 0 || table.writer.room() < (table.writer.maxRows() < kWholeBlock ? 1 : kWholeBlock);
      if (table.writer.rows() == 0 || !(full || ended_)) continue;
      batch = table.writer.finish();
      handedOver_ = &table;
      return true;
    }
    if (ended_) return false;
    if (!readBlock()) {
      ended_ = true;
      current_ = 0;
    }
  }
}

}  // namespace Kvex::Front
