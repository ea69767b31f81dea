#pragma once

#include <optional>

#include "library/NavField.h"

namespace Kvex::Can {

/// The time line of a recorded bus. Its packets can begin with times relative to something unknown (below one year) and
/// go on with absolute ones, from GPS time zero. The first pass over the data finds out how to join the two.
class CanTimeLine {
 public:
  using Nano = Lib::Nano;

  /// Times below this one, a mean year, are relative.
  static constexpr Nano kFirstAbsolute = 31'556'926 * Lib::kNanosPerSecond;

  /// The points that times are counted from; `Lib::kNoTime` where not known.
  struct Bases {
    Nano origin = Lib::kNoTime;  ///< The whole second of `start`.
    Nano start = Lib::kNoTime;   ///< The first packet, as an absolute time.
    Nano first = Lib::kNoTime;   ///< The first absolute time.
  };

  /// Takes the next packet's time. True when the bases are known: with two absolute times that rise.
  bool probe(Nano t);

  /// The absolute time of a packet, once the bases are known; before, `t` as it is.
  Nano absolute(Nano t) const;

  /// The first packet's time, made absolute; none before any packet.
  std::optional<Nano> firstTime() const;
  const Bases& bases() const { return bases_; }

 private:
  Nano currentTime_ = Lib::kNoTime;
  Nano firstTime_ = Lib::kNoTime;
  Nano lastRelative_ = Lib::kNoTime;  ///< Before any absolute time.
  Nano firstAbsolute_ = Lib::kNoTime;
  Nano relativeOffset_ = 0;  ///< From relative to absolute times.
  Bases bases_;
};

}  // namespace Kvex::Can
