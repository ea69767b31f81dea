#pragma once

#include <cstdint>

namespace Kvex::Lib {

// Arithmetic on times that stays at the end of all range where raw data would drive it beyond.

constexpr std::int64_t saturatingAdd(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (__builtin_add_overflow(a, b, &result)) return b > 0 ? INT64_MAX : INT64_MIN;
  return result;
}
constexpr std::int64_t saturatingSubtract(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (__builtin_sub_overflow(a, b, &result)) return a > b ? INT64_MAX : INT64_MIN;
  return result;
}

}  // namespace Kvex::Lib
