#include "nav/TimeState.h"

#include "library/Wrapping.h"

namespace Kvex::Nav {

using Lib::kNanosPerSecond;
using Lib::Nano;
using Lib::wrappingAdd;
using Lib::wrappingMultiply;
using Lib::wrappingSubtract;

namespace {

/// The whole second at `start`: the one before, in the direction of the data.
Nano wholeSecond(Nano start, Nano period) {
  if (period < 0) start = wrappingAdd(start, kNanosPerSecond - 1);
  return start / kNanosPerSecond * kNanosPerSecond;
}

}  // namespace

void TimeState::countPacket(const NavTimeReferences& known) {
  if (!known.known()) untimedIndex = untimedCount++;
  if (known.init == kNoTime) uninitIndex = uninitCount++;
}

std::optional<Nano> TimeState::advance(std::uint16_t milliseconds) {
  const bool isRunning = clock.minute >= 0 && clock.milliseconds >= 0;
  if (isRunning && packetPeriod == kNoTime && milliseconds != UnitClock::kNoMilliseconds &&
      !clock.passesMinute(milliseconds)) {
    packetPeriod = (milliseconds - clock.milliseconds) * Lib::kNanosPerMillisecond;
  }
  return clock.advance(milliseconds);
}

void TimeState::addFirst(NavTimeReferences& known, Nano packetTime) {
  if (known.known()) return;
  known.first = packetTime;
  untimedCount = scanUntimedCount = untimedIndex;
  if (mode == TimeMode::FirstPass) scan.firstClock = clock;
}

void TimeState::addStart(NavTimeReferences& known) const {
  if (known.start != kNoTime || packetPeriod == kNoTime) return;
  known.start = wrappingSubtract(known.first, wrappingMultiply(untimedCount, packetPeriod));
  known.origin = wholeSecond(known.start, packetPeriod);
}

void TimeState::addInit(NavTimeReferences& known, Nano packetTime, bool initialised) const {
  if (known.init != kNoTime || packetPeriod == kNoTime || !initialised) return;
  known.init = wrappingSubtract(packetTime, wrappingMultiply(uninitCount, packetPeriod));
}

std::optional<Nano> TimeState::backFill() {
  std::optional<Nano> time;
  if (packetPeriod != kNoTime) {
    time = wrappingSubtract(references.first, wrappingMultiply(untimedCount, packetPeriod));
  }
  if (--untimedCount <= 0) {
    clock = scan.firstClock;
    mode = TimeMode::Filled;
  }
  return time;
}

void TimeState::restart() {
  clock = {};
  references = scan.references;
  const bool known = references.known();
  mode = known ? TimeMode::BackFilling : TimeMode::Searching;
  untimedCount = uninitCount = known ? scanUntimedCount : 0;
}

}  // namespace Kvex::Nav
