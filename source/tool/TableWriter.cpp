#include "tool/TableWriter.h"

#include <utility>

#include "tool/Interrupt.h"

namespace Kvex::Tool {

TableWriter::TableWriter(Output& output, SampleFormatter& formatter) : output_(output), formatter_(formatter) {
  formatter_.appendHeader(output_.buffer());
  output_.endRecord();
}

void TableWriter::addRow(Lib::Nano time, std::span<const Lib::Sample> samples) {
  filling_.times.push_back(time);
  filling_.samples.insert(filling_.samples.end(), samples.begin(), samples.end());
  if (filling_.samples.size() + filling_.times.size() < kBlockSize) return;
  writeFormatted();
  std::swap(filling_, formatting_);
  const SignalsBlocked blocked;
  formatted_ = std::async(std::launch::async, [this] { format(formatting_); });
}

void TableWriter::finish() {
  writeFormatted();
  std::swap(filling_, formatting_);
  format(formatting_);
  output_.write({formatting_.text.data(), formatting_.text.size()});
}

void TableWriter::format(Block& block) {
  block.text.clear();
  std::span<const Lib::Sample> rest(block.samples);
  const std::size_t width = block.times.empty() ? 0 : rest.size() / block.times.size();
  for (const Lib::Nano time : block.times) {
    formatter_.appendRow(block.text, time, rest.first(width));
    rest = rest.subspan(width);
  }
  block.times.clear();
  block.samples.clear();
}

void TableWriter::writeFormatted() {
  if (!formatted_.valid()) return;
  formatted_.get();
  output_.write({formatting_.text.data(), formatting_.text.size()});
}

}  // namespace Kvex::Tool
