#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <kvex/File.h>
#include <string>
#include <vector>

namespace Kvex::Tool {

/// What a user asks for on the command line.
struct SignalChoice {
  std::vector<std::string> patterns;     ///< As `File::choose` takes them. None: all signals.
  std::vector<std::uint32_t> streamIds;  ///< None: all streams.

  /// Whether the streams asked for hold this one.
  bool takesStream(std::uint32_t streamId) const;
};

/// What a PATTERN is, for the help of commands.
inline constexpr const char* kPatternHelp =
    "A PATTERN is the name of a signal, as a table's header or a message shows it (\"Lat\", \"2:Lat [°]\",\n"
    "\"SatUsed[3]\", \"*:Lat\"), else several of them (\"Lat,Lon\"), else a name in which \"*\" stands for any\n"
    "characters, \"?\" for one and \"[a-c]\" for one of these; \"2:Gnss*\" for those of stream 2. If nothing matches,\n"
    "the case of letters does not count.";

/// The options "--signal" and "--stream" of a command.
CLI::Option* addSignalOption(CLI::App& command, SignalChoice& choice, const std::string& description,
                             const std::string& names = "--signal");
CLI::Option* addStreamOption(CLI::App& command, SignalChoice& choice);

/// The option "--multiplexed": `ReadOptions::multiplexed`.
CLI::Option* addMultiplexedOption(CLI::App& command, bool& multiplexed);
/// Says on standard error that multiplexed signals are read from frames that do not select them, if so.
void noteMultiplexed(const std::vector<Signal>& signals, bool multiplexed);

/// The signals that have values over time and are asked for, as `File::choose` chooses them. Throws as that, and a
/// `Failure` that says where the names are listed if no name is near.
std::vector<Signal> chooseSignals(const File& file, const SignalChoice& choice);

/// The same signals in the order of `File::match("*")`, elements of an array by their numbers.
std::vector<Signal> inListingOrder(const File& file, std::vector<Signal> signals);

}  // namespace Kvex::Tool
