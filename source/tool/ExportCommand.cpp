#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <memory>
#include <optional>

#include "tool/Commands.h"
#include "tool/Completion.h"
#include "tool/CsvOptions.h"
#include "tool/FolderExport.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SignalChoice.h"
#include "tool/SignalUse.h"
#include "tool/TableFormats.h"
#include "tool/TableFormatter.h"
#include "tool/TableWriter.h"
#include "tool/Text.h"
#include "tool/TimeOption.h"

namespace Kvex::Tool {

namespace {

struct ExportOptions {
  std::vector<std::string> files;
  std::string file;  ///< The one that is written just now.
  std::string output;
  SignalChoice choice;
  TypedSpan span;
  Nano period = kNanosPerSecond;
  std::optional<Nano> maxAge;
  std::string around;  ///< The signal whose changes are events; empty for a table of the whole span.
  Nano before = 0;
  Nano after = 0;
  bool multiplexed = false;
  bool native = false;
  bool used = false;
  const NamedFormat* format = nullptr;  ///< By the ending of the output without.
  bool force = false;
  CsvOptions csv;
  TableStyle style;
};

const std::map<std::string, TimeForm> kTimeForms{
    {"gps", TimeForm::Gps}, {"utc", TimeForm::Utc}, {"elapsed", TimeForm::Elapsed}};

void checkCsvOptions(const ExportOptions& options, TableFormat format) {
  if (format == TableFormat::Csv || !options.csv.given()) return;
  throw Failure("--dialect, --delimiter and --decimal are for CSV only", VrelExit::WrongUsage);
}

/// GPS nanoseconds have 19 digits.
void noteSpreadsheetTimes(const TableStyle& style) {
  if (!style.csv.byteOrderMark || style.time != TimeForm::Gps) return;
  say("vrel: note: spreadsheets keep 15 digits, which is too few for times in nanoseconds; --time elapsed gives "
      "seconds");
}

void warnOfSpreadsheet(const std::string& warning) {
  if (!warning.empty()) say("vrel: warning: {}", warning);
}

void checkOutput(const ExportOptions& options) {
  std::error_code ignored;
  if (std::filesystem::equivalent(options.file, options.output, ignored)) {
    throw Failure("the output is the input file", VrelExit::WrongUsage);
  }
  checkReplaceable(options.output, options.force);
}

/// The signals of each stream, in their order. REQUIRES: the signals of a stream stand together.
std::vector<std::vector<Signal>> byStream(const std::vector<Signal>& signals) {
  std::vector<std::vector<Signal>> parts;
  for (const Signal& signal : signals) {
    if (parts.empty() || parts.back().front().stream() != signal.stream()) parts.emplace_back();
    parts.back().push_back(signal);
  }
  return parts;
}

Grid gridOf(const ExportOptions& options) {
  const Grid grid = Grid::every(options.period);
  return options.maxAge ? grid.withMaxAge(*options.maxAge) : grid;
}

void writeGrid(File& file, const std::vector<Signal>& signals, const ExportOptions& options, const ReadOptions& reading,
               TableWriter& table) {
  for (const Batch& batch : file.grid(signals, gridOf(options), reading)) table.add(batch, 0);
}

/// The fields of the table are those of the parts, one after the other.
void writeNative(File& file, const std::vector<std::vector<Signal>>& parts, const ReadOptions& reading,
                 TableWriter& table) {
  std::uint32_t firstField = 0;
  for (const std::vector<Signal>& part : parts) {
    for (const Batch& batch : file.native(part, reading)) table.add(batch, firstField);
    for (const Signal& signal : part) firstField += signal.count();
  }
}

std::vector<Signal> signalsFor(OpenedFile& opened, const ExportOptions& options) {
  std::vector<Signal> signals = chooseSignals(opened.file, options.choice);
  if (options.style.shape == TableShape::Long) signals = inListingOrder(opened.file, std::move(signals));
  return options.used ? usedSignals(opened.file, signals, opened.watched()) : signals;
}

Nano shifted(Nano time, Nano by) {
  Nano result = 0;
  return __builtin_add_overflow(time, by, &result) ? (by < 0 ? INT64_MIN + 1 : INT64_MAX) : result;
}

/// The times of a grid round an event that lie in a span: from the first that is a whole number of periods from
/// `before` it on.
Span windowOf(const Change& change, const ExportOptions& options, const ReadOptions& reading) {
  Span window{shifted(change.time, -options.before), shifted(change.time, shifted(options.after, 1))};
  if (reading.start && window.start < *reading.start) {
    const Nano missing = *reading.start - window.start;
    const Nano step = options.native ? 1 : options.period;
    window.start = shifted(window.start, (missing + step - 1) / step * step);
  }
  if (reading.end) window.end = std::min(window.end, *reading.end);
  return window;
}

/// The rows round each change of a signal in a span, with the change's number.
template <class Write>
void writeAround(File& file, const ExportOptions& options, const ChosenSpan& span, const ReadOptions& reading,
                 TableWriter& table, Write&& write) {
  ReadOptions searching;
  searching.start = span.start;
  searching.end = span.end;
  searching.stop = reading.stop;
  searching.progress = reading.progress;
  std::uint64_t number = 0;
  ReadOptions part = reading;
  part.progress = {};
  for (const Change& change : file.changes(options.around, searching)) {
    table.beginEvent(++number);
    const Span window = windowOf(change, options, reading);
    if (window.start >= window.end) continue;
    part.start = window.start;
    part.end = window.end;
    write(part);
  }
  if (number == 0) say("vrel: note: \"{}\" does not change in the span", printable(options.around));
}

/// All tables of a file into a folder.
VrelExit exportTables(const ExportOptions& options) {
  OpenedFile opened(options.file);
  const std::vector<Signal> signals = signalsFor(opened, options);
  noteMultiplexed(signals, options.multiplexed);
  const ChosenSpan span = opened.file.nativeSpan(options.span, signals);
  tellNotes(opened.file, span);
  FolderExport folder(options.output, options.force, options.style, std::string(options.format->endings[0]), signals,
                      opened.file.span().start);
  ReadOptions reading;
  reading.start = span.start;
  reading.end = span.end;
  reading.multiplexed = options.multiplexed;
  reading.stop = opened.stop.token();
  reading.progress = opened.progress.callback();
  folder.write(opened.file, reading);
  folder.finish();
  opened.progress.clear();
  for (const std::string& warning : folder.spreadsheetWarnings()) warnOfSpreadsheet(warning);
  opened.tellJudgement();
  return opened.exit();
}

VrelExit exportSignals(const ExportOptions& options) {
  checkOutput(options);
  OpenedFile opened(options.file);
  File& file = opened.file;
  const std::vector<Signal> signals = signalsFor(opened, options);
  noteMultiplexed(signals, options.multiplexed);
  const std::vector<std::vector<Signal>> parts = byStream(signals);
  if (options.native && options.style.shape == TableShape::Wide && parts.size() > 1) {
    throw Failure("the native samples of several streams make no one table; choose one with --stream, or use --long");
  }
  const ChosenSpan span = options.native ? file.nativeSpan(options.span, signals) : file.gridSpan(options.span);
  tellNotes(file, span);
  Output output(options.output, {.force = options.force});
  TableFormatter formatter(options.style, signals, file.span().start);
  TableWriter table(output, formatter);
  ReadOptions reading = table.readOptions(options.native);
  reading.start = span.start;
  reading.end = span.end;
  if (!options.native) {
    if (!reading.start) reading.start = file.span().start;
    if (!reading.end) reading.end = file.span().end;
  }
  reading.multiplexed = options.multiplexed;
  reading.stop = opened.stop.token();
  // A bar would stand in the midst of a table that goes to the terminal.
  if (!output.isTerminal()) reading.progress = opened.progress.callback();
  const auto write = [&](const ReadOptions& part) {
    options.native ? writeNative(file, parts, part, table) : writeGrid(file, signals, options, part, table);
  };
  if (options.around.empty()) {
    write(reading);
  } else {
    writeAround(file, options, span, reading, table, write);
  }
  table.finish();
  TableWriter::endTable(output, formatter);
  output.finish();
  opened.progress.clear();
  warnOfSpreadsheet(spreadsheetWarning(formatter));
  if (formatter.records() == 0) {
    say("vrel: note: \"{}\": the table is empty: these signals have no sample in the span", printable(file.path()));
  }
  opened.tellJudgement();
  return opened.exit();
}

VrelExit exportFiles(ExportOptions options) {
  const bool toFolder = namesFolder(options.output);
  if (!toFolder && options.files.size() > 1) {
    throw Failure("several files make several tables; give them a folder: -o FOLDER/", VrelExit::WrongUsage);
  }
  if (options.format == nullptr) options.format = &formatOfOutput(toFolder ? "" : options.output);
  options.style.format = options.format->format;
  checkCsvOptions(options, options.style.format);
  options.style.csv = dialectOf(options.csv, {.delimiter = options.format->delimiter});
  noteSpreadsheetTimes(options.style);
  options.style.events = !options.around.empty();
  options.file = options.files.front();
  if (!toFolder) return exportSignals(options);
  if (options.native && !options.around.empty()) {
    throw Failure("--around makes one table, and a folder of native tables has many", VrelExit::WrongUsage);
  }
  const OutputFolder folder(options.output);
  const auto exportOne = [&](const std::string& file, const std::string& output) {
    options.file = file;
    options.output = output;
    return options.native ? exportTables(options) : exportSignals(options);
  };
  if (options.native && options.files.size() == 1) return exportTables(options);
  return exportEach(options.files, folder, options.native ? "" : std::string(options.format->endings[0]), exportOne);
}

CLI::Option* addDurationOption(CLI::App& command, const std::string& name, Nano& duration,
                               const std::string& description) {
  return command
      .add_option_function<std::string>(
          name,
          [name, &duration](const std::string& text) {
            const auto typed = durationFromText(text);
            if (!typed || *typed < 0) throw CLI::ValidationError(name, "\"" + text + "\" is no number of seconds");
            duration = *typed;
          },
          description)
      ->type_name("S");
}

constexpr const char* kValuesHelp =
    "The value at a time is the one that stands after the first record at or after that time was decoded; values\n"
    "are never interpolated. Columns come in the order of the --signal options. Times go from --start to below --end.\n"
    "The last value of a stream that has ended stands to the end of the file: --max-age leaves a cell empty when its\n"
    "value is older, also where its age is not known (flag 16).";

constexpr const char* kTablesHelp =
    "The table has a line for each time and a column for each signal, empty where a value is not usable. With\n"
    "--long it has a line for each time and signal, with the columns time,stream,signal,flags,stamp,value, in\n"
    "stream and listing order.\n\n"
    "With --native the table has all samples as the recording carried them in place of values at regular times: a\n"
    "line for each record, with cells empty for signals that it did not bring, from the first record to the last,\n"
    "or from --start to below --end. It is of one stream; with --long it may be of several, one after the other.\n\n"
    "With --around the table has the rows from --before a change of a signal to --after it, for one change after the\n"
    "other, and a column \"event\" that numbers the changes. Of a trigger's count the changes are its edges, at their\n"
    "own times.\n\n"
    "With --native -o FOLDER/ there is a file for each table of each stream, and signals.csv lists their columns:\n"
    "file,column,stream,name,unit,type,description. Characters other than letters, digits, \".\", \"_\" and \"-\" are\n"
    "percent-encoded in the names of the files. Several FILEs make a table each, named as they are (with --native a\n"
    "folder each); a file that fails does not keep the others from being written.\n\n"
    "Flags are a sum: 128 never written, 64 not available, 32 the device says that there is no value, 16 the stamp\n"
    "is no real time, 8 and 4 at the high or low end of its range, 2 provisional, 1 expired. Values with no other\n"
    "flag than 16 are usable.\n\n"
    "Example, two signals a hundred times a second for the first minute:\n"
    "  vrel export run.vrel --signal 'GnssInt1_L*' --period 0.01 --end +60 -o run.csv\n\n"
    "Example, every sample of two signals of stream 2:\n"
    "  vrel export run.vrel --native --stream 2 --signal Lat --signal Lon -o run.csv\n\n"
    "Example, what happened at each trigger:\n"
    "  vrel export run.vrel --around 2:Trig1RiseUpdateCount --before 2 --after 5 --period 0.01 -o triggers.csv\n\n"
    "Example, everything in a file, a table for each kind of record; and one table for each of many files:\n"
    "  vrel export run.vrel --native -o run/\n"
    "  vrel export *.vrel --signal Lat --signal Lon -o tables/";

}  // namespace

void addExportCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* command =
      addFilesCommand(app, "export", "Write the values of signals over time as a table", options->files);
  command
      ->add_option(
          "-o,--output", options->output,
          "Write to this file, else to standard output. A folder, or a name that ends with \"/\", takes a table "
          "for each FILE, with --native the tables of each")
      ->type_name("OUT");
  addSignalOption(*command, options->choice,
                  "Signals to write, in this order; may be given several times. Without it: all signals");
  addStreamOption(*command, options->choice);
  command->add_flag("--used", options->used, "Leave out signals without a usable sample; reads the file once more");
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
  CLI::Option* const around =
      command->add_option("--around", options->around, "Only rows round each change of this signal, with its number")
          ->type_name("SIGNAL");
  addDurationOption(*command, "--before", options->before, "Seconds before each of these changes")->needs(around);
  addDurationOption(*command, "--after", options->after, "Seconds behind each of them")->needs(around);
  addMultiplexedOption(*command, options->multiplexed);
  command->add_flag_callback(
      "--long", [options] { options->style.shape = TableShape::Long; },
      "One line for each time and signal, with flags and stamp");
  command
      ->add_option_function<std::string>(
          "--format", [options](const std::string& name) { options->format = &formatNamed(name); },
          "csv, tsv (tabs), json (an array) or ndjson (JSON lines); else by the ending of OUT")
      ->type_name("FORMAT")
      ->check(oneOf(formatNames()));
  addForceOption(*command, options->force);
  command
      ->add_option_function<std::string>(
          "--time", [options](const std::string& name) { options->style.time = kTimeForms.at(name); },
          "How times are written: gps (nanoseconds, default), utc, or elapsed (seconds from the file's start)")
      ->type_name("FORM")
      ->check(oneOf(kTimeForms));
  command->add_flag("--qualified", options->style.qualified, "Every name with its stream: \"2:Lat [°]\"");
  addCsvOptions(*command, options->csv);
  command->add_flag("--flags", options->style.flags, "A column of flags after each value");
  command->add_flag("--text", options->style.valueTexts, "Texts in place of values, for signals that have them");
  command->footer(fmt::format("{}\n\n{}\n\n{}\n\n{}", kValuesHelp, kPatternHelp, kTimeHelp, kTablesHelp));
  command->callback([options, &action] { action = [options] { return exportFiles(*options); }; });
}

}  // namespace Kvex::Tool
