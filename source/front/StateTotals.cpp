#include <algorithm>
#include <cmath>
#include <cstring>
#include <kvex/Error.h>
#include <kvex/States.h>
#include <limits>
#include <map>
#include <type_traits>

namespace Kvex {

namespace {

constexpr std::size_t kMaxValues = 100'000;

/// Bits that are equal for values that count as the same: zeros of both signs, and all that are not a number.
std::uint64_t keyOf(const Value& value) {
  std::uint64_t key = 0;
  visitType(value.type(), [&]<class T>(std::type_identity<T>) {
    T number = value.get<T>();
    if constexpr (std::is_floating_point_v<T>) {
      if (number == 0) number = 0;
      if (std::isnan(number)) number = std::numeric_limits<T>::quiet_NaN();
    }
    std::memcpy(&key, &number, sizeof number);
  });
  return key;
}

/// As far as 64 bits hold it.
Nano sum(Nano a, Nano b) {
  Nano result = 0;
  return __builtin_add_overflow(a, b, &result) ? INT64_MAX : result;
}

Nano lengthOf(const State& state) {
  Nano length = 0;
  return __builtin_sub_overflow(state.to, state.from, &length) ? INT64_MAX : length;
}

}  // namespace

std::vector<StateTotal> totalsOf(States& states) {
  std::vector<StateTotal> totals;
  std::map<std::pair<ValueType, std::uint64_t>, std::size_t> places;
  double whole = 0;
  for (const State& state : states) {
    const auto [place, isNew] = places.emplace(std::pair(state.value.type(), keyOf(state.value)), totals.size());
    if (isNew) {
      if (totals.size() == kMaxValues) {
        throw Error(ErrorCode::InvalidArgument, "a signal with more than 100000 different values has no totals");
      }
      totals.push_back({.value = state.value});
    }
    StateTotal& total = totals[place->second];
    ++total.times;
    total.time = sum(total.time, lengthOf(state));
    whole += static_cast<double>(lengthOf(state));
  }
  for (StateTotal& total : totals) total.share = whole > 0 ? static_cast<double>(total.time) / whole : 0.0;
  std::ranges::stable_sort(totals, std::greater{}, &StateTotal::time);
  return totals;
}

}  // namespace Kvex
