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
  /// `signal`: a scalar or an element that can be read.
  Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options);

  bool next(State& state);

 private:
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
  std::optional<State> current_;
  bool ended_ = false;
};

}  // namespace Kvex
