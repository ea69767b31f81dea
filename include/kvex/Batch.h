#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <kvex/ValueType.h>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kvex {

/// Bit `index` of an Arrow bitmap (lowest bit of a byte first). No bitmap means that all bits are set.
inline bool bitAt(const std::uint8_t* bits, std::size_t index) {
  return bits == nullptr || ((bits[index >> 3] >> (index & 7)) & 1) != 0;
}

/// The memory of one column of a batch, in Arrow's layout: as it stands, a primitive array, or for an array signal a
/// list of int32 offsets with a primitive child. All pointers live as long as somebody holds the batch; they are
/// aligned to 64 bytes. A cell that is not valid has an unspecified value. Later versions may add members at the end.
struct ColumnBuffers {
  ValueType type = ValueType::None;  ///< Of a value.
  bool isList = false;               ///< An array signal: each row is a list of its elements.
  std::size_t rows = 0;
  std::size_t valueCount = 0;  ///< Values: the rows, or of a list column the elements in all.

  /// Whether a row is valid. Of a scalar: it has a usable value. Of a list: it has a sample. Null: all rows are.
  const std::uint8_t* validity = nullptr;
  /// Whether a row has a sample, be its value usable or not. Null: all rows have.
  const std::uint8_t* present = nullptr;
  /// `rows` + 1 offsets into the values; null for a scalar.
  const std::int32_t* offsets = nullptr;

  /// `valueCount` values of `type`; of bools one bit each, lowest first.
  const void* values = nullptr;
  /// Of a list: whether an element has a usable value, and whether it has a sample. Null for a scalar.
  const std::uint8_t* childValidity = nullptr;
  const std::uint8_t* childPresent = nullptr;
  const std::uint8_t* flags = nullptr;  ///< `valueCount` flags; null unless asked for. Unspecified where no sample is.
  const Nano* stamps = nullptr;         ///< `valueCount` stamps, likewise.
};

namespace Detail {

template <class T>
T valueAt(const void* values, std::size_t index) {
  if constexpr (std::is_same_v<T, bool>) {
    return bitAt(static_cast<const std::uint8_t*>(values), index);
  } else {
    return static_cast<const T*>(values)[index];
  }
}

}  // namespace Detail

/// A typed look at a scalar column. It points into its batch.
template <class T>
class Column {
 public:
  explicit Column(const ColumnBuffers& buffers) : buffers_(buffers) {}

  std::size_t rows() const { return buffers_.rows; }
  /// Whether the row has a usable value.
  bool valid(std::size_t row) const { return bitAt(buffers_.validity, row); }
  /// Whether the row has a sample, be its value usable or not.
  bool present(std::size_t row) const { return bitAt(buffers_.present, row); }
  /// The value; unspecified where the row has no sample.
  T operator[](std::size_t row) const { return Detail::valueAt<T>(buffers_.values, row); }
  /// All values; not for bool, whose values are bits.
  std::span<const T> values() const requires(!std::is_same_v<T, bool>) {
    return {static_cast<const T*>(buffers_.values), buffers_.rows};
  }
  /// REQUIRES: `ReadOptions::flags`, `ReadOptions::stamps`.
  std::uint8_t flags(std::size_t row) const { return buffers_.flags[row]; }
  Nano stamp(std::size_t row) const { return buffers_.stamps[row]; }

 private:
  ColumnBuffers buffers_;
};

/// A typed look at the column of an array signal. It points into its batch.
template <class T>
class ListColumn {
 public:
  explicit ListColumn(const ColumnBuffers& buffers) : buffers_(buffers) {}

  std::size_t rows() const { return buffers_.rows; }
  /// Whether the row has a sample; then it has all elements of the array.
  bool valid(std::size_t row) const { return bitAt(buffers_.validity, row); }
  /// Elements in the row: 0 where it has no sample.
  std::size_t size(std::size_t row) const {
    return static_cast<std::size_t>(buffers_.offsets[row + 1] - buffers_.offsets[row]);
  }
  /// Whether an element of a row has a usable value; REQUIRES: `element` < `size(row)`, here and below.
  bool valid(std::size_t row, std::size_t element) const { return bitAt(buffers_.childValidity, place(row, element)); }
  /// Whether an element of a row has a sample.
  bool present(std::size_t row, std::size_t element) const { return bitAt(buffers_.childPresent, place(row, element)); }
  T at(std::size_t row, std::size_t element) const { return Detail::valueAt<T>(buffers_.values, place(row, element)); }
  /// REQUIRES: `ReadOptions::flags`, `ReadOptions::stamps`.
  std::uint8_t flags(std::size_t row, std::size_t element) const { return buffers_.flags[place(row, element)]; }
  Nano stamp(std::size_t row, std::size_t element) const { return buffers_.stamps[place(row, element)]; }

 private:
  std::size_t place(std::size_t row, std::size_t element) const {
    return static_cast<std::size_t>(buffers_.offsets[row]) + element;
  }

  ColumnBuffers buffers_;
};

/// A column of texts in Arrow's layout (UTF-8 with int32 offsets), made of the values of a scalar column. It has memory
/// of its own.
class TextColumn {
 public:
  std::size_t rows() const { return offsets_.size() - 1; }
  bool valid(std::size_t row) const { return bitAt(validity_.data(), row); }
  /// Empty where the row is not valid.
  std::string_view operator[](std::size_t row) const {
    return std::string_view(bytes_).substr(static_cast<std::size_t>(offsets_[row]),
                                           static_cast<std::size_t>(offsets_[row + 1] - offsets_[row]));
  }

  std::span<const std::int32_t> offsets() const { return offsets_; }
  std::string_view bytes() const { return bytes_; }
  std::span<const std::uint8_t> validity() const { return validity_; }

 private:
  friend class Batch;

  std::vector<std::int32_t> offsets_{0};
  std::string bytes_;
  std::vector<std::uint8_t> validity_;
};

/// A piece of a table: some rows, a time for each, and a column for each signal. A copy is cheap and shares the memory,
/// which lives until the last one is gone; a reader uses memory again only when nobody else holds it.
/// Thread safety: may be read by several threads.
class Batch {
 public:
  /// A batch without rows and columns.
  Batch();

  std::size_t rows() const;
  std::size_t columns() const;
  /// The table that the rows belong to, as `Signal::table` names it; empty for a grid, whose rows belong to none.
  const std::string& table() const;
  /// The signal of each column.
  const std::vector<Signal>& signals() const;

  std::span<const Nano> times() const;
  Nano time(std::size_t row) const { return times()[row]; }
  /// The time as `utcText` gives it.
  std::string utc(std::size_t row) const { return utcText(time(row)); }

  /// A scalar column by its place. Throws `InvalidArgument` where there is none, where it is of an array, and where `T`
  /// is not its type.
  template <class T>
  Column<T> column(std::size_t index) const {
    return Column<T>(checked(index, kValueTypeOf<T>, false));
  }
  /// The column of an array signal, likewise.
  template <class T>
  ListColumn<T> list(std::size_t index) const {
    return ListColumn<T>(checked(index, kValueTypeOf<T>, true));
  }
  /// A cell of a scalar column, whatever its type, with flags and stamp where they were asked for. Without a sample:
  /// an empty value. Throws `InvalidArgument` where there is no such cell.
  Value value(std::size_t index, std::size_t row) const;
  /// The text forms of a scalar column's usable values.
  TextColumn texts(std::size_t index) const;
  /// The memory of a column. Throws `InvalidArgument` where there is none.
  const ColumnBuffers& buffers(std::size_t index) const;

 private:
  friend class BatchAccess;
  struct Data;

  explicit Batch(std::shared_ptr<const Data> data) : data_(std::move(data)) {}
  const ColumnBuffers& checked(std::size_t index, ValueType type, bool isList) const;

  std::shared_ptr<const Data> data_;
};

}  // namespace Kvex
