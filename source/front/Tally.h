#pragma once

#include <kvex/Value.h>
#include <type_traits>

namespace Kvex::Front {

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

}  // namespace Kvex::Front
