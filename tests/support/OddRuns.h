#pragma once

#include <string>
#include <vector>

namespace Kvex {

/// A file that something is strange about, for tests of what draws it.
struct OddRun {
  std::string name;  ///< With its ending.
  std::string bytes;
};

/// Runs of a vehicle, 100 positions and speeds a second:
///
/// - "spike.vrel": 20 minutes, at 10 m/s but for one sample of 99 m/s at 600 s, and no packet from 900 s to 910 s
/// - "antimeridian.vrel": due east across 180 degrees, 111 m of it on either side
/// - "pole.vrel": once round the pole in a distance of 100 m
/// - "nofix.quon": a navigation unit that never finds its position
/// - "hostile.vrel": names, units, texts and headers that are markup
std::vector<OddRun> oddRuns();

}  // namespace Kvex
