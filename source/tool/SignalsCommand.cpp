#include <fmt/format.h>
#include <memory>

#include "tool/Commands.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SignalChoice.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

struct SignalsOptions {
  std::string file;
  SignalChoice choice;
  std::string match;
  bool json = false;
};

std::vector<Signal> listSignals(const File& file, const SignalsOptions& options) {
  checkStreamIds(file, options.choice);
  std::vector<Signal> offered = file.signals();
  std::erase_if(offered, [&](const Signal& signal) { return !options.choice.takesStream(signal.stream()); });
  std::vector<Signal> listed = offered;
  std::erase_if(listed, [&](const Signal& signal) { return !signal.matches(options.match); });
  if (listed.empty() && !offered.empty()) {
    fmt::print(stderr, "vrel: {}\n", noMatchText(options.match, offered));
  }
  return listed;
}

Json valueJson(const std::optional<Value>& value) {
  if (!value) return nullptr;
  return {{"value", jsonValue(*value)}, {"flags", value->flags()}, {"time", value->stamp()}};
}

Json signalJson(const Signal& signal) {
  return {{"stream", signal.stream()},
          {"ordinal", signal.ordinal()},
          {"name", signal.name()},
          {"type", nameOf(signal.type())},
          {"count", signal.count()},
          {"unit", signal.unit()},
          {"description", signal.description()},
          {"resolution", signal.resolution()},
          {"decimals", signal.decimals()},
          {"range", {signal.rangeLow(), signal.rangeHigh()}},
          {"dial", {signal.dialStart(), signal.dialSweep()}},
          {"group", signal.mask()},
          {"table", signal.table()},
          {"text", signal.hasTexts()},
          {"first", valueJson(signal.first())},
          {"last", valueJson(signal.last())}};
}

/// An array with a line for each signal.
void writeJson(Output& output, const std::vector<Signal>& signals) {
  output.write("[");
  std::string_view separator = "\n";
  for (const Signal& signal : signals) {
    output.write(separator);
    output.write(jsonText(signalJson(signal)));
    separator = ",\n";
  }
  output.write("\n]\n");
}

std::string valueText(const std::optional<Value>& value, const Signal& signal) {
  return value && value->usable() ? valueWithText(*value, signal) : "-";
}

void writeTable(Output& output, const std::vector<Signal>& signals) {
  TextTable table;
  table.addRow({"STREAM", "NAME", "TYPE", "COUNT", "UNIT", "FIRST", "LAST", "DESCRIPTION"});
  for (const Signal& signal : signals) {
    table.addRow({std::to_string(signal.stream()), signal.name(), std::string(nameOf(signal.type())),
                  std::to_string(signal.count()), signal.unit(), valueText(signal.first(), signal),
                  valueText(signal.last(), signal), signal.description()});
  }
  output.write(table.text());
}

VrelExit showSignals(const SignalsOptions& options) {
  const OpenedFile opened(options.file);
  const std::vector<Signal> signals = listSignals(opened.file, options);
  Output output;
  options.json ? writeJson(output, signals) : writeTable(output, signals);
  output.finish();
  opened.warnOfDamage();
  return opened.exit();
}

}  // namespace

void addSignalsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<SignalsOptions>();
  CLI::App* command =
      addFileCommand(app, "signals", "List the signals of a file with their first and last values", options->file);
  addStreamOption(*command, options->choice);
  command->add_option("--match", options->match, "Only signals whose name matches, \"*\" and \"?\" as in a shell")
      ->type_name("GLOB");
  command->add_flag("--json", options->json, "Write a JSON array, one signal on a line");
  command->footer(
      "A \"-\" in place of a value: there is none, or it is not usable.\n\n"
      "Example:\n  vrel signals run.vrel --match '*Latitude*'");
  options->match = "*";
  command->callback([options, &action] { action = [options] { return showSignals(*options); }; });
}

}  // namespace Kvex::Tool
