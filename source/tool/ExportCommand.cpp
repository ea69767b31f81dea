#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <memory>
#include <optional>

#include "tool/Commands.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SignalChoice.h"
#include "tool/TableFormatter.h"
#include "tool/TableWriter.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

struct ExportOptions {
  std::string file;
  std::string output;
  SignalChoice choice;
  TypedSpan span;
  Nano period = kNanosPerSecond;
  std::optional<Nano> maxAge;
  bool native = false;
  std::optional<TableFormat> format;
  TableStyle style;
};

const std::map<std::string, TableFormat> kFormats{{"csv", TableFormat::Csv}, {"ndjson", TableFormat::Ndjson}};
const std::map<std::string, TimeForm> kTimeForms{
    {"gps", TimeForm::Gps}, {"utc", TimeForm::Utc}, {"elapsed", TimeForm::Elapsed}};

TableFormat formatOf(const ExportOptions& options) {
  if (options.format) return *options.format;
  const std::string ending = lowerExtension(options.output);
  return ending == ".ndjson" || ending == ".jsonl" ? TableFormat::Ndjson : TableFormat::Csv;
}

void checkOutput(const ExportOptions& options) {
  std::error_code ignored;
  if (std::filesystem::equivalent(options.file, options.output, ignored)) {
    throw Failure("the output is the input file", VrelExit::WrongUsage);
  }
}

/// The signals of each stream, streams and signals in their order.
std::vector<std::vector<Signal>> byStream(const std::vector<Signal>& signals) {
  std::vector<std::vector<Signal>> parts;
  for (const Signal& signal : signals) {
    const auto isOfStream = [&](const std::vector<Signal>& part) { return part.front().stream() == signal.stream(); };
    auto part = std::ranges::find_if(parts, isOfStream);
    if (part == parts.end()) part = parts.insert(parts.end(), std::vector<Signal>());
    part->push_back(signal);
  }
  return parts;
}

std::vector<Signal> joined(const std::vector<std::vector<Signal>>& parts) {
  std::vector<Signal> signals;
  for (const std::vector<Signal>& part : parts) signals.insert(signals.end(), part.begin(), part.end());
  return signals;
}

Grid gridOf(const ExportOptions& options) {
  const Grid grid = Grid::every(options.period);
  return options.maxAge ? grid.withMaxAge(*options.maxAge) : grid;
}

/// Writes the rows and returns how many there are, as the next one does.
std::size_t writeGrid(File& file, const std::vector<Signal>& signals, const ExportOptions& options, ReadOptions reading,
                      TableWriter& table) {
  if (!reading.start) reading.start = file.span().start;
  if (!reading.end) reading.end = file.span().end;
  std::size_t rows = 0;
  for (const Batch& batch : file.grid(signals, gridOf(options), reading)) {
    rows += batch.rows();
    table.add(batch, 0);
  }
  return rows;
}

/// The fields of the table are those of the parts, one after the other.
std::size_t writeNative(File& file, const std::vector<std::vector<Signal>>& parts, const ReadOptions& reading,
                        TableWriter& table) {
  std::size_t rows = 0;
  std::uint32_t firstField = 0;
  for (const std::vector<Signal>& part : parts) {
    for (const Batch& batch : file.native(part, reading)) {
      rows += batch.rows();
      table.add(batch, firstField);
    }
    for (const Signal& signal : part) firstField += signal.count();
  }
  return rows;
}

void writeNote(const std::string& note) {
  fmt::print(stderr, "vrel: note: {}\n", printable(note));
}

VrelExit exportSignals(ExportOptions options) {
  checkOutput(options);
  options.style.format = formatOf(options);
  OpenedFile opened(options.file);
  File& file = opened.file;
  std::vector<Signal> signals = chooseSignals(file, options.choice);
  const std::vector<std::vector<Signal>> parts = byStream(signals);
  if (options.native) signals = joined(parts);
  if (options.native && options.style.shape == TableShape::Wide && parts.size() > 1) {
    throw Failure("the native samples of several streams make no one table; choose one with --stream, or use --long");
  }
  const ChosenSpan span = options.native ? file.nativeSpan(options.span, signals) : file.gridSpan(options.span);
  for (const std::string& note : span.notes) writeNote(note);
  Output output(options.output);
  TableFormatter formatter(options.style, signals, file.span().start);
  TableWriter table(output, formatter);
  ReadOptions reading = table.readOptions(options.native);
  reading.start = span.start;
  reading.end = span.end;
  reading.stop = opened.stop.token();
  // A bar would stand in the midst of a table that goes to the terminal.
  if (!output.isTerminal()) reading.progress = opened.progress.callback();
  const std::size_t rows =
      options.native ? writeNative(file, parts, reading, table) : writeGrid(file, signals, options, reading, table);
  table.finish();
  output.finish();
  opened.progress.clear();
  if (rows == 0) writeNote("the table has no rows: there is no sample of these signals in the span");
  opened.warnOfDamage();
  return opened.exit();
}

CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeText>& time,
                           const std::string& description) {
  return command
      .add_option_function<std::string>(
          name,
          [name, &time](const std::string& text) {
            try {
              time = TimeText(text);
            } catch (const Error& error) {
              throw CLI::ValidationError(name, error.reason());
            }
          },
          description)
      ->type_name("TIME");
}

constexpr const char* kFooter =
    "The value at a time is the one that stands after the first record at or after that time was decoded; values\n"
    "are never interpolated. Times go from --start to below --end. The last value of a stream that has ended stands\n"
    "to the end of the file: --max-age leaves a cell empty when its value is older, also where its age is not known\n"
    "(flag 16).\n\n"
    "A PATTERN is the name of a signal, as a table's header or a message shows it (\"Lat\", \"2:Lat [°]\",\n"
    "\"SatUsed[3]\", \"*:Lat\"), else several of them (\"Lat,Lon\"), else a name in which \"*\" stands for any\n"
    "characters, \"?\" for one and \"[a-c]\" for one of these; \"2:Gnss*\" for those of stream 2. If nothing matches,\n"
    "the case of letters does not count. Columns come in the order of the --signal options.\n\n"
    "A TIME is one of\n"
    "  +10.5  +90s  +3m  +1h2m3.5s  +3:00  +1:02:03   after the file's start\n"
    "  -10.5  -3m  and so on                          before the file's end\n"
    "  2024-12-03T23:43:45.5Z                         UTC; also without \"Z\", or with an offset as +02:00\n"
    "  1417651425000000000                            GPS nanoseconds, from 10^17 on\n"
    "Times beyond the file are cut to it with a note.\n\n"
    "The table has a line for each time and a column for each signal, empty where a value is not usable. With\n"
    "--long it has a line for each time and signal, with the columns time,stream,signal,flags,stamp,value.\n\n"
    "With --native the table has all samples as the recording carried them in place of values at regular times: a\n"
    "line for each record, with cells empty for signals that it did not bring, from the first record to the last,\n"
    "or from --start to below --end. It is of one stream; with --long it may be of several, one after the other.\n\n"
    "Flags are a sum: 128 never written, 64 not available, 32 the device says that there is no value, 16 the stamp\n"
    "is no real time, 8 and 4 at the high or low end of its range, 2 provisional, 1 expired. Values with no other\n"
    "flag than 16 are usable.\n\n"
    "Example, two signals a hundred times a second for the first minute:\n"
    "  vrel export run.vrel --signal 'GnssInt1_L*' --period 0.01 --end +60 -o run.csv\n\n"
    "Example, every sample of two signals of stream 2:\n"
    "  vrel export run.vrel --native --stream 2 --signal Lat --signal Lon -o run.csv";

}  // namespace

void addExportCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* command = addFileCommand(app, "export", "Write the values of signals over time as a table", options->file);
  command->add_option("-o,--output", options->output, "Write to this file, else to standard output")->type_name("OUT");
  addSignalOption(*command, options->choice,
                  "Signals to write, in this order; may be given several times. Without it: all signals");
  addStreamOption(*command, options->choice);
  addTimeOption(*command, "--start", options->span.start,
                "First time, else the file's start. That is 100 ms behind the first stream's start if the streams do "
                "not all start at the same time, so that the first row has values of those that start together");
  addTimeOption(*command, "--end", options->span.end, "Time to stop at, else the file's end");
  CLI::Option* const native =
      command->add_flag("--native", options->native, "All samples as the recording carried them, at their own times");
  command
      ->add_option_function<std::string>(
          "--period",
          [options](const std::string& text) {
            const auto period = durationFromText(text);
            if (!period || *period <= 0) {
              throw CLI::ValidationError("--period", "\"" + text + "\" is no number of seconds from 0.000000001 on");
            }
            options->period = *period;
          },
          "Seconds from one time to the next, down to 0.000000001 (default 1)")
      ->type_name("S")
      ->excludes(native);
  command
      ->add_option_function<std::string>(
          "--max-age",
          [options](const std::string& text) {
            options->maxAge = durationFromText(text);
            if (!options->maxAge) throw CLI::ValidationError("--max-age", "\"" + text + "\" is no number of seconds");
          },
          "Leave a cell empty when its value is older than this many seconds")
      ->type_name("S")
      ->excludes(native);
  command->add_flag_callback(
      "--long", [options] { options->style.shape = TableShape::Long; },
      "One line for each time and signal, with flags and stamp");
  command
      ->add_option_function<std::string>(
          "--format", [options](const std::string& name) { options->format = kFormats.at(name); },
          "csv or ndjson (JSON lines); else by the ending of OUT")
      ->type_name("FORMAT")
      ->check(CLI::IsMember(kFormats).description(""));
  command
      ->add_option_function<std::string>(
          "--time", [options](const std::string& name) { options->style.time = kTimeForms.at(name); },
          "How times are written: gps (nanoseconds, default), utc, or elapsed (seconds from the file's start)")
      ->type_name("FORM")
      ->check(CLI::IsMember(kTimeForms).description(""));
  command->add_flag("--qualified", options->style.qualified, "Every name with its stream: \"2:Lat [°]\"");
  command->add_flag("--flags", options->style.flags, "A column of flags after each value");
  command->add_flag("--text", options->style.valueTexts, "Texts in place of values, for signals that have them");
  command->footer(kFooter);
  command->callback([options, &action] { action = [options] { return exportSignals(*options); }; });
}

}  // namespace Kvex::Tool
