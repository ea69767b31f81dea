#include "store/StreamWalker.h"

#include "library/Wrapping.h"

namespace Kvex::Sto {

namespace {

/// A watcher hears of a walk at the latest after so much.
constexpr unsigned kPacketsPerReport = 1024;
constexpr Nano kTimePerReport = Lib::kNanosPerSecond;

}  // namespace

bool StreamWalker::walkOnePacket() {
  ByteView packet;
  if (!logical_->next(packet)) return false;
  stream_.take(packet, Pass::Walk);
  followTime();
  return true;
}

void StreamWalker::restart() {
  stream_.reset();
  followTime();
  logical_->rewind();
  logical_->resume();
  live_ = true;
}

bool StreamWalker::seekTo(Nano t) {
  if (!canWalk()) return false;
  if (requestedTime_ && *requestedTime_ <= t) {
    logical_->resume();
    return true;
  }
  restart();
  live_ = walkOnePacket();
  requestedTime_ = clock_;
  return true;
}

StreamWalker::Walked StreamWalker::walkTo(Nano t, WalkWatcher& watcher) {
  Nano reported = clock_;
  for (unsigned packets = 0; clock_ < t; ++packets) {
    if (watcher.stopped()) return Walked::Stopped;
    if (packets == kPacketsPerReport || Lib::wrappingSubtract(clock_, reported) >= kTimePerReport) {
      packets = 0;
      reported = clock_;
      watcher.moved(clock_);
    }
    if (!walkOnePacket()) return Walked::Ended;
  }
  return Walked::Reached;
}

bool StreamWalker::skipTo(Nano t, WalkWatcher& watcher) {
  const Walked walked = live_ ? walkTo(t, watcher) : Walked::Stopped;
  if (walked == Walked::Ended) {
    live_ = false;
    logical_->close();
  }
  requestedTime_ = t;
  return walked == Walked::Reached;
}

bool StreamWalker::advanceTo(Nano t, WalkWatcher& watcher) {
  if (!canWalk()) return false;
  const Walked walked = walkTo(t, watcher);
  requestedTime_ = t;
  return walked == Walked::Reached;
}

void StreamWalker::close() {
  if (logical_ != nullptr) logical_->close();
}

}  // namespace Kvex::Sto
