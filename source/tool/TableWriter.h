#pragma once

#include <cstddef>
#include <future>
#include <vector>

#include "tool/Output.h"
#include "tool/SampleFormatter.h"

namespace Kvex::Tool {

/// Writes rows of samples as a table. A second thread makes text of the rows given before while the caller is reading
/// the next ones; what is written goes out in the caller's thread.
class TableWriter {
 public:
  /// Writes the table's header. The formatter is in use until `finish`.
  TableWriter(Output& output, SampleFormatter& formatter);

  /// Opens a row; its samples are to be filled in before the next call.
  std::vector<Lib::Sample>& nextRow(Lib::Nano time);
  /// Writes what is not written yet. The output is not finished by it.
  void finish();

 private:
  struct Row {
    Lib::Nano time = 0;
    std::vector<Lib::Sample> samples;
  };

  struct Block {
    std::vector<Row> rows;  ///< Kept for the next use, for their memory.
    std::size_t used = 0;
    fmt::memory_buffer text;
  };

  /// Samples in a block: some milliseconds of work, and a few MiB.
  static constexpr std::size_t kBlockSamples = 0x8000;

  void format(Block& block);
  void writeFormatted();

  Output& output_;
  SampleFormatter& formatter_;
  Block filling_;
  Block formatting_;
  std::future<void> formatted_;  ///< Waits for the formatting when destroyed, so that nothing it uses may come after.
};

}  // namespace Kvex::Tool
