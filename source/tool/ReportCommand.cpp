#include <filesystem>
#include <fmt/format.h>
#include <memory>

#include "tool/Background.h"
#include "tool/Commands.h"
#include "tool/FileByFile.h"
#include "tool/Messages.h"
#include "tool/OpenedFile.h"
#include "tool/Output.h"
#include "tool/ReportData.h"
#include "tool/ReportPage.h"
#include "tool/SignalChoice.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

struct ReportCommandOptions {
  std::vector<std::string> files;
  std::string output;
  std::string title;
  std::string background;
  ReportOptions shown;
  bool force = false;
};

std::string nameOfFile(const std::string& path) {
  return fs::path(path).filename().string();
}

std::string titleOf(const ReportCommandOptions& options) {
  if (!options.title.empty()) return options.title;
  const std::string first = nameOfFile(options.files.front());
  return options.files.size() == 1 ? first : fmt::format("{} and {} more", first, options.files.size() - 1);
}

VrelExit writeReport(const ReportCommandOptions& options) {
  const std::string path =
      options.output.empty() ? fs::path(options.files.front()).stem().string() + ".html" : options.output;
  Output output(path, {.force = options.force});
  Json report{{"title", titleOf(options)}, {"parts", Json::array()}};
  if (!options.background.empty()) report["background"] = backgroundJson(options.background);
  const FilesDone done = doEach(options.files, [&](const std::string& file) {
    OpenedFile opened(file);
    report["parts"].push_back(reportJson(opened, options.shown));
    opened.progress.clear();
    opened.tellJudgement();
    return opened.exit();
  });
  if (report["parts"].empty()) return done.exit();
  output.write(reportPage(titleOf(options), report));
  output.finish();
  if (options.output.empty()) say("vrel: the report is in {}", printable(path));
  return done.exit();
}

constexpr const char* kReportHelp =
    "The page needs nothing else: no network and no server. It shows where the drive went, plots that share time and\n"
    "cursor, damage and gaps, events, states, devices and their settings, and every signal with its statistics.\n"
    "Several FILEs have a part each.\n\n"
    "A background is drawn under the path: a GeoJSON file (.geojson, .json), or an image (.png, .jpg) with the\n"
    "degrees of its corners behind it: map.png@SOUTH,WEST,NORTH,EAST.";

constexpr const char* kExample =
    "Example:\n"
    "  vrel report run.vrel --signals 'EngineSpeed,*:WheelSpeed*' -o run.html";

}  // namespace

void addReportCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ReportCommandOptions>();
  CLI::App* command = addFilesCommand(app, "report", "Write a page that shows a recording", options->files);
  command->add_option("-o,--output", options->output, "The page; else the FILE's name with .html, in this folder")
      ->type_name("OUT");
  command->add_option("--signals,--signal", options->shown.patterns, "A further plot; may be given several times")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  command->add_option("--title", options->title, "The title of the page; else the FILE's name")->type_name("TEXT");
  command->add_option("--background", options->background, "What is drawn under the path")->type_name("FILE");
  command->add_flag("--fast", options->shown.fast, "Leave out statistics and states, which take most of the time");
  addForceOption(*command, options->force);
  command->footer(fmt::format("{}\n\n{}\n\n{}", kReportHelp, kPatternHelp, kExample));
  command->callback([options, &action] { action = [options] { return writeReport(*options); }; });
}

}  // namespace Kvex::Tool
