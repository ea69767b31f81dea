#include <array>
#include <charconv>
#include <kvex/Error.h>
#include <kvex/Value.h>
#include <limits>
#include <type_traits>

#include "front/Samples.h"

namespace Kvex {

double Value::asDouble() const {
  double result = std::numeric_limits<double>::quiet_NaN();
  Lib::withType(type_, [&](auto tag) { result = static_cast<double>(get<typename decltype(tag)::Type>()); });
  return result;
}

std::int64_t Value::asInteger() const {
  return Front::sampleOf(*this).asInteger();
}

std::string Value::text() const {
  std::string result;
  Lib::withType(type_, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    if constexpr (std::is_same_v<T, bool>) {
      result = get<bool>() ? "true" : "false";
    } else {
      std::array<char, 32> room;
      const auto end = std::to_chars(room.data(), room.data() + room.size(), get<T>()).ptr;
      result.assign(room.data(), end);
    }
  });
  return result;
}

void Value::failType(ValueType asked) const {
  throw Error(ErrorCode::InvalidArgument,
              "a value of type " + std::string(nameOf(type_)) + " cannot be taken as " + std::string(nameOf(asked)));
}

}  // namespace Kvex
