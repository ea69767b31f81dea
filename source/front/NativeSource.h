#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "front/BatchMemory.h"
#include "front/NativeWalk.h"
#include "front/ReaderSource.h"
#include "front/Reading.h"

namespace Kvex::Front {

/// Native samples of signals of one stream, in one table or several, as batches.
class NativeSource : public ReaderAccess::Source {
 public:
  enum class Tables : std::uint8_t { One, BySignal };

  /// REQUIRES: signals that can be read, of one stream.
  NativeSource(std::shared_ptr<OpenedFile> file, const std::vector<Signal>& signals, Tables tables,
               const ReadOptions& options);

  bool next(Batch& batch) override;

 private:
  /// A table with the place of its newest row.
  struct Table {
    BatchWriter writer;
    std::uint64_t step = 0;  ///< The step that the newest row is of.
    std::size_t row = 0;
    std::size_t byte = 0;  ///< The row's place in bitmaps.
    std::uint8_t bit = 0;
  };
  /// Where the samples of a signal asked for go.
  struct Target {
    ColumnWriter* column;
    Table* table;
  };

  /// Reads until a table is full or the data ends.
  void fill();
  void beginRow(Table& table) {
    table.writer.beginRow(walk_.time());
    table.step = step_;
    table.row = table.writer.row();
    table.byte = table.row >> 3;
    table.bit = static_cast<std::uint8_t>(1U << (table.row & 7));
    if (table.writer.full()) anyFull_ = true;
  }
  template <class T>
  void put(const Target& target, const Lib::NavField<T>& field);
  template <class T>
  void putList(const Target& target, std::span<const Lib::NavField<T>> fields);

  Reading reading_;
  NativeWalk walk_;
  std::vector<std::unique_ptr<Table>> tables_;
  std::vector<Target> targets_;  ///< By signal asked for.
  Table* handedOver_ = nullptr;  ///< Its rows are with the client.
  std::uint64_t step_ = 0;
  bool anyFull_ = false;
  bool ended_ = false;
};

}  // namespace Kvex::Front
