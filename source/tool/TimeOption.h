#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tool/TimeArgument.h"

namespace Kvex::Tool {

/// Adds an option that takes a time, which goes into `time`.
CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeArgument>& time,
                           const std::string& description);

}  // namespace Kvex::Tool
