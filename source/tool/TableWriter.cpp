#include "tool/TableWriter.h"

#include <algorithm>
#include <utility>

#include "tool/Interrupt.h"

namespace Kvex::Tool {

TableWriter::TableWriter(Output& output, TableFormatter& formatter) : output_(output), formatter_(formatter) {
  formatter_.appendHeader(output_.buffer());
  output_.endRecord();
}

ReadOptions TableWriter::readOptions(bool sparse) const {
  ReadOptions options;
  options.flags = isLong() || formatter_.style().flags;
  options.stamps = isLong();
  const std::size_t width = 1 + formatter_.fieldCount();
  if (!isLong()) {
    options.batchRows = std::max<std::size_t>(1, kBlockSize / width);
  } else if (!sparse) {
    options.batchRows = std::max(kMinTurnedRows, kTurnedValues / width);
  }
  return options;
}

void TableWriter::add(const Batch& batch, std::uint32_t firstField) {
  if (isLong()) {
    appendSamples(filling_.samples, batch, firstField);
    if (filling_.samples.size() < kBlockSize) return;
  } else {
    filling_.batch = batch;
  }
  handOver();
}

void TableWriter::finish() {
  handOver();
  writeFormatted();
}

void TableWriter::handOver() {
  writeFormatted();
  std::swap(filling_, formatting_);
  const SignalsBlocked blocked;
  formatted_ = std::async(std::launch::async, [this] { format(formatting_); });
}

void TableWriter::format(Block& block) {
  block.text.clear();
  if (isLong()) {
    formatter_.appendRecords(block.text, block.samples);
  } else {
    formatter_.appendRows(block.text, block.batch);
  }
  block.samples.clear();
  block.batch = Batch();
}

void TableWriter::writeFormatted() {
  if (!formatted_.valid()) return;
  formatted_.get();
  output_.write({formatting_.text.data(), formatting_.text.size()});
}

}  // namespace Kvex::Tool
