#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <kvex/ValueType.h>
#include <tuple>

namespace Kvex::Lib {

using Kvex::kValueTypeOf;
using Kvex::ValueType;

template <class... Ts>
struct TypeList {};

/// The eleven types that a signal's value can have, in run order: the order in which tables are listed, names are
/// searched and columns are kept. This is the one list of them.
using SignalTypes = TypeList<float, double, bool, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t,
                             std::uint16_t, std::uint32_t, std::uint64_t>;

/// Stands for a type as an argument of a visitor: `[](auto tag) { using T = typename decltype(tag)::Type; }`.
template <class T>
struct TypeTag {
  using Type = T;
};

namespace Detail {

template <template <class> class Box, class List>
struct TupleOf;
template <template <class> class Box, class... Ts>
struct TupleOf<Box, TypeList<Ts...>> {
  using Type = std::tuple<Box<Ts>...>;
};

template <class List>
struct CountOf;
template <class... Ts>
struct CountOf<TypeList<Ts...>> : std::integral_constant<std::size_t, sizeof...(Ts)> {};

}  // namespace Detail

inline constexpr std::size_t kSignalTypeCount = Detail::CountOf<SignalTypes>::value;

/// One `Box<T>` for each of the eleven types.
template <template <class> class Box>
class PerType {
 public:
  template <class T>
  Box<T>& of() {
    return std::get<Box<T>>(boxes_);
  }
  template <class T>
  const Box<T>& of() const {
    return std::get<Box<T>>(boxes_);
  }

 private:
  typename Detail::TupleOf<Box, SignalTypes>::Type boxes_;
};

/// Calls `visitor(TypeTag<T>)` for the eleven types in run order until one call gives true; gives whether one did.
template <class Visitor, class... Ts>
constexpr bool anyType(Visitor&& visitor, TypeList<Ts...>) {
  return (visitor(TypeTag<Ts>{}) || ...);
}
template <class Visitor>
constexpr bool anyType(Visitor&& visitor) {
  return anyType(visitor, SignalTypes{});
}

/// Calls `visitor(TypeTag<T>)` for each of the eleven types in run order.
template <class Visitor>
constexpr void forEachType(Visitor&& visitor) {
  anyType([&](auto tag) {
    visitor(tag);
    return false;
  });
}

/// Calls `visitor(TypeTag<T>)` for the type of this code. Gives false, with no call, for a code that no signal has.
template <class Visitor>
constexpr bool withType(ValueType code, Visitor&& visitor) {
  return anyType([&](auto tag) {
    if (kValueTypeOf<typename decltype(tag)::Type> != code) return false;
    visitor(tag);
    return true;
  });
}

/// One value or an array of values: with the value type, what a table's maps are keyed by.
enum class Shape : std::uint8_t { Scalar = 0, Array = 1 };

/// One value type and shape. Names are searched run by run.
struct Run {
  ValueType type;
  Shape shape;
  bool operator==(const Run&) const = default;
};

/// The 22 runs in search order: all scalar runs in type order, then all array runs.
inline constexpr std::array<Run, 2 * kSignalTypeCount> kAllRuns = [] {
  std::array<Run, 2 * kSignalTypeCount> runs{};
  std::size_t next = 0;
  for (Shape shape : {Shape::Scalar, Shape::Array}) {
    forEachType([&](auto tag) { runs[next++] = {kValueTypeOf<typename decltype(tag)::Type>, shape}; });
  }
  return runs;
}();

/// The place of a run in `kAllRuns`; the number of runs for a type that no signal has.
constexpr std::size_t runIndex(Run run) {
  std::size_t index = 0;
  while (index < kAllRuns.size() && kAllRuns[index] != run) ++index;
  return index;
}

}  // namespace Kvex::Lib
