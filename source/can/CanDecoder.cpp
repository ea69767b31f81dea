#include "can/CanDecoder.h"

#include <algorithm>
#include <span>
#include <utility>

namespace Kvex::Can {

CanDecoder::CanDecoder(CanDatabase database) : database_(std::move(database)), newest_(database_.messages().size()) {
  extractions_.reserve(database_.signals().size());
  for (const CanSignal& signal : database_.signals()) extractions_.emplace_back(signal);
  pendingFrames_.reserve(newest_.size());
}

std::vector<CanField> CanDecoder::emptyFields() const {
  std::vector<CanField> fields;
  fields.reserve(extractions_.size());
  for (const CanExtraction& extraction : extractions_) fields.push_back(extraction.emptyField());
  return fields;
}

void CanDecoder::setSelective(bool selective) {
  for (const CanSignal& signal : database_.signals()) {
    if (signal.muxSwitch != CanSignal::kNoSwitch) newest_[signal.messageIndex].selective = selective;
  }
}

void CanDecoder::decode(Lib::ByteView packet, Nano time, std::vector<CanField>& fields) {
  forEachFrame(packet, [&](std::uint32_t id, Lib::ByteView data) { decodeFrame(id, data, time, fields); });
}

const CanMessage* CanDecoder::decodeFrame(std::uint32_t id, Lib::ByteView data, Nano time,
                                          std::vector<CanField>& fields) {
  const CanMessage* const message = database_.find(id);
  if (message == nullptr) return nullptr;
  NewestFrame& frame = newest_[message->index];
  if (frame.pending && frame.selective) [[unlikely]]
    extractFrame(message->index, fields);
  frame.data.assign(data);
  frame.time = time;
  if (!frame.pending) {
    frame.pending = true;
    pendingFrames_.push_back(message->index);
  }
  return message;
}

void CanDecoder::addKinds(std::uint32_t id, Lib::ByteView data, std::vector<std::uint64_t>& kinds) const {
  const CanMessage* const message = database_.find(id);
  if (message == nullptr) return;
  std::uint64_t kind = message->index;
  CanFrameData frame;
  bool assigned = false;
  std::uint32_t lastSwitch = CanSignal::kNoSwitch;
  for (const CanSignal& signal : database_.signalsOf(*message)) {
    if (signal.muxSwitch == CanSignal::kNoSwitch || signal.muxSwitch == lastSwitch) continue;
    if (!std::exchange(assigned, true)) frame.assign(data);
    lastSwitch = signal.muxSwitch;
    kind = kind * 0x9E3779B97F4A7C15 + extractions_[signal.muxSwitch].bits(frame) + 1;
  }
  kinds.push_back(kind);
}

void CanDecoder::extract(std::vector<CanField>& fields) {
  for (const std::uint32_t index : pendingFrames_) {
    newest_[index].pending = false;
    extractFrame(index, fields);
  }
  pendingFrames_.clear();
}

void CanDecoder::extractFrame(std::uint32_t messageIndex, std::vector<CanField>& fields) {
  const NewestFrame& frame = newest_[messageIndex];
  const CanMessage& message = database_.messages()[messageIndex];
  // A copy: a field's flags are a byte, and to the compiler a written byte could be part of any object.
  const Nano time = frame.time;
  CanField* field = fields.data() + message.firstSignal;
  const auto extractions = std::span(extractions_).subspan(message.firstSignal, message.signalCount);
  if (frame.selective) {
    for (const CanSignal& signal : database_.signalsOf(message)) {
      if (selects(frame, signal)) extractions_[signal.index].read(frame.data, time, fields[signal.index]);
    }
    return;
  }
  for (const CanExtraction& extraction : extractions) extraction.read(frame.data, time, *field++);
}

/// Whether all multiplexers from the signal up to one that stands in every frame have a value that selects. Ones that
/// select each other in a circle, or through too many steps, select nothing.
bool CanDecoder::selects(const NewestFrame& frame, const CanSignal& signal) const {
  constexpr int kMaxSteps = 8;
  const CanSignal* selected = &signal;
  for (int steps = 0; selected->muxSwitch != CanSignal::kNoSwitch; ++steps) {
    if (steps == kMaxSteps) return false;
    const std::uint64_t value = extractions_[selected->muxSwitch].bits(frame.data);
    const std::vector<MuxRange>& ranges = selected->muxRanges;
    const auto range = std::ranges::lower_bound(ranges, value, {}, &MuxRange::last);
    if (range == ranges.end() || range->first > value) return false;
    selected = &database_.signals()[selected->muxSwitch];
  }
  return true;
}

void CanDecoder::reset() {
  for (const std::uint32_t index : pendingFrames_) newest_[index].pending = false;
  pendingFrames_.clear();
}

}  // namespace Kvex::Can
