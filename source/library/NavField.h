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

inline constexpr Nano kNanosPerWeek = 604'800 * kNanosPerSecond;

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

  /// Gives value and stamp anew, even if both are equal to the old ones.
  void write(T newValue, Nano newStamp, std::uint8_t newFlags = 0) {
    stamp = newStamp;
    flags = newFlags;
    written = true;
    value = newValue;
  }

  /// No value yet: what a field holds at the start of a walk.
  void reset() { *this = {.stamp = 0, .flags = Flag::kReset, .value = T{}}; }
};

}  // namespace Kvex::Lib
