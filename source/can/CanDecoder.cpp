#include "can/CanDecoder.h"

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

void CanDecoder::decode(Lib::ByteView packet, Nano time) {
  forEachFrame(packet, [&](std::uint32_t id, Lib::ByteView data) {
    const CanMessage* const message = database_.find(id);
    if (message == nullptr) return;
    NewestFrame& frame = newest_[message->index];
    frame.data.assign(data);
    frame.time = time;
    if (frame.pending) return;
    frame.pending = true;
    pendingFrames_.push_back(message->index);
  });
}

void CanDecoder::extract(std::vector<CanField>& fields) {
  for (const std::uint32_t index : pendingFrames_) {
    NewestFrame& frame = newest_[index];
    frame.pending = false;
    const CanMessage& message = database_.messages()[index];
    const std::uint32_t end = message.firstSignal + message.signalCount;
    for (std::uint32_t signal = message.firstSignal; signal < end; ++signal) {
      extractions_[signal].read(frame.data, frame.time, fields[signal]);
    }
  }
  pendingFrames_.clear();
}

void CanDecoder::reset() {
  for (const std::uint32_t index : pendingFrames_) newest_[index].pending = false;
  pendingFrames_.clear();
}

}  // namespace Kvex::Can
