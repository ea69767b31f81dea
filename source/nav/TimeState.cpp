#include "nav/TimeState.h"

#include "library/Wrapping.h"

namespace Kvex::Nav {

using Lib::kNanosPerSecond;
using Lib::Nano;
using Lib::wrappingAdd;
using Lib::wrappingMultiply;
using Lib::wrappingSubtract;

namespace {

constexpr Nano kNanosPerMillisecond = 1'000'000;
constexpr Nano kNanosPerMinute = 60 * kNanosPerSecond;
/// A millisecond word that falls below this from above has passed the end of its minute.
constexpr std::int32_t kRolloverMilliseconds = 2000;

/// The whole second at `start`: the one before, in the direction of the data.
Nano wholeSecond(Nano start, Nano period) {
  if (period < 0) start = wrappingAdd(start, kNanosPerSecond - 1);
  return start / kNanosPerSecond * kNanosPerSecond;
}

}  // namespace

void TimeState::countPacket(const TimeReferences& known) {
  if (known.first == kNoTime) untimedIndex = untimedCount++;
  if (known.init == kNoTime) uninitIndex = uninitCount++;
}

std::optional<Nano> TimeState::clockTime(std::int32_t milliseconds) {
  if (minuteCounter >= 0 && lastMilliseconds >= 0) {
    if (milliseconds < kRolloverMilliseconds && lastMilliseconds > kRolloverMilliseconds) {
      // Beyond the last minute that the counter holds it turns negative: the time is unknown again.
      minuteCounter = static_cast<std::int32_t>(static_cast<std::uint32_t>(minuteCounter) + 1U);
    } else if (packetPeriod == kNoTime) {
      packetPeriod = (milliseconds - lastMilliseconds) * kNanosPerMillisecond;
    }
  }
  lastMilliseconds = milliseconds;
  if (minuteCounter < 0) return std::nullopt;
  return wrappingAdd(wrappingMultiply(minuteCounter, kNanosPerMinute), milliseconds * kNanosPerMillisecond);
}

void TimeState::addFirst(TimeReferences& known, Nano packetTime) {
  if (known.first != kNoTime) return;
  known.first = packetTime;
  untimedCount = scanUntimedCount = untimedIndex;
  if (mode != TimeMode::FirstPass) return;
  scan.firstMilliseconds = lastMilliseconds;
  scan.firstMinute = minuteCounter;
}

void TimeState::addStart(TimeReferences& known) const {
  if (known.start != kNoTime || packetPeriod == kNoTime) return;
  known.start = wrappingSubtract(known.first, wrappingMultiply(untimedCount, packetPeriod));
  known.origin = wholeSecond(known.start, packetPeriod);
}

void TimeState::addInit(TimeReferences& known, Nano packetTime, bool initialised) const {
  if (known.init != kNoTime || packetPeriod == kNoTime || !initialised) return;
  known.init = wrappingSubtract(packetTime, wrappingMultiply(uninitCount, packetPeriod));
}

std::optional<Nano> TimeState::backFill() {
  std::optional<Nano> time;
  if (packetPeriod != kNoTime) {
    time = wrappingSubtract(references.first, wrappingMultiply(untimedCount, packetPeriod));
  }
  if (--untimedCount <= 0) {
    minuteCounter = scan.firstMinute;
    lastMilliseconds = scan.firstMilliseconds;
    mode = TimeMode::Filled;
  }
  return time;
}

void TimeState::restart() {
  minuteCounter = lastMilliseconds = -1;
  references = scan.references;
  const bool known = references.first != kNoTime;
  mode = known ? TimeMode::BackFilling : TimeMode::Searching;
  untimedCount = uninitCount = known ? scanUntimedCount : 0;
}

}  // namespace Kvex::Nav
