#pragma once

#include <kvex/States.h>
#include <kvex/Time.h>
#include <optional>

#include "front/NativeWalk.h"

namespace Kvex::Front {

/// What becomes of the time between states.
enum class StateGaps : std::uint8_t { Left, Filled };

/// Follows one scalar or element through the blocks of a walk and gives its states.
class StateFollower {
 public:
  /// `asked`: its place among the signals of the walk. `options`: the span of the states that are given; a state that
  /// began before it is found only by a walk from the start of the data.
  StateFollower(const NativeWalk& walk, std::size_t asked, const Signal& signal, const Stream& stream,
                const ReadOptions& options, StateGaps gaps);

  /// The walk has come to its next block.
  void beginBlock() { steps_ = walk_.stepsOf(element_); }
  /// The walk has come to its end.
  void end() { ended_ = true; }
  /// The next state that has ended by now; none until the walk goes on.
  std::optional<State> next();

 private:
  /// The next state that lies in the span, cut to it.
  std::optional<State> nextInside();
  std::optional<State> nextWhole();
  /// Takes a sample in. Gives the state that it ended.
  std::optional<State> take(std::size_t step);
  /// Cuts a state to the span. False if nothing is left of it.
  bool cut(State& state) const;

  const NativeWalk& walk_;
  ValueType type_;
  std::size_t element_;
  std::uint64_t steps_ = 0;  ///< Those of the block that are still to be taken.
  Span span_;
  Nano streamEnd_;
  StateGaps gaps_;
  Nano reached_;                  ///< To here the states given have come.
  Nano gapsEnd_;                  ///< The last gap ends here.
  std::optional<State> waiting_;  ///< Stands behind the gap given last.
  std::optional<State> current_;
  bool ended_ = false;
};

/// The options of a walk for states: they ask for the whole stream.
ReadOptions wholeStream(ReadOptions options);

}  // namespace Kvex::Front
