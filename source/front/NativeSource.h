#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
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
  /// A table, with the steps of the walk's block in which any of its signals has a sample and which have no row yet.
  struct Table {
    BatchWriter writer;
    std::vector<std::size_t> elements;  ///< By column: its element in the walk, of a list the first one.
    std::uint64_t waiting = 0;
  };

  bool readBlock();
  /// Appends rows for the steps that wait, as far as there is room.
  void append(Table& table);

  Reading reading_;
  NativeWalk walk_;
  std::vector<Table> tables_;
  std::size_t current_ = 0;      ///< The tables before it have all rows of the block.
  Table* handedOver_ = nullptr;  ///< Its rows are with the client.
  bool ended_ = false;
};

}  // namespace Kvex::Front
