#pragma once

#include <CLI/CLI.hpp>
#include <kvex/File.h>
#include <optional>
#include <string>

namespace Kvex::Tool {

/// Adds an option that takes a time, which goes into `time`.
CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeText>& time,
                           const std::string& description);

/// Says on standard error where a span that was typed went beyond that of the file's data.
void tellNotes(const File& file, const ChosenSpan& span);

}  // namespace Kvex::Tool
