#pragma once

#include <cstdint>
#include <shared_mutex>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"

namespace Kvex::Sto {

/// Newest values of the subscribed signals of one value type: three arrays of one common length.
template <class T>
struct ColumnGroup {
  // `bool` columns are bytes: the bits of a vector<bool> could not be written one by one as fast.
  using Value = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;

  std::vector<Value> values;
  std::vector<std::uint8_t> flags;
  std::vector<Lib::Nano> times;

  std::uint32_t length() const { return static_cast<std::uint32_t>(values.size()); }

  /// Grows by `count` columns. All columns go back to their initial values: subscribe before the first retrieval.
  void grow(std::uint32_t count) {
    const std::size_t length = values.size() + count;
    values.assign(length, 0);
    flags.assign(length, Lib::Flag::kNeverWritten);
    times.assign(length, 0);
  }

  void put(std::uint32_t position, const Lib::NavField<T>& field) {
    values[position] = field.value;
    flags[position] = field.flags;
    times[position] = field.stamp;
  }
};

/// Plain per-type arrays of newest values: what a retrieval copies out of the Streams.
struct ColumnBlock {
  mutable std::shared_mutex lock;  ///< Guards the arrays.
  std::uint32_t owner = 0;         ///< The stream id in `ModeRetain`; 0 in `ModeDirect`.
  Lib::PerType<ColumnGroup> groups;
};

}  // namespace Kvex::Sto
