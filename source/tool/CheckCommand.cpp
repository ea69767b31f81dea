#include <algorithm>
#include <fmt/format.h>
#include <memory>

#include "tool/CheckJson.h"
#include "tool/Commands.h"
#include "tool/Counters.h"
#include "tool/FileByFile.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Seconds.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

struct CheckOptions {
  std::vector<std::string> files;
  bool json = false;
};

/// Places that are shown one by one; of further ones only their number.
constexpr std::size_t kMaxPlacesShown = 20;

std::string streamsText(const File& file) {
  TextTable table;
  for (const Stream& stream : file.streams()) {
    std::vector<std::string> names{"stream", "codec", "secondsLost"};
    std::vector<std::string> cells{std::to_string(stream.id()), std::string(stream.codec()),
                                   roughSeconds(file.damage().timeLost(stream.id()))};
    for (const Counter& counter : ownCounters(stream, file)) {
      names.push_back(counter.name);
      cells.push_back(std::to_string(counter.count));
    }
    if (&stream == &file.streams().front()) table.addRow(std::move(names));
    table.addRow(std::move(cells));
  }
  return table.text();
}

std::string placesText(const Damage& damage) {
  std::string text;
  const std::size_t shown = std::min(damage.places().size(), kMaxPlacesShown);
  for (std::size_t i = 0; i < shown; ++i) text += damage.places()[i].text + '\n';
  if (damage.placesInAll() > shown) {
    text += fmt::format("and {}\n", counted(damage.placesInAll() - shown, "further place"));
  }
  return text;
}

std::string reportText(const File& file) {
  const Damage& damage = file.damage();
  TextTable about;
  about.addRow({"file", file.path()});
  about.addRow({"size", counted(sizeOf(file), "byte")});
  for (const Counter& counter : damage.counters()) about.addRow({counter.name, std::to_string(counter.count)});
  std::string text = about.text() + '\n' + streamsText(file) + '\n' + placesText(damage);
  for (const std::string& note : damage.notes()) text += "note: " + note + '\n';
  return text + damage.sentence() + '\n';
}

/// A file that was not closed is as little whole as one that is damaged.
VrelExit exitFor(const File& file) {
  return file.judgement() == Judgement::Whole ? VrelExit::Good : VrelExit::Damaged;
}

VrelExit checkOne(const CheckOptions& options) {
  const OpenedFile opened(options.files.front());
  Output output;
  output.write(options.json ? jsonText(checkJson(opened.file), 2) + '\n' : reportText(opened.file));
  output.finish();
  return exitFor(opened.file);
}

VrelExit checkMany(const CheckOptions& options) {
  Output output;
  const FilesDone done = doEach(options.files, [&](const std::string& path) {
    const OpenedFile opened(path);
    const File& file = opened.file;
    output.write(options.json ? jsonText(checkJson(file)) + '\n'
                              : fmt::format("{}: {}\n", printable(path), printable(file.damage().sentence())));
    return exitFor(file);
  });
  output.finish();
  return done.exit();
}

}  // namespace

void addCheckCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* command = addFilesCommand(
      app, "check", "Read a whole file and report whether data in it is damaged or lost", options->files);
  command->add_flag("--json", options->json, "Write JSON");
  command->footer(
      "The last line says what the damage means for the data; times in it are seconds from the file's start.\n"
      "A place says between which times data was lost: that of the last record before it and of the first one behind\n"
      "it, or the start or end of the file where there is none. The exit code is 0 if nothing was lost and 3 if\n"
      "something was, or the recording was not closed. Of several FILEs each has a line, with --json a line of "
      "JSON.\n\n"
      "Example:\n  vrel check run.vrel && echo whole");
  command->callback([options, &action] {
    action = [options] { return options->files.size() == 1 ? checkOne(*options) : checkMany(*options); };
  });
}

}  // namespace Kvex::Tool
