#pragma once

#include <kvex/File.h>
#include <span>
#include <string>

namespace Kvex::Tool {

/// What the scan counted for a stream alone: packets, and in a recording pages.
std::span<const Counter> ownCounters(const Stream& stream, const File& file);

/// "3.1 s of data lost (pagesLost 3, holes 1)": what is wrong with one stream; "none" for nothing.
std::string streamDamageText(const Stream& stream, const File& file);

}  // namespace Kvex::Tool
