#include "front/BatchMemory.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

namespace Kvex::Front {

namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kCacheBytes = std::size_t{1024} * 1024;
constexpr std::size_t kMaxBatchBytes = std::size_t{256} * 1024 * 1024;
constexpr std::size_t kMinRows = 64;
constexpr std::size_t kMaxRows = 8192;
/// A list's offsets have 32 bits.
constexpr std::size_t kMaxChildren = INT32_MAX;

std::size_t aligned(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

std::size_t bitBytes(std::size_t bits) {
  // Bits are written by words.
  return aligned((bits + 7) / 8 + sizeof(std::uint64_t));
}

std::size_t sizeOf(ValueType type) {
  std::size_t size = 0;
  Lib::withType(type, [&](auto tag) { size = sizeof(typename decltype(tag)::Type); });
  return size;
}

/// Hands out the parts of a block one behind the other; with no block it only counts.
class Parts {
 public:
  explicit Parts(std::byte* block) : block_(block) {}

  template <class T>
  T* take(std::size_t bytes) {
    const std::size_t at = used_;
    used_ += aligned(bytes);
    return block_ == nullptr ? nullptr : reinterpret_cast<T*>(block_ + at);
  }
  std::size_t used() const { return used_; }

 private:
  std::byte* block_;
  std::size_t used_ = 0;
};

std::shared_ptr<std::byte[]> allocateBlock(std::size_t bytes) {
  auto* block = static_cast<std::byte*>(::operator new (bytes, std::align_val_t{kAlignment}));
  std::memset(block, 0, bytes);
  return {block, [](std::byte* old) { ::operator delete (old, std::align_val_t{kAlignment}); }};
}

}  // namespace

std::size_t rowBytes(const std::vector<Signal>& signals, const ReadOptions& options) {
  std::size_t bytes = sizeof(Nano);
  for (const Signal& signal : signals) {
    bytes +=
        signal.count() * (sizeOf(signal.type()) + (options.flags ? 1 : 0) + (options.stamps ? sizeof(Nano) : 0)) + 1;
  }
  return bytes;
}

std::size_t batchRows(std::size_t bytesPerRow, const ReadOptions& options) {
  if (options.batchRows > 0) return std::clamp(options.batchRows, std::size_t{1}, 1 + kMaxBatchBytes / bytesPerRow);
  return std::clamp(kCacheBytes / bytesPerRow, kMinRows, kMaxRows);
}

BatchWriter::BatchWriter(std::string table, std::vector<Signal> signals, std::size_t maxRows,
                         const ReadOptions& options)
    : data_(std::make_shared<BatchAccess::Data>()), maxRows_(maxRows), flags_(options.flags), stamps_(options.stamps) {
  for (const Signal& signal : signals) {
    maxRows_ = std::max<std::size_t>(1, std::min(maxRows_, kMaxChildren / signal.count()));
  }
  columns_.resize(signals.size());
  for (std::size_t i = 0; i < signals.size(); ++i) {
    columns_[i].count = signals[i].count();
    columns_[i].type = signals[i].type();
    if (signals[i].isArray()) lists_.push_back(&columns_[i]);
  }
  data_->table = std::move(table);
  data_->signals = std::move(signals);
  allocate();
}

void BatchWriter::allocate() {
  const std::vector<Signal>& signals = data_->signals;
  data_->columns.assign(signals.size(), {});
  std::byte* block = nullptr;
  std::size_t total = 0;
  // The first round only counts.
  for (const bool counting : {true, false}) {
    if (!counting) {
      data_->block = allocateBlock(total);
      block = data_->block.get();
    }
    Parts parts(block);
    for (std::size_t i = 0; i < signals.size(); ++i) {
      ColumnWriter& column = columns_[i];
      const std::size_t values = maxRows_ * column.count;
      column.validity = parts.take<std::uint8_t>(bitBytes(maxRows_));
      column.present = parts.take<std::uint8_t>(bitBytes(maxRows_));
      if (signals[i].isArray()) {
        column.childValidity = parts.take<std::uint8_t>(bitBytes(values));
        column.childPresent = parts.take<std::uint8_t>(bitBytes(values));
      }
      if (signals[i].type() == ValueType::Bool) column.values = parts.take<std::uint8_t>(bitBytes(values));
    }
    bitmapBytes_ = parts.used();
    times_ = parts.take<Nano>(maxRows_ * sizeof(Nano));
    for (std::size_t i = 0; i < signals.size(); ++i) {
      ColumnWriter& column = columns_[i];
      const std::size_t values = maxRows_ * column.count;
      if (signals[i].isArray()) column.offsets = parts.take<std::int32_t>((maxRows_ + 1) * sizeof(std::int32_t));
      if (signals[i].type() != ValueType::Bool) column.values = parts.take<void>(values * sizeOf(signals[i].type()));
      if (flags_) column.flags = parts.take<std::uint8_t>(values);
      if (stamps_) column.stamps = parts.take<Nano>(values * sizeof(Nano));
    }
    total = parts.used();
  }
  data_->times = times_;
  for (std::size_t i = 0; i < signals.size(); ++i) {
    const ColumnWriter& column = columns_[i];
    ColumnBuffers& out = data_->columns[i];
    out.type = signals[i].type();
    out.isList = signals[i].isArray();
    out.values = column.values;
    out.validity = column.validity;
    out.present = column.present;
    out.offsets = column.offsets;
    out.childValidity = column.childValidity;
    out.childPresent = column.childPresent;
    out.flags = column.flags;
    out.stamps = column.stamps;
  }
}

Batch BatchWriter::finish() {
  const std::size_t rows = rows_;
  data_->rows = rows;
  for (ColumnWriter* list : lists_) list->offsets[rows] = static_cast<std::int32_t>(list->children);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    ColumnBuffers& out = data_->columns[i];
    out.rows = rows;
    out.valueCount = out.isList ? columns_[i].children : rows;
  }
  return BatchAccess::make(data_);
}

void BatchWriter::restart() {
  if (data_.use_count() == 1) {
    // What other threads did with the batch that they have let go came before this.
    std::atomic_thread_fence(std::memory_order_acquire);
    std::memset(data_->block.get(), 0, bitmapBytes_);
  } else {
    data_ = std::make_shared<BatchAccess::Data>(*data_);
    allocate();
  }
  rows_ = 0;
  for (ColumnWriter* list : lists_) list->children = 0;
}

}  // namespace Kvex::Front
