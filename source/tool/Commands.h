#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tool/Failure.h"

namespace Kvex::Tool {

/// What the command line has chosen to do.
using Action = std::function<VrelExit()>;

// One subcommand each: its options are added to the command line, and if it is given it puts what it does into
// `action`. Actions throw `Failure`.
void addInfoCommand(CLI::App& app, Action& action);
void addSignalsCommand(CLI::App& app, Action& action);
void addStatesCommand(CLI::App& app, Action& action);
void addEventsCommand(CLI::App& app, Action& action);
void addDiffCommand(CLI::App& app, Action& action);
void addExportCommand(CLI::App& app, Action& action);
void addCheckCommand(CLI::App& app, Action& action);
void addReportCommand(CLI::App& app, Action& action);
void addViewCommand(CLI::App& app, Action& action);
void addTrackCommand(CLI::App& app, Action& action);
void addCutCommand(CLI::App& app, Action& action);
void addMergeCommand(CLI::App& app, Action& action);
void addRescueCommand(CLI::App& app, Action& action);
void addSynthCommand(CLI::App& app, Action& action);
void addCompletionCommand(CLI::App& app, Action& action);

/// --force: a recording that is in the place of the output may be replaced.
void addForceOption(CLI::App& command, bool& force);

/// A subcommand that reads a FILE.
CLI::App* addFileCommand(CLI::App& app, const std::string& name, const std::string& description, std::string& file);

/// A subcommand that reads one FILE or more.
CLI::App* addFilesCommand(CLI::App& app, const std::string& name, const std::string& description,
                          std::vector<std::string>& files);

}  // namespace Kvex::Tool
