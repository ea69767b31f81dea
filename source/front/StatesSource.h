#pragma once

#include <kvex/States.h>
#include <memory>
#include <optional>

#include "front/NativeWalk.h"
#include "front/Reading.h"

namespace Kvex {

/// Where `States` have their states from.
class States::Source {
 public:
  /// What becomes of the time between the states.
  enum class Gaps : std::uint8_t { Left, Filled };

  /// `signal`: a scalar or an element that can be read.
  Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options, Gaps gaps);

  bool next(State& state);

 private:
  /// The next state that lies in the span, cut to it; none at the end of the data.
  std::optional<State> readInside();
  /// Walks on until a state has ended; none at the end of the data.
  std::optional<State> readState();
  /// Takes a sample in. Gives the state that it ended.
  std::optional<State> take(std::size_t step);
  /// Cuts a state to the span. False if nothing is left of it.
  bool cut(State& state) const;

  Front::Reading reading_;
  Front::NativeWalk walk_;
  ValueType type_;
  std::size_t element_;
  std::uint64_t steps_ = 0;  ///< Those of the block that are still to be taken.
  Span span_;
  Nano streamEnd_;
  Gaps gaps_;
  Nano reached_;                  ///< To here the states given have come.
  Nano gapsEnd_;                  ///< The last gap ends here.
  std::optional<State> waiting_;  ///< Stands behind the gap given last.
  std::optional<State> current_;
  bool ended_ = false;
};

}  // namespace Kvex
