#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <memory>

namespace Kvex {

/// An interval during which a signal held a value: from the sample that brought it to the sample that brought another
/// one or took it away, at last to the end of the span.
struct State {
  Value value;
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

}  // namespace Kvex
