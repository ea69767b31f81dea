#pragma once

#include <cstddef>
#include <kvex/Overview.h>
#include <nlohmann/json.hpp>

namespace Kvex::Tool {

/// The places at which a stream was, at the first and the last position of each slice of an overview that has its
/// latitude and longitude: "latitude" and "longitude" in 1e-8 degrees, which is a millimetre, as differences from the
/// point before, and "slice", which comes twice if there are two points.
nlohmann::ordered_json drawnPath(const Overview& overview, std::size_t latitude, std::size_t longitude);

}  // namespace Kvex::Tool
