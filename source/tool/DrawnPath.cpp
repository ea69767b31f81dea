#include "tool/DrawnPath.h"

#include <array>
#include <cmath>

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kAngleScale = 1e8;

}  // namespace

Json drawnPath(const Overview& overview, std::size_t latitude, std::size_t longitude) {
  std::array<Json, 2> lists{Json::array(), Json::array()};
  std::array<long long, 2> last{};
  Json slices = Json::array();
  const auto add = [&](std::size_t slice, const Value& north, const Value& east) {
    const std::array degrees{north.asDouble(), east.asDouble()};
    if (!(std::abs(degrees[0]) <= 90) || !(std::abs(degrees[1]) <= 360)) return;
    for (std::size_t i = 0; i < degrees.size(); ++i) {
      const long long whole = std::llround(degrees[i] * kAngleScale);
      lists[i].push_back(whole - last[i]);
      last[i] = whole;
    }
    slices.push_back(slice);
  };
  for (std::size_t i = 0; i < overview.slices(); ++i) {
    const Slice north = overview.at(latitude, i);
    const Slice east = overview.at(longitude, i);
    // Both stand in one packet; where only one of them is usable there is no place.
    if (north.usable == 0 || north.usable != east.usable) continue;
    add(i, north.first, east.first);
    if (north.usable > 1) add(i, north.last, east.last);
  }
  return {{"latitude", lists[0]}, {"longitude", lists[1]}, {"slice", slices}};
}

}  // namespace Kvex::Tool
