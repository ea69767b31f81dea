#pragma once

#include <cstdint>
#include <cstring>
#include <kvex/Flags.h>
#include <kvex/Time.h>
#include <kvex/ValueType.h>
#include <string>

namespace Kvex {

/// One value of a signal, with its state and the time of the record that brought it.
/// Thread safety: a value.
class Value final {
 public:
  /// No value: type `None`, and not usable.
  Value() = default;
  template <class T>
  explicit Value(T value, Nano stamp = kNoTime, std::uint8_t flags = 0)
      : stamp_(stamp), type_(kValueTypeOf<T>), flags_(flags) {
    std::memcpy(&bits_, &value, sizeof value);
  }

  ValueType type() const { return type_; }
  /// Bits of `Flag`.
  std::uint8_t flags() const { return flags_; }
  bool usable() const { return Kvex::usable(flags_); }
  /// The time of the record that brought the value. With flag `kUntimed` it is no real time.
  Nano stamp() const { return stamp_; }

  /// The value, also where it is not usable. Throws `InvalidArgument` where `T` is not its type.
  template <class T>
  T get() const {
    if (type_ != kValueTypeOf<T>) failType(kValueTypeOf<T>);
    T value;
    std::memcpy(&value, &bits_, sizeof value);
    return value;
  }
  /// The value as a double, whatever its type; integers beyond 53 bits are rounded. Not a number without a type.
  double asDouble() const;
  /// The value as a signed integer: fractions are cut, and what no integer holds reads as 0.
  std::int64_t asInteger() const;
  /// The value in the fewest digits that read back as the same value; "true" and "false"; empty without a type.
  std::string text() const;

  bool operator==(const Value&) const = default;

 private:
  [[noreturn]] void failType(ValueType asked) const;

  std::uint64_t bits_ = 0;
  Nano stamp_ = kNoTime;
  ValueType type_ = ValueType::None;
  std::uint8_t flags_ = Flag::kNeverWritten;
};

}  // namespace Kvex
