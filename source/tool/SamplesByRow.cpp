#include "tool/SamplesByRow.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

namespace Kvex::Tool {

namespace {

constexpr std::size_t kGroup = 64;  ///< Rows that are looked at together: the bits of a word.

template <class T>
std::uint64_t loadBits(const void* values, std::size_t index) {
  if constexpr (std::is_same_v<T, bool>) {
    return bitAt(static_cast<const std::uint8_t*>(values), index) ? 1 : 0;
  } else {
    std::uint64_t bits = 0;
    std::memcpy(&bits, static_cast<const T*>(values) + index, sizeof(T));
    return bits;
  }
}

/// Which of the rows from `first` on have a sample, the first one in the lowest bit.
std::uint64_t presentRows(const ColumnBuffers& column, std::size_t first, std::size_t count) {
  std::uint64_t bits = ~std::uint64_t{0};
  if (column.present != nullptr) std::memcpy(&bits, column.present + first / 8, (count + 7) / 8);
  return count == kGroup ? bits : bits & ((std::uint64_t{1} << count) - 1);
}

template <class Visitor>
void forEachBit(std::uint64_t bits, Visitor&& visitor) {
  for (; bits != 0; bits &= bits - 1) visitor(static_cast<std::size_t>(std::countr_zero(bits)));
}

/// Calls `visitor(place, element)` for the values of a row that are samples.
template <class Visitor>
void forEachValue(const ColumnBuffers& column, std::size_t row, Visitor&& visitor) {
  if (!column.isList) return visitor(row, 0U);
  const auto begin = static_cast<std::size_t>(column.offsets[row]);
  const auto end = static_cast<std::size_t>(column.offsets[row + 1]);
  for (std::size_t place = begin; place < end; ++place) {
    if (bitAt(column.childPresent, place)) visitor(place, static_cast<std::uint32_t>(place - begin));
  }
}

/// Up to `kGroup` rows of a batch. They are read column by column, since that is how they lie in memory; a first round
/// counts the samples of each row, so that the second one knows where each sample goes.
void appendGroup(std::vector<TableSample>& samples, const Batch& batch, std::uint32_t firstField, std::size_t first) {
  const std::size_t rows = std::min(kGroup, batch.rows() - first);
  std::array<std::size_t, kGroup> next{};
  for (std::size_t i = 0; i < batch.columns(); ++i) {
    const ColumnBuffers& column = batch.buffers(i);
    forEachBit(presentRows(column, first, rows), [&](std::size_t row) {
      forEachValue(column, first + row, [&](std::size_t, std::uint32_t) { ++next[row]; });
    });
  }
  std::size_t end = samples.size();
  for (std::size_t& place : next) end += std::exchange(place, end);
  samples.resize(end);
  for (std::size_t i = 0; i < batch.columns(); ++i) {
    const ColumnBuffers& column = batch.buffers(i);
    const LoadBits load = loaderOf(column.type);
    forEachBit(presentRows(column, first, rows), [&](std::size_t row) {
      const Nano time = batch.time(first + row);
      forEachValue(column, first + row, [&](std::size_t place, std::uint32_t element) {
        samples[next[row]++] = {time, column.stamps[place], load(column.values, place), firstField + element,
                                column.flags[place]};
      });
    });
    firstField += batch.signals()[i].count();
  }
}

}  // namespace

LoadBits loaderOf(ValueType type) {
  LoadBits load = nullptr;
  visitType(type, [&]<class T>(std::type_identity<T>) { load = loadBits<T>; });
  return load;
}

void appendSamples(std::vector<TableSample>& samples, const Batch& batch, std::uint32_t firstField) {
  for (std::size_t row = 0; row < batch.rows(); row += kGroup) appendGroup(samples, batch, firstField, row);
}

}  // namespace Kvex::Tool
