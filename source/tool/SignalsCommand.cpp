#include <fmt/format.h>
#include <memory>

#include "library/Enumerations.h"
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

/// A row with its first and last value, where it has them.
struct ListedSignal {
  Sto::SignalListing row;
  std::optional<Lib::Sample> first;
  std::optional<Lib::Sample> last;
};

std::string_view typeName(const Sto::SignalListing& row) {
  return Lib::kValueTypeNames.name(static_cast<std::uint8_t>(row.valueType));
}

/// The value of a row, as it is found by name: a name that stands in several types means the first of them.
std::optional<Lib::Sample> valueOf(const Lib::Sample& found, const Sto::SignalListing& row) {
  if (found.type != row.valueType) return std::nullopt;
  return found;
}

std::vector<ListedSignal> listSignals(const OpenedFile& file, const SignalsOptions& options) {
  checkStreamIds(file, options.choice);
  const SignalPattern pattern(options.match);
  std::vector<ListedSignal> listed;
  std::vector<std::string> offered;
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource&) {
    const auto id = static_cast<std::uint32_t>(stream.entry.index);
    if (!options.choice.takesStream(id)) return;
    for (const Sto::SignalListing& row : OpenedFile::signalsOf(stream)) {
      offered.push_back(row.name);
      if (!pattern.matches(id, row.name)) continue;
      ListedSignal& signal = listed.emplace_back(ListedSignal{row, {}, {}});
      if (row.isArray || !stream.hasTime()) continue;
      signal.first = valueOf(stream.firstValue(row.name), row);
      signal.last = valueOf(stream.lastValue(row.name), row);
    }
  });
  if (listed.empty() && !offered.empty()) {
    fmt::print(stderr, "vrel: no signal matches \"{}\"{}\n", printable(pattern.text()), nearNames(pattern, offered));
  }
  return listed;
}

Json sampleJson(const std::optional<Lib::Sample>& sample) {
  if (!sample) return nullptr;
  return {{"value", jsonValue(*sample)}, {"flags", sample->flags}, {"time", sample->time}};
}

Json signalJson(const ListedSignal& signal) {
  const Sto::SignalListing& row = signal.row;
  return {{"stream", row.streamId},
          {"ordinal", row.ordinal},
          {"name", row.name},
          {"type", typeName(row)},
          {"count", row.count},
          {"unit", row.unit},
          {"description", row.description},
          {"resolution", row.resolution},
          {"decimals", row.decimals},
          {"range", {row.rangeLow, row.rangeHigh}},
          {"dial", {row.dialStart, row.dialSweep}},
          {"group", row.groupMask},
          {"text", row.valueText != nullptr},
          {"first", sampleJson(signal.first)},
          {"last", sampleJson(signal.last)}};
}

/// An array with a line for each signal.
void writeJson(Output& output, const std::vector<ListedSignal>& signals) {
  output.write("[");
  std::string_view separator = "\n";
  for (const ListedSignal& signal : signals) {
    output.write(separator);
    output.write(jsonText(signalJson(signal)));
    separator = ",\n";
  }
  output.write("\n]\n");
}

std::string sampleText(const std::optional<Lib::Sample>& sample, const Sto::SignalInfo& row) {
  return sample && sample->usable() ? valueWithText(*sample, row) : "-";
}

void writeTable(Output& output, const std::vector<ListedSignal>& signals) {
  TextTable table;
  table.addRow({"STREAM", "NAME", "TYPE", "COUNT", "UNIT", "FIRST", "LAST", "DESCRIPTION"});
  for (const ListedSignal& signal : signals) {
    const Sto::SignalListing& row = signal.row;
    table.addRow({std::to_string(row.streamId), row.name, std::string(typeName(row)), std::to_string(row.count),
                  row.unit, sampleText(signal.first, row), sampleText(signal.last, row), row.description});
  }
  output.write(table.text());
}

VrelExit showSignals(const SignalsOptions& options) {
  const OpenedFile file(options.file);
  const std::vector<ListedSignal> signals = listSignals(file, options);
  Output output;
  options.json ? writeJson(output, signals) : writeTable(output, signals);
  output.finish();
  file.warnOfDamage();
  return file.exit();
}

}  // namespace

void addSignalsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<SignalsOptions>();
  CLI::App* command =
      addFileCommand(app, "signals", "List the signals of a file with their first and last values", options->file);
  command->add_option("--stream", options->choice.streamIds, "Only this stream; may be given several times")
      ->type_name("ID")
      ->allow_extra_args(false);
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
