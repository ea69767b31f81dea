#pragma once

#include <kvex/Difference.h>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace Kvex::Tool {

/// A line for each difference: kind, stream ("1", or "1/2" where the two files number it otherwise), what differs, and
/// what each file has.
std::string differencesTable(std::span<const Difference> differences);

/// A difference as JSON: null for what a file does not have.
nlohmann::ordered_json differenceJson(const Difference& difference);

}  // namespace Kvex::Tool
