#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "library/NavField.h"

namespace Kvex::Sto {

/// Whether a value is a number that can be compared.
template <class T>
bool isNumber(T value) {
  if constexpr (std::is_floating_point_v<T>) return value == value;  // what is not a number does not equal itself
  return true;
}

/// Whether two values count as the same: what is not a number equals what is not a number.
template <class T>
bool same(T a, T b) {
  return a == b || (!isNumber(a) && !isNumber(b));
}

/// What the usable samples of a scalar or element come to: first and last, smallest and largest, and how often they
/// changed.
struct SampleTally {
  /// A value as its bytes, with its stamp.
  struct Stamped {
    std::uint64_t bits = 0;
    Nano stamp = 0;
  };

  bool hasAny = false;
  bool hasNumber = false;  ///< Without, there is no smallest and no largest.
  Stamped first;
  Stamped last;
  Stamped smallest;
  Stamped largest;
  std::uint64_t changes = 0;

  /// Adds a usable sample.
  template <class T>
  void add(Stamped sample) {
    const T value = valueOf<T>(sample.bits);
    if (hasAny) {
      changes += same(valueOf<T>(last.bits), value) ? 0 : 1;
    } else {
      hasAny = true;
      first = sample;
    }
    last = sample;
    if (!isNumber(value)) return;
    if (!hasNumber || value < valueOf<T>(smallest.bits)) smallest = sample;
    if (!hasNumber || value > valueOf<T>(largest.bits)) largest = sample;
    hasNumber = true;
  }

  template <class T>
  static T valueOf(std::uint64_t bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
};

}  // namespace Kvex::Sto
