#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tool/Commands.h"
#include "tool/FileByFile.h"
#include "tool/JsonArray.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/SignalChoice.h"
#include "tool/SignalUse.h"
#include "tool/SignalsTable.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

struct SignalsOptions {
  std::vector<std::string> files;
  SignalChoice choice;
  std::vector<std::string> words;
  bool fast = false;
  bool used = false;
  bool unused = false;
  bool changed = false;
  bool multiplexed = false;
  bool json = false;
};

/// The width of the terminal that standard output goes to; 0 for none.
std::size_t terminalWidth(const Output& output) {
  winsize size{};
  return output.isTerminal() && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool keeps(const SignalsOptions& options, const ListedSignal& listed) {
  return (!options.used || listed.used()) && (!options.unused || !listed.used()) &&
         (!options.changed || listed.changed());
}

std::vector<ListedSignal> findSignals(OpenedFile& opened, const SignalsOptions& options) {
  const std::vector<Signal> signals = listSignals(opened.file, options.choice, options.words);
  if (options.fast) return withoutStatistics(signals);
  noteMultiplexed(signals, options.multiplexed);
  ReadOptions reading = opened.watched();
  reading.multiplexed = options.multiplexed;
  std::vector<ListedSignal> found = withStatistics(opened.file, signals, reading);
  opened.progress.clear();
  std::erase_if(found, [&](const ListedSignal& signal) { return !keeps(options, signal); });
  return found;
}

VrelExit showOne(const SignalsOptions& options) {
  OpenedFile opened(options.files.front());
  const std::vector<ListedSignal> listed = findSignals(opened, options);
  Output output;
  if (options.json) {
    writeJsonArray(output, listed, [&](const ListedSignal& signal) { return signalJson(signal, !options.fast); });
  } else {
    output.write(signalsTable(listed, !options.fast, terminalWidth(output)));
  }
  output.finish();
  opened.tellJudgement();
  return opened.exit();
}

/// A line with the names for each file.
VrelExit showMany(const SignalsOptions& options) {
  Output output;
  const FilesDone done = doEach(options.files, [&](const std::string& path) {
    OpenedFile opened(path);
    const std::vector<ListedSignal> found = findSignals(opened, options);
    if (options.json) {
      Json signals = Json::array();
      for (const ListedSignal& signal : found) signals.push_back(signalJson(signal, !options.fast));
      output.write(jsonText({{"file", path}, {"signals", std::move(signals)}}) + '\n');
    } else {
      std::vector<std::string> names;
      names.reserve(found.size());
      for (const ListedSignal& signal : found) names.push_back(printable(signal.signal.qualifiedName()));
      output.write(fmt::format("{}: {}\n", printable(path), fmt::join(names, ", ")));
    }
    return opened.exit();
  });
  output.finish();
  return done.exit();
}

/// Behind --search files look like words.
void partFilesFromWords(SignalsOptions& options) {
  std::error_code ignored;
  while (options.words.size() > 1 && std::filesystem::is_regular_file(options.words.back(), ignored)) {
    options.files.insert(options.files.begin(), std::move(options.words.back()));
    options.words.pop_back();
  }
}

VrelExit showSignals(SignalsOptions options) {
  if (options.files.empty()) partFilesFromWords(options);
  if (options.files.empty()) throw Failure("FILE is required", VrelExit::WrongUsage);
  if (options.files.size() == 1) return showOne(options);
  if (options.words.empty()) {
    throw Failure("the signals of several files are listed with --search only", VrelExit::WrongUsage);
  }
  return showMany(options);
}

constexpr const char* kFooter =
    "The file is read from end to end once. Of each signal you see how many samples the recording carried, how many "
    "of\n"
    "them were usable, samples per second, the first and last usable value, the smallest and the largest, and how\n"
    "often a usable value differed from the usable one before. An array shows the first and last value of its first\n"
    "element, marked \"…\", and otherwise what all elements come to. A \"-\": there is none. On a terminal the "
    "columns\n"
    "that do not fit are left out. Signals of a stream without time have no values over time and so nothing to "
    "count.\n\n"
    "{}\n\n"
    "In JSON the numbers have all their digits. \"first\" and \"last\" have \"value\", \"flags\" and \"time\", which "
    "is the\n"
    "stamp of the value in GPS nanoseconds; of an array \"samples\", \"usable\", \"rate\", \"first\", \"last\", "
    "\"min\", \"max\" and\n"
    "\"changes\" are lists with an entry for each element. Where there are no values over time they are null.\n\n"
    "With --search several FILEs may be given: each has a line with the names that are found in it.\n\n"
    "Examples:\n"
    "  vrel signals run.vrel --changed --signal '*Lat*'\n"
    "  vrel signals run.vrel --search rtk";

}  // namespace

void addSignalsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<SignalsOptions>();
  CLI::App* command =
      addFilesCommand(app, "signals", "List the signals of a file and what their samples say", options->files);
  command->get_option("FILE")->required(false);
  addSignalOption(*command, options->choice, "Only the signals that match; may be given several times",
                  "--signal,--match");
  command
      ->add_option("--search", options->words,
                   "Only signals with all these words in name, description, unit, table or value texts, in any case")
      ->type_name("WORD");
  addStreamOption(*command, options->choice);
  CLI::Option* const fast =
      command->add_flag("--fast", options->fast, "Do not read values: names and descriptions only");
  CLI::Option* const used = command->add_flag("--used", options->used, "Only signals with usable samples");
  command->add_flag("--unused", options->unused, "Only signals without usable samples")->excludes(used)->excludes(fast);
  command->add_flag("--changed", options->changed, "Only signals whose usable value changed")->excludes(fast);
  used->excludes(fast);
  addMultiplexedOption(*command, options->multiplexed);
  command->add_flag("--json", options->json, "Write a JSON array, one signal on a line");
  command->footer(fmt::format(kFooter, kPatternHelp));
  command->callback([options, &action] { action = [options] { return showSignals(*options); }; });
}

}  // namespace Kvex::Tool
