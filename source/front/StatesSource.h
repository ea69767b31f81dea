#pragma once

#include <kvex/States.h>
#include <memory>

#include "front/NativeWalk.h"
#include "front/Reading.h"
#include "front/StateFollower.h"

namespace Kvex {

/// Where `States` have their states from.
class States::Source {
 public:
  /// `signal`: a scalar or an element that can be read.
  Source(std::shared_ptr<Front::OpenedFile> file, const Signal& signal, const ReadOptions& options,
         Front::StateGaps gaps);

  bool next(State& state);

 private:
  Front::Reading reading_;
  Front::NativeWalk walk_;
  Front::StateFollower follower_;
  bool ended_ = false;
};

}  // namespace Kvex
