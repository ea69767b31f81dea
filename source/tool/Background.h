#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Kvex::Tool {

/// What a person gives to be drawn under a path: {"geojson": …}, or {"image": a data address, "corners": [south, west,
/// north, east] in degrees}. Throws a `Failure` for a file that cannot be read, is of another kind or beyond 20 MB,
/// and for corners that make no sense.
nlohmann::ordered_json backgroundJson(const std::string& text);

}  // namespace Kvex::Tool
