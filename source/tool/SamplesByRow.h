#pragma once

#include <cstdint>
#include <kvex/Batch.h>
#include <vector>

namespace Kvex::Tool {

/// One sample of a batch.
struct TableSample {
  Nano time = 0;           ///< Of its row.
  Nano stamp = 0;          ///< Of its own.
  std::uint64_t bits = 0;  ///< The value's bytes, lowest first; the rest 0.
  std::uint32_t field = 0;
  std::uint8_t flags = 0;
};

/// The bits of a value in the memory of a column.
using LoadBits = std::uint64_t (*)(const void* values, std::size_t index);
LoadBits loaderOf(ValueType type);

/// Adds all samples of a batch: row by row, and in a row column by column, arrays element by element. The elements of
/// the first column have the numbers from `firstField` on, those of the next ones follow.
/// REQUIRES: a batch with flags and stamps.
void appendSamples(std::vector<TableSample>& samples, const Batch& batch, std::uint32_t firstField);

}  // namespace Kvex::Tool
