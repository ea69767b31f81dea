// A whole file through the public headers: the first byte picks its kind, the rest is its content. It is opened, and
// all of its signals are read as an overview, on a grid, and those of the first stream as the recording carried them.

#include <algorithm>
#include <iterator>
#include <kvex/File.h>
#include <optional>
#include <vector>

#include "support/Check.h"
#include "support/InputAsFile.h"

namespace {

using namespace Kvex;

constexpr std::size_t kSlices = 8;

/// Reads every cell of a batch; gives the number of samples in its scalar columns.
std::uint64_t samplesOf(const Batch& batch) {
  Fuzz::check(batch.rows() > 0);
  std::uint64_t samples = 0;
  for (std::size_t column = 0; column < batch.columns(); ++column) {
    const ColumnBuffers& buffers = batch.buffers(column);
    Fuzz::check(buffers.rows == batch.rows());
    if (buffers.isList) {
      Fuzz::check(static_cast<std::size_t>(buffers.offsets[buffers.rows]) == buffers.valueCount);
      continue;
    }
    const Signal& signal = batch.signals()[column];
    for (std::size_t row = 0; row < batch.rows(); ++row) {
      const Value value = batch.value(column, row);
      if (value.type() == ValueType::None) continue;
      Fuzz::check(bitAt(buffers.present, row));
      if (signal.hasTexts()) signal.text(value);
      ++samples;
    }
  }
  return samples;
}

void readNative(File& file, const Stream& stream) {
  std::vector<Signal> scalars;
  std::ranges::copy_if(stream.signals(), std::back_inserter(scalars), [](const Signal& s) { return !s.isArray(); });
  std::uint64_t samples = 0;
  for (const Batch& batch : file.nativeTables(stream.signals(), {.flags = true, .stamps = true})) {
    samples += samplesOf(batch);
  }
  std::uint64_t counted = 0;
  for (const Statistics& entry : file.statistics(scalars)) counted += entry.samples;
  Fuzz::check(samples == counted);
}

void readGrid(File& file, const std::vector<Signal>& signals) {
  const auto [start, end] = file.span();
  const std::uint64_t length = static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(start);
  std::vector<Nano> times;
  for (std::uint64_t i = 0; start < end && i < kSlices; ++i) {
    times.push_back(static_cast<Nano>(static_cast<std::uint64_t>(start) + length / kSlices * i));
  }
  std::size_t rows = 0;
  for (const Batch& batch : file.grid(signals, Grid::at(times), {.flags = true, .stamps = true})) {
    Fuzz::check(std::ranges::is_sorted(batch.times()));
    samplesOf(batch);
    rows += batch.rows();
  }
  Fuzz::check(rows <= times.size());
}

void readOverview(File& file, const std::vector<Signal>& signals) try {
  const Overview overview = file.overview(signals, kSlices);
  for (std::size_t signal = 0; signal < overview.signals().size(); ++signal) {
    for (std::size_t slice = 0; slice < kSlices; ++slice) {
      const Slice seen = overview.at(signal, slice);
      Fuzz::check(seen.usable <= seen.samples);
    }
  }
} catch (const Error& error) {
  Fuzz::check(error.code() == ErrorCode::InvalidArgument);  // the last time lies before the first
}

void readAll(File& file) {
  std::vector<Signal> timed;
  for (const Stream& stream : file.streams()) {
    if (stream.hasTime()) timed.insert(timed.end(), stream.signals().begin(), stream.signals().end());
  }
  if (timed.empty()) return;
  readOverview(file, timed);
  readNative(file, file.stream(timed.front().stream()));
  readGrid(file, timed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!Fuzz::InputAsFile::takes(size)) return 0;
  const Fuzz::InputAsFile input(data, size);
  std::optional<File> file;
  try {
    file.emplace(input.path());
  } catch (const Error& error) {
    Fuzz::check(error.code() == ErrorCode::Empty);
    return 0;
  }
  readAll(*file);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return Fuzz::mutateFile(data, size, maxSize, seed);
}
