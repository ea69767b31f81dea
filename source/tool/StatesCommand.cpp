#include <algorithm>
#include <fmt/format.h>
#include <memory>

#include "tool/Commands.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SignalChoice.h"
#include "tool/StatesTable.h"
#include "tool/Text.h"
#include "tool/TimeOption.h"

namespace Kvex::Tool {

namespace {

/// Intervals that are shown as one table with columns of equal width.
constexpr std::size_t kTableLines = 10'000;

struct StatesOptions {
  std::string file;
  SignalChoice choice;
  TypedSpan span;
  bool intervals = false;
  bool multiplexed = false;
  bool json = false;
};

std::vector<Signal> elementsOf(const std::vector<Signal>& signals) {
  std::vector<Signal> elements;
  for (const Signal& signal : signals) {
    if (!signal.isArray()) elements.push_back(signal);
    for (std::uint32_t i = 0; signal.isArray() && i < signal.count(); ++i) elements.push_back(signal.at(i));
  }
  return elements;
}

/// Writes the states of one signal after the other.
class StatesWriter {
 public:
  StatesWriter(File& file, const ReadOptions& reading, const StatesOptions& options, Output& output)
      : file_(file), reading_(reading), options_(options), output_(output) {}

  void write(const std::vector<Signal>& signals) {
    if (options_.json) output_.write("[");
    for (const Signal& signal : signals) {
      if (options_.json) {
        output_.write(isFirst_ ? "\n" : ",\n");
      } else if (signals.size() > 1) {
        output_.write(fmt::format("{}{}\n", isFirst_ ? "" : "\n", printable(signal.qualifiedName())));
      }
      isFirst_ = false;
      States states = file_.timeline(signal, reading_);
      options_.intervals ? writeIntervals(signal, states) : writeTotals(signal, states);
    }
    if (options_.json) output_.write("\n]\n");
  }

 private:
  void writeTotals(const Signal& signal, States& states) {
    const std::vector<StateTotal> totals = totalsOf(states);
    output_.write(options_.json ? jsonText(totalsJson(signal, totals)) : totalsTable(signal, totals));
  }

  void writeIntervals(const Signal& signal, States& states) {
    if (options_.json) return writeIntervalsJson(signal, states);
    std::vector<State> lines;
    for (const State& state : states) {
      lines.push_back(state);
      if (lines.size() < kTableLines) continue;
      output_.write(intervalsTable(signal, lines));
      lines.clear();
    }
    if (!lines.empty()) output_.write(intervalsTable(signal, lines));
  }

  void writeIntervalsJson(const Signal& signal, States& states) {
    std::string lead = jsonText(signalLead(signal));
    lead.pop_back();
    output_.write(lead + ",\"intervals\":[");
    std::string_view separator = "\n";
    for (const State& state : states) {
      output_.write(separator);
      output_.write(jsonText(intervalJson(signal, state)));
      separator = ",\n";
    }
    output_.write("]}");
  }

  File& file_;
  const ReadOptions& reading_;
  const StatesOptions& options_;
  Output& output_;
  bool isFirst_ = true;
};

VrelExit showStates(const StatesOptions& options) {
  OpenedFile opened(options.file);
  File& file = opened.file;
  const std::vector<Signal> signals = elementsOf(chooseSignals(file, options.choice));
  ReadOptions reading = opened.watched();
  reading.multiplexed = options.multiplexed;
  // Each of the signals must have data in the span: none of the lines may be of nothing.
  for (const Signal& signal : signals) (void)file.nativeSpan(options.span, {signal});
  const ChosenSpan span = file.nativeSpan(options.span, signals);
  tellNotes(file, span);
  reading.start = span.start;
  reading.end = span.end;
  noteMultiplexed(signals, options.multiplexed);
  Output output;
  if (output.isTerminal()) reading.progress = {};
  StatesWriter(file, reading, options, output).write(signals);
  opened.progress.clear();
  output.finish();
  opened.tellJudgement();
  return opened.exit();
}

constexpr const char* kFooter =
    "For each value that the signal held: the value, its text, how often the signal took it on, for how many seconds\n"
    "in all, and its share of the time. A value is held from the sample that brings it to the next one that brings\n"
    "another value or none. What was held longest comes first. Time without a usable value, before the first one too,\n"
    "has a line of its own, so that all seconds add up to the time of the signal's stream (or what of it lies between\n"
    "--start and --end), of which the shares are shares.\n\n"
    "With --intervals a line for each interval instead: start, end, seconds, value, text. Several signals come one\n"
    "after the other, each under its name; an array comes element by element.\n\n"
    "In JSON each signal is an object with \"stream\", \"name\", \"unit\" and \"states\" (\"value\", \"text\", "
    "\"usable\", \"times\",\n"
    "\"seconds\", \"share\" from 0 to 1) or \"intervals\" (\"start\" and \"end\" in GPS nanoseconds, \"seconds\", "
    "\"value\", \"text\",\n"
    "\"usable\"). Time without a usable value has \"usable\" false and no value.\n\n"
    "{}\n\n{}\n\n"
    "Example, how long the position was RTK integer:\n"
    "  vrel states run.vrel --signal GpsPosMode";

}  // namespace

void addStatesCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<StatesOptions>();
  CLI::App* command = addFileCommand(app, "states", "Show how long signals held each of their values", options->file);
  addSignalOption(*command, options->choice, "Signals to show; may be given several times")->required();
  addStreamOption(*command, options->choice);
  command->add_flag("--intervals", options->intervals, "A line for each time that a value was held");
  addTimeOption(*command, "--start", options->span.start, "First time, else the start of the stream");
  addTimeOption(*command, "--end", options->span.end, "Time to stop at, else the end of the stream");
  addMultiplexedOption(*command, options->multiplexed);
  command->add_flag("--json", options->json, "Write a JSON array with an object for each signal");
  command->footer(fmt::format(kFooter, kPatternHelp, kTimeHelp));
  command->callback([options, &action] { action = [options] { return showStates(*options); }; });
}

}  // namespace Kvex::Tool
