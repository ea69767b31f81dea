#pragma once

#include <cstddef>
#include <future>
#include <kvex/Options.h>
#include <vector>

#include "tool/Output.h"
#include "tool/TableFormatter.h"

namespace Kvex::Tool {

/// Writes batches of samples as a table, or as several one after another. A second thread makes text of what was given
/// before while the caller is reading on; what is written goes out in the caller's thread.
class TableWriter {
 public:
  /// A writer without a table yet.
  TableWriter() = default;
  /// Writes the table's header. Output and formatter are in use until `finish`.
  TableWriter(Output& output, TableFormatter& formatter);
  /// Writes the header of another table, or goes on with it: what is added from now on belongs to it. The first one
  /// stays in use as well.
  void beginTable(Output& output, TableFormatter& formatter);
  void resumeTable(Output& output, TableFormatter& formatter);
  /// Writes what closes a table, when the writer has finished.
  static void endTable(Output& output, const TableFormatter& formatter);

  /// What batches of this table are to be read with. `sparse`: a row has samples of few of the signals.
  ReadOptions readOptions(bool sparse) const;
  /// The samples of a batch whose first column is the formatter's field `firstField`. In a wide table that is 0.
  void add(const Batch& batch, std::uint32_t firstField);
  /// What is added from now on belongs to this event.
  void beginEvent(std::uint64_t number);
  /// Writes what is not written yet. The output is not finished by it.
  void finish();

 private:
  /// What is made text of in one go. Of a wide table that is a batch. Of a long one it is samples: with few of them in
  /// many columns, a reader goes on much quicker in a batch that nobody else holds.
  struct alignas(kCacheLine) Block {
    Output* output = nullptr;
    TableFormatter* formatter = nullptr;
    std::uint64_t event = 0;  ///< 0 for none.
    Batch batch;
    std::vector<TableSample> samples;
    fmt::memory_buffer text;
  };

  /// Values in a block: a few MiB, and work enough to be worth a thread.
  static constexpr std::size_t kBlockSize = 0x10000;
  /// Values in a batch that is turned from columns into rows: what goes into the processor's cache.
  static constexpr std::size_t kTurnedValues = 0x2000;
  static constexpr std::size_t kMinTurnedRows = 8;

  bool isLong() const { return filling_.formatter->style().shape == TableShape::Long; }
  void handOver();
  void format(Block& block) const;
  void writeFormatted();

  Block filling_;
  Block formatting_;
  std::future<void> formatted_;  ///< Waits for the formatting when destroyed, so that nothing it uses may come after.
};

}  // namespace Kvex::Tool
