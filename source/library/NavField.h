#pragma once

#include <cstdint>
#include <kvex/Flags.h>
#include <kvex/Time.h>

namespace Kvex::Lib {

namespace Flag = Kvex::Flag;
using Kvex::kNanosPerSecond;
using Kvex::kNoTime;
using Kvex::Nano;
using Kvex::usable;

inline constexpr Nano kNanosPerMillisecond = 1'000'000;
inline constexpr Nano kNanosPerWeek = 604'800 * kNanosPerSecond;

/// Whether a field with these flags holds a value of now, perhaps one at an end of its range.
constexpr bool hasValue(std::uint8_t flags) {
  return flags < Flag::kNoValue;
}

/// The flags of a value whose sense is reversed: what was the low end of the range is the high end.
constexpr std::uint8_t withEndsSwapped(std::uint8_t flags) {
  const int low = (flags & Flag::kHigh) != 0 ? Flag::kLow : 0;
  const int high = (flags & Flag::kLow) != 0 ? Flag::kHigh : 0;
  return static_cast<std::uint8_t>((flags & ~(Flag::kLow | Flag::kHigh)) | low | high);
}

/// One decoded value with its state: how every decoder holds every signal.
template <class T>
struct NavField {
  Nano stamp = 0;                            ///< Time of the packet that last wrote the field.
  std::uint8_t flags = Flag::kNeverWritten;  ///< Bits of `Flag`.
  /// Set with each write and never cleared by a decoder: who reads native samples takes it back after each packet. A
  /// mark on the flags is no write, and what a reset lays in is none either.
  bool written = false;
  std::int64_t stamp2 = 0;  ///< Second time word, copied along with the stamp; 0 in all protocols.
  T value{};

  bool usable() const { return Lib::usable(flags); }
  bool hasValue() const { return Lib::hasValue(flags); }

  /// Gives value and stamp anew, even if both are equal to the old ones.
  void write(T newValue, Nano newStamp, std::uint8_t newFlags = 0) {
    stamp = newStamp;
    flags = newFlags;
    written = true;
    value = newValue;
  }

  /// Takes over another field whole, which is a write of this one.
  void copy(const NavField& other) {
    *this = other;
    written = true;
  }

  /// The same, with `newValue`, which has the opposite sense of the other's value.
  void copyReversed(const NavField& other, T newValue) {
    copy(other);
    flags = withEndsSwapped(other.flags);
    value = newValue;
  }

  /// No value yet: what a field holds at the start of a walk.
  void reset() { *this = {.stamp = 0, .flags = Flag::kReset, .value = T{}}; }
};

template <class... T>
bool allUsable(const NavField<T>&... fields) {
  return (fields.usable() && ...);
}

}  // namespace Kvex::Lib
