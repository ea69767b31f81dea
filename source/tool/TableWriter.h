#pragma once

#include <cstddef>
#include <future>
#include <span>
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

  /// The samples of one time, in the order of the formatter's columns.
  void addRow(Lib::Nano time, std::span<const Lib::Sample> samples);
  /// Writes what is not written yet. The output is not finished by it.
  void finish();

 private:
  struct alignas(kCacheLine) Block {
    std::vector<Lib::Nano> times;      ///< One per row.
    std::vector<Lib::Sample> samples;  ///< Row after row.
    fmt::memory_buffer text;
  };

  /// Samples and times in a block: a few MiB, and work enough to be worth a thread.
  static constexpr std::size_t kBlockSize = 0x20000;

  void format(Block& block);
  void writeFormatted();

  Output& output_;
  SampleFormatter& formatter_;
  Block filling_;
  Block formatting_;
  std::future<void> formatted_;  ///< Waits for the formatting when destroyed, so that nothing it uses may come after.
};

}  // namespace Kvex::Tool
