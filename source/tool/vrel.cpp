#include <CLI/CLI.hpp>
#include <exception>
#include <fmt/format.h>
#include <sstream>

#include "tool/Commands.h"
#include "tool/Interrupt.h"
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
    "\"vrel COMMAND --help\" tells more.";

/// Writes what the command line's reader has to say: help on standard output, a complaint on standard error.
VrelExit answer(const CLI::App& app, const CLI::ParseError& parsed) {
  std::ostringstream out;
  std::ostringstream error;
  const bool good = app.exit(parsed, out, error) == 0;
  if (!good) {
    fmt::print(stderr, "vrel: {}", printable(error.str()));
    return VrelExit::WrongUsage;
  }
  Output output;
  output.write(out.str());
  output.finish();
  return VrelExit::Good;
}

VrelExit run(int argc, char** argv) {
  CLI::App app(kAbout, "vrel");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.get_formatter()->column_width(34);
  app.set_version_flag("--version", "vrel 1.0.0");
  Action action;
  addInfoCommand(app, action);
  addSignalsCommand(app, action);
  addExportCommand(app, action);
  addCheckCommand(app, action);
  addSynthCommand(app, action);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& parsed) {
    return answer(app, parsed);
  }
  return action();
}

}  // namespace

int main(int argc, char** argv) {
  catchInterrupts();
  try {
    return static_cast<int>(run(argc, argv));
  } catch (const Failure& failure) {
    fmt::print(stderr, "vrel: {}\n", failure.what());
    return static_cast<int>(failure.exit);
  } catch (const std::exception& error) {
    fmt::print(stderr, "vrel: {}\n", printable(error.what()));
    return static_cast<int>(VrelExit::Failed);
  }
}
