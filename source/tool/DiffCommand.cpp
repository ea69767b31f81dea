#include <kvex/Difference.h>
#include <memory>

#include "tool/Commands.h"
#include "tool/DifferencesTable.h"
#include "tool/JsonArray.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

struct DiffOptions {
  std::string first;
  std::string second;
  bool json = false;
};

VrelExit showDifferences(const DiffOptions& options) {
  OpenedFile first(options.first);
  OpenedFile second(options.second);
  const ReadOptions watched = first.watched();
  const std::vector<Difference> found = differences(first.file, second.file, watched.progress, watched.stop);
  first.progress.clear();
  Output output;
  if (options.json) {
    writeJsonArray(output, found, differenceJson);
  } else {
    output.write(found.empty() ? "The two files do not differ in streams, signals, settings and times.\n"
                               : differencesTable(found));
  }
  output.finish();
  first.tellJudgement();
  second.tellJudgement();
  return first.exit() == VrelExit::Damaged ? VrelExit::Damaged : second.exit();
}

}  // namespace

void addDiffCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App* command = app.add_subcommand("diff", "Show in what two recordings differ, other than in their samples");
  command->add_option("FILE", options->first, "The first file")->required()->type_name("");
  command->add_option("OTHER", options->second, "The second file")->required()->type_name("");
  command->add_flag("--json", options->json, "Write a JSON array, one difference on a line");
  command->footer(
      "Streams are paired by protocol and name. A line tells of a stream that only one file has, of other times, of a\n"
      "value in a header, of a signal that only one file has or that has another unit, type or description, and of a\n"
      "setting: a signal that never changes within either file and has other values in them. Samples are not\n"
      "compared. \"-\" stands for what a file does not have. The exit code says whether the files could be read, not\n"
      "whether they differ.\n\n"
      "Example:\n  vrel diff monday.vrel tuesday.vrel");
  command->callback([options, &action] { action = [options] { return showDifferences(*options); }; });
}

}  // namespace Kvex::Tool
