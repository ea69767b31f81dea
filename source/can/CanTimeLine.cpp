#include "can/CanTimeLine.h"

#include "library/Wrapping.h"

namespace Kvex::Can {
namespace {

using Lib::kNoTime;
using Lib::Nano;

constexpr bool isAbsolute(Nano t) {
  return t >= CanTimeLine::kFirstAbsolute;
}

}  // namespace

bool CanTimeLine::probe(Nano t) {
  const Nano previous = currentTime_;
  currentTime_ = t;
  if (firstTime_ == kNoTime) firstTime_ = t;
  if (firstAbsolute_ == kNoTime) (isAbsolute(t) ? firstAbsolute_ : lastRelative_) = t;
  if (!isAbsolute(previous) || t <= previous) return false;

  if (lastRelative_ != kNoTime) {
    // The first absolute time is taken to have come one period after the last relative one.
    const Nano period = t - previous;
    relativeOffset_ = Lib::wrappingSubtract(Lib::wrappingSubtract(firstAbsolute_, lastRelative_), period);
  }
  bases_.start = absolute(firstTime_);
  bases_.origin = bases_.start / Lib::kNanosPerSecond * Lib::kNanosPerSecond;
  bases_.first = firstAbsolute_;
  return true;
}

Nano CanTimeLine::absolute(Nano t) const {
  return isAbsolute(t) ? t : Lib::wrappingAdd(t, relativeOffset_);
}

std::optional<Nano> CanTimeLine::firstTime() const {
  if (firstTime_ == kNoTime) return std::nullopt;
  return absolute(firstTime_);
}

}  // namespace Kvex::Can
