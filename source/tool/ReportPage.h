#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Kvex::Tool {

/// A page that shows a report and needs nothing else. Texts of recordings enter it as data only: a "<" in them is
/// escaped, so that none can end the element that they stand in.
std::string reportPage(const std::string& title, const nlohmann::ordered_json& report);

}  // namespace Kvex::Tool
