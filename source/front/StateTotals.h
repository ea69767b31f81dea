#pragma once

#include <kvex/Options.h>
#include <kvex/Signal.h>
#include <kvex/States.h>
#include <vector>

#include "front/Reading.h"

namespace Kvex::Front {

/// What the timelines of signals come to in the span of `options`. `reading`: of whole streams.
/// REQUIRES: scalars and elements that can be read.
std::vector<std::vector<StateTotal>> readStateTotals(Reading& reading, const std::vector<Signal>& elements,
                                                     const ReadOptions& options);

}  // namespace Kvex::Front
