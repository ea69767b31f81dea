#pragma once

#include <cstddef>
#include <kvex/File.h>
#include <string>
#include <vector>

namespace Kvex::Tool {

/// A plot of a report: signals of one unit.
struct PlannedPlot {
  std::string title;
  std::string unit;
  std::vector<Signal> signals;
};

/// What a report draws of a file: speed, height, attitude and so on, as far as the file has signals for them, or else
/// its first numbers; then one plot for each of the further patterns. Plots without a signal are left out; signals of
/// different units, and more signals than a plot can show, come in several plots.
std::vector<PlannedPlot> planPlots(const File& file, const std::vector<std::string>& patterns);

}  // namespace Kvex::Tool
