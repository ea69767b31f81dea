#pragma once

#include <kvex/Signal.h>
#include <kvex/Statistics.h>
#include <vector>

#include "front/Reading.h"

namespace Kvex::Front {

/// The signals with each array taken apart into its elements.
std::vector<Signal> elementsOf(const std::vector<Signal>& signals);

/// Uses as many threads as the options of the reading allow and as there is work for.
/// REQUIRES: scalars and elements that can be read.
std::vector<Statistics> readStatistics(Reading& reading, const std::vector<Signal>& elements);

}  // namespace Kvex::Front
