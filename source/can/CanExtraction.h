#pragma once

#include <cstdint>
#include <cstring>

#include "can/CanFrame.h"
#include "can/CanRecord.h"
#include "can/CanSignal.h"

namespace Kvex::Can {

/// How to read one signal out of a frame, worked out beforehand: which eight bytes to take, how far to shift them, what
/// to keep and how to scale it.
class CanExtraction {
 public:
  explicit CanExtraction(const CanSignal& signal);

  /// A field of the alternative that `read` writes, never written.
  CanField emptyField() const;

  /// The signal's bits, the sign not extended.
  std::uint64_t bits(const CanFrameData& frame) const {
    const std::uint8_t* const word = frame.bytes() + wordOffset_;
    std::uint64_t bits;
    std::memcpy(&bits, word, sizeof bits);
    if (!littleEndian_) bits = __builtin_bswap64(bits);
    bits >>= shift_;
    // The signal's upper end lies in a ninth byte.
    if (wide_) [[unlikely]]
      bits |= std::uint64_t{word[littleEndian_ ? 8 : -1]} << (64 - shift_);
    return bits & mask_;
  }

  /// The signal's bits, with the sign extended.
  std::uint64_t raw(const CanFrameData& frame) const {
    // Flipping the sign bit and taking it off again fills the upper bits of a negative value with ones.
    return (bits(frame) ^ signBit_) - signBit_;
  }

  /// Reads and scales the signal. `field` holds the alternative of `emptyField`. Integers wrap.
  void read(const CanFrameData& frame, Nano time, CanField& field) const {
    const std::uint64_t bits = raw(frame);
    switch (form_) {
      case Form::DoubleOfSigned:
        write(field, time, static_cast<double>(static_cast<std::int64_t>(bits)) * scale_ + base_);
        break;
      case Form::DoubleOfUnsigned:
        write(field, time, static_cast<double>(bits) * scale_ + base_);
        break;
      case Form::Unsigned:
        write(field, time, bits * factor_ + offset_);
        break;
      case Form::Signed:
        write(field, time, static_cast<std::int64_t>(bits * factor_ + offset_));
        break;
    }
  }

 private:
  enum class Form : std::uint8_t { DoubleOfSigned, DoubleOfUnsigned, Unsigned, Signed };

  template <class T>
  static void write(CanField& field, Nano time, T value) {
    std::get_if<NavField<T>>(&field)->write(value, time);
  }

  std::uint64_t mask_ = 0;
  std::uint64_t signBit_ = 0;
  std::uint64_t factor_ = 0;
  std::uint64_t offset_ = 0;
  double scale_ = 0.0;
  double base_ = 0.0;
  std::uint8_t wordOffset_ = CanFrameData::kMargin;
  std::uint8_t shift_ = 0;
  bool littleEndian_ = true;
  bool wide_ = false;
  Form form_;
};

}  // namespace Kvex::Can
