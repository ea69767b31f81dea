#pragma once

#include <CLI/CLI.hpp>
#include <kvex/File.h>
#include <optional>
#include <string>

namespace Kvex::Tool {

/// What a TIME is, for the help of commands.
inline constexpr const char* kTimeHelp =
    "A TIME is one of\n"
    "  +10.5  +90s  +3m  +1h2m3.5s  +3:00  +1:02:03   after the file's start\n"
    "  -10.5  -3m  and so on                          before the file's end\n"
    "  2024-12-03T23:43:45.5Z                         UTC; also without \"Z\", or with an offset as +02:00\n"
    "  1417651425000000000                            GPS nanoseconds, from 10^17 on\n"
    "A span that goes beyond the data is cut to it with a note; one that meets none is an error.";

/// Adds an option that takes a time, which goes into `time`.
CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeText>& time,
                           const std::string& description);

/// Says on standard error where a span that was typed went beyond that of the file's data.
void tellNotes(const File& file, const ChosenSpan& span);

}  // namespace Kvex::Tool
