#pragma once

#include <kvex/Writing.h>
#include <map>
#include <vector>

#include "front/OpenedFile.h"
#include "front/RecordingSource.h"

namespace Kvex::Front {

/// The span that is cut, and how far ahead of it streams begin at the most.
struct CutSpan {
  Nano start = INT64_MIN;
  Nano end = INT64_MAX;
  std::optional<Nano> lead;  ///< None: as much as is needed, up to `kMostLead`.

  static constexpr Nano kMostLead = 60 * kNanosPerSecond;
};

/// The packets of one stream that go into a cut.
struct StreamPlan {
  std::uint32_t id = 0;
  std::uint32_t serial = 0;
  Sto::PacketRange range;
  bool losesKinds = false;  ///< Some kind of packet came only ahead of the lead.
  std::uint64_t ahead = 0;  ///< Packets of the range ahead of the one that reaches the start.
  std::uint64_t times = 0;  ///< A sum over the times of the packets behind those.
};

/// Finds the packets of a stream that a cut needs: a walk over the stream that decodes nothing but its time.
StreamPlan planStream(OpenedFile& file, const Stream& stream, const CutSpan& span, WriteWatch& watch);

/// A sum over the times of the packets of a stream behind the first `ahead` ones, to compare with `StreamPlan::times`.
std::uint64_t timesBehind(OpenedFile& file, const Stream& stream, std::uint64_t ahead, WriteWatch& watch);

}  // namespace Kvex::Front
