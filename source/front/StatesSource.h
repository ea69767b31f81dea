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
  template <class T>
  std::optional<State> take(Nano time, const Lib::NavField<T>& field);
  /// Cuts a state to the span. False if nothing is left of it.
  bool cut(State& state) const;

  Front::Reading reading_;
  Front::NativeWalk walk_;
  Span span_;
  Nano streamEnd_;
  std::optional<State> current_;
  bool ended_ = false;
};

}  // namespace Kvex
