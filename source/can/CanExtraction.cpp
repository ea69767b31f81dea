#include "can/CanExtraction.h"

#include <algorithm>

namespace Kvex::Can {

using Lib::ValueType;

CanExtraction::CanExtraction(const CanSignal& signal) : littleEndian_(signal.littleEndian) {
  const std::int32_t length = std::min(signal.bitLength, 64);
  if (signal.valueType == ValueType::Double) {
    // Below 64 bits an unsigned value is a signed one too, and that conversion is one instruction.
    form_ = signal.isSigned || length < 64 ? Form::DoubleOfSigned : Form::DoubleOfUnsigned;
    scale_ = signal.factor.asDouble;
    base_ = signal.offset.asDouble;
  } else if (signal.isSigned) {
    form_ = Form::Signed;
    factor_ = static_cast<std::uint64_t>(signal.factor.asSigned);
    offset_ = static_cast<std::uint64_t>(signal.offset.asSigned);
  } else {
    form_ = Form::Unsigned;
    factor_ = signal.factor.asUnsigned;
    offset_ = signal.offset.asUnsigned;
  }
  if (length == 0) return;  // Reads as 0 wherever it stands.

  mask_ = UINT64_MAX >> (64 - length);
  if (signal.isSigned && length > 1) signBit_ = std::uint64_t{1} << (length - 1);

  // A signal within one of the frame's aligned words is read from that word, which is how the words were written. Any
  // other one is read from the byte of its lowest bit on.
  const std::int32_t low = signal.lowBit;
  const bool inOneWord = low / 64 == (low + length - 1) / 64;
  const std::int32_t unit = inOneWord ? 64 : 8;
  const std::int32_t firstByte = low / unit * unit / 8;
  // Seen from the end of the reversed frame, the word lies as far from the other side.
  const std::int32_t offset =
      signal.littleEndian ? firstByte : static_cast<std::int32_t>(kMaxFrameLength) - 8 - firstByte;
  wordOffset_ = static_cast<std::uint8_t>(static_cast<std::int32_t>(CanFrameData::kMargin) + offset);
  shift_ = static_cast<std::uint8_t>(low % unit);
  wide_ = shift_ + length > 64;
}

CanField CanExtraction::emptyField() const {
  switch (form_) {
    case Form::Unsigned:
      return NavField<std::uint64_t>{};
    case Form::Signed:
      return NavField<std::int64_t>{};
    default:
      return NavField<double>{};
  }
}

}  // namespace Kvex::Can
