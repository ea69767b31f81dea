#pragma once

#include <kvex/File.h>
#include <span>
#include <string>

namespace Kvex::Tool {

/// What the scan counted for a stream alone: packets, and in a recording pages.
std::span<const Counter> ownCounters(const Stream& stream, const File& file);

/// "pagesLost 3, holes 1": the counts above 0 that mean damage; "none" without any.
std::string damageText(std::span<const Counter> counters);

}  // namespace Kvex::Tool
