#include <CLI/CLI.hpp>
#include <exception>
#include <fmt/format.h>
#include <kvex/Version.h>
#include <string>
#include <string_view>

#include "tool/Commands.h"
#include "tool/Completion.h"
#include "tool/Interrupt.h"
#include "tool/Messages.h"
#include "tool/Output.h"
#include "tool/Text.h"

namespace {

using namespace Kvex::Tool;

constexpr const char* kAbout =
    "Looks into recordings of inertial and satellite navigation: what a file holds, the values\n"
    "of any signals over time, and whether the file is whole.";

constexpr const char* kFooter =
    "A FILE is a recording (.vrel) or a bare protocol file (.quon, .dask, .yeld).\n\n"
    "Results go to standard output, everything else to standard error. Exit codes: 0 good, 1 failed,\n"
    "2 wrong usage, 3 done, but data in the file was damaged or lost.\n\n"
    "Example, from a new demonstration file to a table of positions:\n"
    "  vrel synth demo.vrel\n"
    "  vrel info demo.vrel\n"
    "  vrel export demo.vrel --signal 'GnssInt1_*' -o positions.csv\n\n"
    "\"vrel COMMAND --help\" says more.";

constexpr std::size_t kHelpColumn = 26;

/// Says what is wrong with the command line.
VrelExit complain(const CLI::App& app, const CLI::ParseError& error) {
  std::string command = "vrel";
  for (const CLI::App* given : app.get_subcommands()) command += ' ' + given->get_name();
  say("vrel: {}\n\"{} --help\" says how it is used.", printable(error.what()), command);
  return VrelExit::WrongUsage;
}

void writeText(const std::string& text) {
  Output output;
  output.write(text);
  output.finish();
}

VrelExit run(int argc, char** argv) {
  CLI::App app(kAbout, "vrel");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.get_formatter()->column_width(kHelpColumn);
  app.set_version_flag("--version", fmt::format("vrel {} ({})", Kvex::version(), Kvex::build()),
                       "Print version and build, and exit");
  Action action;
  addInfoCommand(app, action);
  addSignalsCommand(app, action);
  addStatesCommand(app, action);
  addEventsCommand(app, action);
  addExportCommand(app, action);
  addCheckCommand(app, action);
  addDiffCommand(app, action);
  addReportCommand(app, action);
  addViewCommand(app, action);
  addTrackCommand(app, action);
  addCutCommand(app, action);
  addMergeCommand(app, action);
  addRescueCommand(app, action);
  addSynthCommand(app, action);
  addCompletionCommand(app, action);
  if (argc > 1 && std::string_view(argv[1]) == "__complete") {
    writeText(answerCompletion(app, {argv + 2, argv + argc}, lookQuickly));
    return VrelExit::Good;
  }
  if (argc < 2) {
    sayRaw(app.help());
    return VrelExit::WrongUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    writeText(app.help());
    return VrelExit::Good;
  } catch (const CLI::CallForVersion& version) {
    writeText(std::string(version.what()) + '\n');
    return VrelExit::Good;
  } catch (const CLI::ParseError& error) {
    const bool unknown = app.get_subcommands().empty() && argv[1][0] != '-';
    return complain(app, unknown ? CLI::ParseError(fmt::format("there is no command \"{}\"", argv[1]), 2) : error);
  }
  return action();
}

int report(const Failure& failure) {
  if (*failure.what() != '\0') say("vrel: {}", failure.what());
  return static_cast<int>(failure.exit);
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  catchInterrupts();
  try {
    return static_cast<int>(run(argc, argv));
  } catch (const Failure& failure) {
    return report(failure);
  } catch (const Kvex::Error& error) {
    return report(failureFrom(error));
  } catch (const std::exception& error) {
    say("vrel: {}", printable(error.what()));
    return static_cast<int>(VrelExit::Failed);
  }
}
