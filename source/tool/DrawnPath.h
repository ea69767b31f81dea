#pragma once

#include <kvex/Overview.h>
#include <kvex/Track.h>
#include <nlohmann/json.hpp>
#include <vector>

#include "tool/DrawnSignal.h"

namespace Kvex::Tool {

/// Adds the signals that tell where a track was to those that are there.
void addPlaceSignals(const TrackSignals& track, std::vector<Signal>& signals);

/// A track as a page draws it, of an overview that has its place signals: "stream" and "object"; its places at the
/// first and the last position of each slice, as "latitude" and "longitude" in 1e-8 degrees, which is a millimetre, as
/// differences from the place before, and "slice", which comes twice if there are two places; and "breaks" as in
/// `drawnSignal`.
nlohmann::ordered_json drawnPath(const TrackSignals& track, const Overview& overview,
                                 const std::vector<StreamGap>& gaps);

}  // namespace Kvex::Tool
