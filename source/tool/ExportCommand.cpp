#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <memory>
#include <optional>

#include "tool/Commands.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SampleFormatter.h"
#include "tool/SignalChoice.h"
#include "tool/TableWriter.h"
#include "tool/TimeArgument.h"

namespace Kvex::Tool {

namespace {

struct ExportOptions {
  std::string file;
  std::string output;
  SignalChoice choice;
  std::optional<TimeArgument> start;
  std::optional<TimeArgument> end;
  std::int64_t period = Lib::kNanosPerSecond;
  std::optional<TableFormat> format;
  TableStyle style;
};

const std::map<std::string, TableFormat> kFormats{{"csv", TableFormat::Csv}, {"ndjson", TableFormat::Ndjson}};
const std::map<std::string, TimeForm> kTimeForms{
    {"gps", TimeForm::Gps}, {"utc", TimeForm::Utc}, {"elapsed", TimeForm::Elapsed}};

/// Samples between two reports of progress.
constexpr unsigned kSamplesPerReport = 256;

TableFormat formatOf(const ExportOptions& options) {
  if (options.format) return *options.format;
  const std::string ending = Sto::lowerExtension(options.output);
  return ending == ".ndjson" || ending == ".jsonl" ? TableFormat::Ndjson : TableFormat::Csv;
}

void checkOutput(const ExportOptions& options) {
  std::error_code ignored;
  if (std::filesystem::equivalent(options.file, options.output, ignored)) {
    throw Failure("the output is the input file", VrelExit::WrongUsage);
  }
}

Sto::SignalQuery subscribe(OpenedFile& file, const SignalChoice& choice) {
  Sto::SignalQuery query;
  for (const Sto::SignalListing& signal : chooseSignals(file, choice)) {
    if (file.store.subscribe(Sto::kDirectMode, signal) != Sto::StoreStatus::Success) continue;
    file.store.addToQuery(query, Sto::kDirectMode, signal);
  }
  return query;
}

/// The times to sample at.
struct Steps {
  Lib::Nano start;
  Lib::Nano end;
  std::int64_t period;

  double percent(Lib::Nano time) const {
    const double whole = static_cast<double>(end) - static_cast<double>(start);
    return 100 * (static_cast<double>(time) - static_cast<double>(start)) / whole;
  }
};

void writeSamples(OpenedFile& file, const Sto::SignalQuery& query, const Steps& steps, TableWriter& table) {
  std::vector<Lib::Sample> samples;
  unsigned sinceReport = 0;
  for (Lib::Nano time = steps.start; time < steps.end; time += steps.period) {
    if (file.store.readSamples(query, time, samples) == Sto::StoreStatus::Cancelled) throw Interrupted();
    table.addRow(time, samples);
    if (++sinceReport == kSamplesPerReport) {
      sinceReport = 0;
      file.progress.setPercent(steps.percent(time));
    }
    if (time > INT64_MAX - steps.period) break;
  }
  table.finish();
}

VrelExit exportSignals(ExportOptions options) {
  checkOutput(options);
  options.style.format = formatOf(options);
  OpenedFile file(options.file);
  const Sto::SignalQuery query = subscribe(file, options.choice);
  const Steps steps{options.start ? options.start->from(file.start) : file.start,
                    options.end ? options.end->from(file.start) : file.end, options.period};
  Output output(options.output);
  SampleFormatter formatter(options.style, query, file.start);
  TableWriter table(output, formatter);
  // A bar would stand in the midst of a table that goes to the terminal.
  if (!output.isTerminal()) file.progress.follow(file.store.progress());
  if (file.store.seekAll(steps.start) == Sto::StoreStatus::Cancelled) throw Interrupted();
  if (!output.isTerminal()) file.progress.begin("Exporting");
  writeSamples(file, query, steps, table);
  output.finish();
  file.progress.stop();
  file.warnOfDamage();
  return file.exit();
}

CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeArgument>& time,
                           const std::string& description) {
  return command
      .add_option_function<std::string>(
          name,
          [name, &time](const std::string& text) {
            time = parseTimeArgument(text);
            if (!time) throw CLI::ValidationError(name, "\"" + text + "\" is no time");
          },
          description)
      ->type_name("TIME");
}

constexpr const char* kFooter =
    "The value at a time is the one that stands after the first record at or after that time was decoded; values\n"
    "are never interpolated. A time is below --end. A PATTERN is the name of a signal, in which \"*\" stands for any\n"
    "characters, \"?\" for one and \"[a-c]\" for one of these; \"2:Lat\" is the signal \"Lat\" of stream 2. A TIME is\n"
    "GPS nanoseconds (1417651425000000000), UTC (2024-12-03T23:43:45.5Z), or seconds from the file's start (+10.5).\n\n"
    "The table has a line for each time and a column for each signal, empty where a value is not usable. With\n"
    "--long it has a line for each time and signal, with the columns time,stream,signal,flags,stamp,value.\n\n"
    "Flags are a sum: 128 never written, 64 not available, 32 the device says that there is no value, 16 the stamp\n"
    "is no real time, 8 and 4 at the high or low end of its range, 2 provisional, 1 expired. Values with no other\n"
    "flag than 16 are usable.\n\n"
    "Example, two signals a hundred times a second for the first minute:\n"
    "  vrel export run.vrel --signal 'GnssInt1_L*' --period 0.01 --end +60 -o run.csv";

}  // namespace

void addExportCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* command = addFileCommand(app, "export", "Write the values of signals over time as a table", options->file);
  command->add_option("-o,--output", options->output, "Write to this file, else to standard output")->type_name("OUT");
  command
      ->add_option("--signal", options->choice.patterns,
                   "Signals to write; may be given several times. Without it: all signals that have values")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  command->add_option("--stream", options->choice.streamIds, "Only this stream; may be given several times")
      ->type_name("ID")
      ->allow_extra_args(false);
  addTimeOption(*command, "--start", options->start, "First time, else the file's start");
  addTimeOption(*command, "--end", options->end, "Time to stop at, else the file's end");
  command
      ->add_option_function<std::string>(
          "--period",
          [options](const std::string& text) {
            const auto period = nanosFromSeconds(text);
            if (!period || *period <= 0) {
              throw CLI::ValidationError("--period", "\"" + text + "\" is no number of seconds from 0.000000001 on");
            }
            options->period = *period;
          },
          "Seconds from one time to the next, down to 0.000000001 (default 1)")
      ->type_name("S");
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
  command->add_flag("--flags", options->style.flags, "A column of flags after each value");
  command->add_flag("--text", options->style.valueTexts, "Texts in place of values, for signals that have them");
  command->footer(kFooter);
  command->callback([options, &action] { action = [options] { return exportSignals(*options); }; });
}

}  // namespace Kvex::Tool
