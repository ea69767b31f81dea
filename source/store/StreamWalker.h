#pragma once

#include <cstdint>
#include <optional>

#include "store/Logical.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// Hears how a long walk goes on, and can stop it.
class WalkWatcher {
 public:
  virtual ~WalkWatcher() = default;
  /// Called before each packet. True ends the walk.
  virtual bool stopped() const = 0;
  /// Called with the Stream's clock at the latest after one second of stream time or 1,024 packets.
  virtual void moved(Nano clock) = 0;
};

/// Walks one Stream forward through its logical stream. The walker has the Stream's clock: the newest usable time. A
/// walk looks at its watcher with each packet.
class StreamWalker {
 public:
  /// `logical` may be null, where a file holds no packet of the Stream: such a Stream does not walk.
  StreamWalker(Stream& stream, Logical* logical) : stream_(stream), logical_(logical) {}

  /// Whether there is anything to walk.
  bool canWalk() const { return stream_.hasTime() && logical_ != nullptr; }
  Nano clock() const { return clock_; }

  /// Puts the Stream at a place from which a forward walk to `t` can run. False if it cannot walk.
  bool seekTo(Nano t);
  /// The walk of a seek: forward until the clock has reached the time. False when the data ends first or the watcher
  /// stops it; at the end of the data it closes the file.
  bool skipTo(Nano t, WalkWatcher& watcher);
  /// The walk of a read. False if it cannot walk, when the data ends first, or when the watcher stops it.
  bool advanceTo(Nano t, WalkWatcher& watcher);

  /// Back to the state of a new walk, ahead of the first packet.
  void restart();
  /// The next packet, valid until the next call; false at the end of the data.
  bool nextPacket(ByteView& packet) { return logical_->next(packet); }
  /// Takes the Stream's time over after packets were fed to it: the clock moves only on usable time.
  void followTime() {
    const Lib::NavField<Nano>& newest = stream_.newestTime();
    if (newest.usable()) clock_ = newest.value;
  }
  /// The walk stands where no seek has put it: the next seek begins anew.
  void forgetPlace() { requestedTime_.reset(); }

  void close();

 private:
  enum class Walked : std::uint8_t { Reached, Ended, Stopped };

  bool walkOnePacket();
  Walked walkTo(Nano t, WalkWatcher& watcher);

  Stream& stream_;
  Logical* logical_;
  Nano clock_ = 0;
  std::optional<Nano> requestedTime_;  ///< Up to where the Stream was last brought; none: the next seek begins anew.
  bool live_ = true;                   ///< The logical stream still has data in the current walk.
};

}  // namespace Kvex::Sto
