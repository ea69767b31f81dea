#include "front/StateTotals.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <kvex/Error.h>
#include <limits>
#include <map>
#include <type_traits>

#include "front/StateFollower.h"

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

/// Adds up the states of one signal by value.
class TotalsSum {
 public:
  /// `values`: the number of different values of all signals together.
  explicit TotalsSum(std::size_t& values) : values_(values) {}

  void add(const State& state) {
    const auto [place, isNew] = places_.emplace(std::pair(state.value.type(), keyOf(state.value)), totals_.size());
    if (isNew) {
      if (values_ == kMaxValues) {
        throw Error(ErrorCode::InvalidArgument, "signals with more than 100000 different values have no totals");
      }
      ++values_;
      totals_.push_back({.value = state.value});
    }
    StateTotal& total = totals_[place->second];
    ++total.times;
    total.time = sum(total.time, lengthOf(state));
    whole_ += static_cast<double>(lengthOf(state));
  }

  /// The one held longest first.
  std::vector<StateTotal> settle() {
    for (StateTotal& total : totals_) total.share = whole_ > 0 ? static_cast<double>(total.time) / whole_ : 0.0;
    std::ranges::stable_sort(totals_, std::greater{}, &StateTotal::time);
    return std::move(totals_);
  }

 private:
  std::size_t& values_;
  std::vector<StateTotal> totals_;
  std::map<std::pair<ValueType, std::uint64_t>, std::size_t> places_;
  double whole_ = 0;
};

}  // namespace

std::vector<StateTotal> totalsOf(States& states) {
  std::size_t values = 0;
  TotalsSum sum(values);
  for (const State& state : states) sum.add(state);
  return sum.settle();
}

namespace Front {

std::vector<std::vector<StateTotal>> readStateTotals(Reading& reading, const std::vector<Signal>& elements,
                                                     const ReadOptions& options) {
  std::vector<std::vector<StateTotal>> totals(elements.size());
  std::size_t values = 0;
  for (const StreamPart& part : partsByStream(elements)) {
    NativeWalk walk(reading, part.signals, NativeWalk::Detail::FlagsAndStamp);
    const Stream& stream = reading.file().streams[part.stream];
    std::vector<StateFollower> followers;
    for (std::size_t asked = 0; asked < part.signals.size(); ++asked) {
      followers.emplace_back(walk, asked, part.signals[asked], stream, options, StateGaps::Filled);
    }
    std::vector<TotalsSum> sums(followers.size(), TotalsSum(values));
    const auto addAll = [&](auto&& goOn) {
      for (std::size_t asked = 0; asked < followers.size(); ++asked) {
        goOn(followers[asked]);
        while (const std::optional<State> state = followers[asked].next()) sums[asked].add(*state);
      }
    };
    while (walk.nextBlock()) addAll([](StateFollower& follower) { follower.beginBlock(); });
    addAll([](StateFollower& follower) { follower.end(); });
    for (std::size_t asked = 0; asked < sums.size(); ++asked) totals[part.places[asked]] = sums[asked].settle();
  }
  return totals;
}

}  // namespace Front

}  // namespace Kvex
