#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <kvex/Batch.h>
#include <kvex/Options.h>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "library/ValueType.h"

namespace Kvex {

struct Batch::Data {
  std::string table;
  std::vector<Signal> signals;
  std::size_t rows = 0;
  const Nano* times = nullptr;
  std::vector<ColumnBuffers> columns;
  std::shared_ptr<std::byte[]> block;  ///< What all of the pointers point into.
};

/// What the front door's own code may do with a `Batch`.
class BatchAccess {
 public:
  using Data = Batch::Data;

  static Batch make(std::shared_ptr<const Data> data) { return Batch(std::move(data)); }
};

namespace Front {

/// Where the cells of one column are written. A list column takes its cells one behind the other.
struct ColumnWriter {
  void* values = nullptr;
  std::uint8_t* validity = nullptr;
  std::uint8_t* present = nullptr;
  std::int32_t* offsets = nullptr;  ///< Of a list, like the two below.
  std::uint8_t* childValidity = nullptr;
  std::uint8_t* childPresent = nullptr;
  std::uint8_t* flags = nullptr;  ///< Null unless asked for.
  Nano* stamps = nullptr;         ///< Null unless asked for.
  std::size_t children = 0;       ///< Elements written to a list so far.
  std::uint32_t count = 1;        ///< Elements of the signal.
  ValueType type = ValueType::None;

  bool isList() const { return offsets != nullptr; }

  template <class T>
  void putValue(std::size_t place, T value, std::uint8_t valueFlags, Nano stamp) const {
    if constexpr (std::is_same_v<T, bool>) {
      static_cast<std::uint8_t*>(values)[place >> 3] |= static_cast<std::uint8_t>(value << (place & 7));
    } else {
      static_cast<T*>(values)[place] = value;
    }
    if (flags != nullptr) flags[place] = valueFlags;
    if (stamps != nullptr) stamps[place] = stamp;
  }

  /// Adds an element to the newest row of a list.
  template <class T>
  void addElement(T value, bool sampled, bool valid, std::uint8_t valueFlags, Nano stamp) {
    const std::size_t place = children++;
    putValue(place, value, valueFlags, stamp);
    const auto bit = static_cast<std::uint8_t>(1U << (place & 7));
    if (sampled) childPresent[place >> 3] |= bit;
    if (valid) childValidity[place >> 3] |= bit;
  }
};

/// Sets bits of a bitmap from place `at` on: bit N of `bits` for place `at` + N. The bitmap has room for 64 more.
inline void orBits(std::uint8_t* bitmap, std::size_t at, std::uint64_t bits) {
  std::uint8_t* const first = bitmap + (at >> 3);
  const unsigned shift = at & 7;
  std::uint64_t word = 0;
  std::memcpy(&word, first, sizeof word);
  word |= bits << shift;
  std::memcpy(first, &word, sizeof word);
  if (shift != 0) first[8] |= static_cast<std::uint8_t>(bits >> (64 - shift));
}

/// Bytes that a row of these columns takes; bitmaps counted as whole bits, and a time counted in.
std::size_t rowBytes(const std::vector<Signal>& signals, const ReadOptions& options);
/// The rows of a batch: those asked for, or as many as keep `bytesPerRow` for all tables within the processor's cache.
std::size_t batchRows(std::size_t bytesPerRow, const ReadOptions& options);

/// Fills batches of one table, always in the same memory, except where a client still holds the last batch.
/// Cells are written to `columns()`, in bytes and bits as `ColumnBuffers` has them; what is not written is
/// null. All bits of bitmaps and of bools are clear when a batch begins.
class BatchWriter {
 public:
  BatchWriter(std::string table, std::vector<Signal> signals, std::size_t maxRows, const ReadOptions& options);

  std::size_t rows() const { return rows_; }
  /// Rows for which there is room.
  std::size_t room() const { return maxRows_ - rows_; }
  std::size_t maxRows() const { return maxRows_; }
  bool hasLists() const { return !lists_.empty(); }
  std::vector<ColumnWriter>& columns() { return columns_; }

  /// Adds a row. REQUIRES: room for it.
  void beginRow(Nano time) {
    times_[rows_] = time;
    for (ColumnWriter* list : lists_) list->offsets[rows_] = static_cast<std::int32_t>(list->children);
    ++rows_;
  }

  /// Adds rows to a table without lists. REQUIRES: room for them.
  void addRows(std::span<const Nano> times) {
    std::ranges::copy(times, times_ + rows_);
    rows_ += times.size();
  }

  /// The rows so far, as a batch. Before the next row is written, `restart` is to be called.
  Batch finish();
  /// Begins the next batch.
  void restart();

 private:
  void allocate();

  std::shared_ptr<BatchAccess::Data> data_;
  std::vector<ColumnWriter> columns_;
  std::vector<ColumnWriter*> lists_;
  Nano* times_ = nullptr;
  std::size_t rows_ = 0;
  std::size_t maxRows_;
  std::size_t bitmapBytes_ = 0;  ///< At the start of the block: what `restart` clears.
  bool flags_;
  bool stamps_;
};

}  // namespace Front

}  // namespace Kvex
