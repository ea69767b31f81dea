#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/Resource.h"

namespace Kvex::Tool {

/// A count of a scan with its name, as `info` and `check` show it.
using NamedCount = std::pair<std::string_view, std::uint64_t>;

/// What the scan counted for a stream: packets, and in a recording pages.
std::vector<NamedCount> streamCounters(const Sto::Stream& stream, const Sto::Resource& resource);

/// What the scan counted for the file as a whole: bytes that belong to no page or packet, and those of one cut off.
std::vector<NamedCount> fileCounters(const Sto::Resource& resource);

/// "pagesLost 3, holes 1": the counts above 0 that mean damage; "none" without any.
std::string damageText(const std::vector<NamedCount>& counters);

}  // namespace Kvex::Tool
