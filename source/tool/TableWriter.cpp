#include "tool/TableWriter.h"

#include <utility>

namespace Kvex::Tool {

TableWriter::TableWriter(Output& output, SampleFormatter& formatter) : output_(output), formatter_(formatter) {
  formatter_.appendHeader(output_.buffer());
  output_.endRecord();
}

std::vector<Lib::Sample>& TableWriter::nextRow(Lib::Nano time) {
  if (filling_.used > 0 && filling_.used * filling_.rows[0].samples.size() >= kBlockSamples) {
    writeFormatted();
    std::swap(filling_, formatting_);
    formatted_ = std::async(std::launch::async, [this] { format(formatting_); });
  }
  if (filling_.used == filling_.rows.size()) filling_.rows.emplace_back();
  Row& row = filling_.rows[filling_.used++];
  row.time = time;
  return row.samples;
}

void TableWriter::finish() {
  writeFormatted();
  std::swap(filling_, formatting_);
  format(formatting_);
  output_.write({formatting_.text.data(), formatting_.text.size()});
}

void TableWriter::format(Block& block) {
  block.text.clear();
  for (std::size_t i = 0; i < block.used; ++i) {
    formatter_.appendRow(block.text, block.rows[i].time, block.rows[i].samples);
  }
  block.used = 0;
}

void TableWriter::writeFormatted() {
  if (!formatted_.valid()) return;
  formatted_.get();
  output_.write({formatting_.text.data(), formatting_.text.size()});
}

}  // namespace Kvex::Tool
