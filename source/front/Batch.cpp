#include <kvex/Batch.h>
#include <kvex/Error.h>

#include "front/BatchMemory.h"
#include "library/ValueType.h"

namespace Kvex {

namespace {

[[noreturn]] void fail(const std::string& reason) {
  throw Error(ErrorCode::InvalidArgument, reason);
}

std::string typeText(ValueType type, bool isList) {
  return (isList ? "a list of " : "") + std::string(nameOf(type));
}

}  // namespace

Batch::Batch() : data_(std::make_shared<const Data>()) {}

std::size_t Batch::rows() const {
  return data_->rows;
}

std::size_t Batch::columns() const {
  return data_->columns.size();
}

const std::string& Batch::table() const {
  return data_->table;
}

const std::vector<Signal>& Batch::signals() const {
  return data_->signals;
}

std::span<const Nano> Batch::times() const {
  return {data_->times, data_->rows};
}

const ColumnBuffers& Batch::buffers(std::size_t index) const {
  if (index >= columns()) {
    fail("there is no column " + std::to_string(index) + "; the batch has " + std::to_string(columns()));
  }
  return data_->columns[index];
}

const ColumnBuffers& Batch::checked(std::size_t index, ValueType type, bool isList) const {
  const ColumnBuffers& column = buffers(index);
  if (column.type != type || column.isList != isList) {
    fail("column " + std::to_string(index) + " (" + signals()[index].name() + ") is of type " +
         typeText(column.type, column.isList) + " and cannot be read as " + typeText(type, isList));
  }
  return column;
}

Value Batch::value(std::size_t index, std::size_t row) const {
  const ColumnBuffers& column = buffers(index);
  if (column.isList) fail("column " + std::to_string(index) + " is of an array");
  if (row >= rows()) fail("there is no row " + std::to_string(row));
  Value value;
  if (!bitAt(column.present, row)) return value;
  const std::uint8_t unusable = bitAt(column.validity, row) ? 0 : Flag::kNotAvailable;
  Lib::withType(column.type, [&](auto tag) {
    value = Value(Detail::valueAt<typename decltype(tag)::Type>(column.values, row),
                  column.stamps != nullptr ? column.stamps[row] : kNoTime,
                  column.flags != nullptr ? column.flags[row] : unusable);
  });
  return value;
}

TextColumn Batch::texts(std::size_t index) const {
  const Signal& signal = signals().at((buffers(index), index));
  TextColumn column;
  column.validity_.assign((rows() + 7) / 8, 0);
  column.offsets_.reserve(rows() + 1);
  for (std::size_t row = 0; row < rows(); ++row) {
    const Value cell = value(index, row);
    if (cell.usable()) {
      column.bytes_ += signal.text(cell);
      column.validity_[row >> 3] |= static_cast<std::uint8_t>(1U << (row & 7));
    }
    column.offsets_.push_back(static_cast<std::int32_t>(column.bytes_.size()));
  }
  return column;
}

}  // namespace Kvex
