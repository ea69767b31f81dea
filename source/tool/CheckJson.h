#pragma once

#include <cstdint>
#include <kvex/File.h>
#include <nlohmann/json.hpp>

namespace Kvex::Tool {

/// The bytes of a file; the largest number where it is gone.
std::uint64_t sizeOf(const File& file);

/// What "vrel check --json" writes about a file: its judgement, what the scan counted, and the places where data is
/// damaged or lost. Times are null where they are not known.
nlohmann::ordered_json checkJson(const File& file);

}  // namespace Kvex::Tool
