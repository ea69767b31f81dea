#pragma once

#include <cstdint>
#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <kvex/Value.h>
#include <optional>

namespace Kvex {

/// What all samples of a scalar signal or of one element say. Later versions may add members at the end.
struct Statistics {
  Signal signal;
  std::uint64_t samples = 0;
  std::uint64_t usable = 0;  ///< Samples with a usable value.
  Nano firstTime = kNoTime;  ///< The time of the first and of the last sample, usable or not.
  Nano lastTime = kNoTime;
  std::optional<double> rate;  ///< Samples per second between these two; none below two samples.
  Value first;  ///< The first and the last usable value with their stamps; without type if there is none.
  Value last;
  Value smallest;  ///< Of the usable values that are numbers, with the stamp of the first that is as small or large.
  Value largest;
  std::uint64_t changes = 0;  ///< How often a usable value differed from the usable one before.
};

}  // namespace Kvex
