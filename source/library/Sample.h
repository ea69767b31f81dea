#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "library/NavField.h"
#include "library/ValueType.h"

namespace Kvex::Lib {

/// The typed record in which a value leaves a Stream or the store.
struct Sample {
  Nano time = 0;                             ///< Stamp of the value.
  std::uint8_t flags = Flag::kNeverWritten;  ///< State of the value, bits of `Flag`.
  std::uint64_t value = 0;           ///< The value's bytes in the representation of `type`, from the first byte.
  std::uint32_t source = 0;          ///< The `source` word of the row that gave the value.
  ValueType type = ValueType::None;  ///< The type of `value`.

  bool usable() const { return Lib::usable(flags); }

  /// Assigns a value. A change of type clears `source`.
  template <class T>
  void set(T newValue) {
    if (type != kValueTypeOf<T>) source = 0;
    type = kValueTypeOf<T>;
    value = 0;
    std::memcpy(&value, &newValue, sizeof newValue);
  }

  /// Takes value, flags and stamp of a field.
  template <class T>
  void set(const NavField<T>& field) {
    set(field.value);
    flags = field.flags;
    time = field.stamp;
  }

  /// The value's bytes as they stand, taken as a `T` whatever `type` says.
  template <class T>
  T as() const {
    T result;
    std::memcpy(&result, &value, sizeof result);
    return result;
  }

  /// The value as a signed integer, by its type: integers widen by their own sign, floating values are cut toward
  /// zero. A value that no integer holds, and a sample without a type, reads as 0.
  std::int64_t asInteger() const {
    std::int64_t result = 0;
    withType(type, [&](auto tag) {
      using T = typename decltype(tag)::Type;
      if constexpr (std::is_floating_point_v<T>) {
        const double number = as<T>();
        // 2^63 is exact as a double; a NaN fails both comparisons.
        if (number >= -0x1p63 && number < 0x1p63) result = static_cast<std::int64_t>(number);
      } else {
        result = static_cast<std::int64_t>(as<T>());
      }
    });
    return result;
  }
};

static_assert(sizeof(Sample) == 32);

}  // namespace Kvex::Lib
