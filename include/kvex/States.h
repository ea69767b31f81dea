#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <memory>
#include <vector>

namespace Kvex {

/// An interval during which a signal held a value: from the sample that brought it to the sample that brought another
/// one or took it away, at last to the end of the span.
struct State {
  Value value;  ///< Without type in a timeline's intervals without a usable value.
  Nano from = kNoTime;
  Nano to = kNoTime;
  std::uint64_t samples = 0;  ///< Samples that brought the value, the first one counted in.
};

/// The states of a signal, one after the other. As for every reading, a later one of the same file takes its place.
/// Thread safety: one thread at a time, the same as its `File`.
class States {
 public:
  States(States&&) noexcept;
  States& operator=(States&&) noexcept;
  ~States();

  /// Reads the next state. False at the end of the data. Throws `Cancelled` and `Superseded`.
  bool next();
  /// The state that `next` has read.
  const State& state() const;

  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = State;
    using difference_type = std::ptrdiff_t;
    using pointer = const State*;
    using reference = const State&;

    explicit Iterator(States* states = nullptr) : states_(states) { ++*this; }
    reference operator*() const { return states_->state(); }
    pointer operator->() const { return &states_->state(); }
    Iterator& operator++() {
      if (states_ != nullptr && !states_->next()) states_ = nullptr;
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(const Iterator&) const = default;

   private:
    States* states_;
  };

  /// The states that are still to come.
  Iterator begin() { return Iterator(this); }
  Iterator end() { return Iterator(); }

 private:
  friend class File;
  class Source;

  explicit States(std::unique_ptr<Source> source);

  std::unique_ptr<Source> source_;
  State state_;
};

/// What the states of a signal with one value come to.
struct StateTotal {
  Value value;              ///< Of the first of them; without type for the time without a usable value.
  std::uint64_t times = 0;  ///< How often the signal took it on; a state that began before the span counts too.
  Nano time = 0;            ///< How long it was held in all, in nanoseconds.
  double share = 0.0;       ///< Of the time of all these states together, 0 to 1; 0 where that is none.
};

/// Sums up the states that are still to come, by value, the one held longest first. Throws what `States::next` throws,
/// and `InvalidArgument` for more than 100,000 different values.
std::vector<StateTotal> totalsOf(States& states);

}  // namespace Kvex
