#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Kvex {

/// The code of a value's type. The numbers are those of the file formats and never change.
enum class ValueType : std::uint8_t {
  None = 0,
  Bool = 1,
  Char = 2,
  Float = 3,
  Double = 4,
  UInt8 = 5,
  UInt16 = 6,
  UInt32 = 7,
  UInt64 = 8,
  Int8 = 9,
  Int16 = 10,
  Int32 = 11,
  Int64 = 12,
  Unknown = 13,
};

/// "double", "uint8_t": the name of a type as C++ has it.
std::string_view nameOf(ValueType type);

namespace Detail {

template <class T>
struct CodeOf;
// clang-format off
template <> struct CodeOf<bool> : std::integral_constant<ValueType, ValueType::Bool> {};
template <> struct CodeOf<float> : std::integral_constant<ValueType, ValueType::Float> {};
template <> struct CodeOf<double> : std::integral_constant<ValueType, ValueType::Double> {};
template <> struct CodeOf<std::uint8_t> : std::integral_constant<ValueType, ValueType::UInt8> {};
template <> struct CodeOf<std::uint16_t> : std::integral_constant<ValueType, ValueType::UInt16> {};
template <> struct CodeOf<std::uint32_t> : std::integral_constant<ValueType, ValueType::UInt32> {};
template <> struct CodeOf<std::uint64_t> : std::integral_constant<ValueType, ValueType::UInt64> {};
template <> struct CodeOf<std::int8_t> : std::integral_constant<ValueType, ValueType::Int8> {};
template <> struct CodeOf<std::int16_t> : std::integral_constant<ValueType, ValueType::Int16> {};
template <> struct CodeOf<std::int32_t> : std::integral_constant<ValueType, ValueType::Int32> {};
template <> struct CodeOf<std::int64_t> : std::integral_constant<ValueType, ValueType::Int64> {};
// clang-format on

}  // namespace Detail

/// The code of a C++ type. Only the eleven types that a signal's value can have are allowed: float, double, bool and
/// the integers of 8 to 64 bits.
template <class T>
inline constexpr ValueType kValueTypeOf = Detail::CodeOf<T>::value;

/// Calls `visitor(std::type_identity<T>())` for the C++ type `T` of a code. False, without a call, for a code that no
/// value has.
template <class Visitor>
constexpr bool visitType(ValueType type, Visitor&& visitor) {
  const auto visited = [&]<class... Ts>(std::type_identity<Ts>... types) {
    return ((type == kValueTypeOf<Ts> && (visitor(types), true)) || ...);
  };
  return visited(std::type_identity<bool>(), std::type_identity<float>(), std::type_identity<double>(),
                 std::type_identity<std::uint8_t>(), std::type_identity<std::uint16_t>(),
                 std::type_identity<std::uint32_t>(), std::type_identity<std::uint64_t>(),
                 std::type_identity<std::int8_t>(), std::type_identity<std::int16_t>(),
                 std::type_identity<std::int32_t>(), std::type_identity<std::int64_t>());
}

}  // namespace Kvex
