#include "tool/TableWriter.h"

#include <algorithm>
#include <utility>

#include "tool/Interrupt.h"

namespace Kvex::Tool {

TableWriter::TableWriter(Output& output, TableFormatter& formatter) {
  beginTable(output, formatter);
}

void TableWriter::beginTable(Output& output, TableFormatter& formatter) {
  resumeTable(output, formatter);
  formatter.appendHeader(output.buffer());
  output.endRecord();
}

void TableWriter::resumeTable(Output& output, TableFormatter& formatter) {
  if (filling_.formatter != &formatter && !filling_.samples.empty()) handOver();
  filling_.output = &output;
  filling_.formatter = &formatter;
}

ReadOptions TableWriter::readOptions(bool sparse) const {
  ReadOptions options;
  options.flags = isLong() || filling_.formatter->style().flags;
  options.stamps = isLong();
  const std::size_t width = 1 + filling_.formatter->fieldCount();
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

void TableWriter::beginEvent(std::uint64_t number) {
  if (!filling_.samples.empty()) handOver();
  filling_.event = number;
}

void TableWriter::finish() {
  handOver();
  writeFormatted();
}

void TableWriter::endTable(Output& output, const TableFormatter& formatter) {
  formatter.appendFooter(output.buffer());
  output.endRecord();
}

void TableWriter::handOver() {
  writeFormatted();
  std::swap(filling_, formatting_);
  filling_.output = formatting_.output;
  filling_.formatter = formatting_.formatter;
  filling_.event = formatting_.event;
  const SignalsBlocked blocked;
  formatted_ = std::async(std::launch::async, [this] { format(formatting_); });
}

void TableWriter::format(Block& block) const {
  block.text.clear();
  if (block.event > 0) block.formatter->setEvent(block.event);
  if (isLong()) {
    block.formatter->appendRecords(block.text, block.samples);
  } else {
    block.formatter->appendRows(block.text, block.batch);
  }
  block.samples.clear();
  block.batch = Batch();
}

void TableWriter::writeFormatted() {
  if (!formatted_.valid()) return;
  formatted_.get();
  formatting_.output->write({formatting_.text.data(), formatting_.text.size()});
}

}  // namespace Kvex::Tool
