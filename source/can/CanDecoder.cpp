#include "can/CanDecoder.h"

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

void CanDecoder::decode(Lib::ByteView packet, Nano time) {
  forEachFrame(packet, [&](std::uint32_t id, Lib::ByteView data) { decodeFrame(id, data, time); });
}

const CanMessage* CanDecoder::decodeFrame(std::uint32_t id, Lib::ByteView data, Nano time) {
  const CanMessage* const message = database_.find(id);
  if (message == nullptr) return nullptr;
  NewestFrame& frame = newest_[message->index];
  frame.data.assign(data);
  frame.time = time;
  if (!frame.pending) {
    frame.pending = true;
    pendingFrames_.push_back(message->index);
  }
  return message;
}

void CanDecoder::extract(std::vector<CanField>& fields) {
  for (const std::uint32_t index : pendingFrames_) {
    NewestFrame& frame = newest_[index];
    frame.pending = false;
    const CanMessage& message = database_.messages()[index];
    // A copy: a field's flags are a byte, and to the compiler a written byte could be part of any object.
    const Nano time = frame.time;
    CanField* field = fields.data() + message.firstSignal;
    for (const CanExtraction& extraction : std::span(extractions_).subspan(message.firstSignal, message.signalCount)) {
      extraction.read(frame.data, time, *field++);
    }
  }
  pendingFrames_.clear();
}

void CanDecoder::reset() {
  for (const std::uint32_t index : pendingFrames_) newest_[index].pending = false;
  pendingFrames_.clear();
}

}  // namespace Kvex::Can
