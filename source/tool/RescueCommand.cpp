#include <fmt/format.h>
#include <kvex/Writing.h>
#include <memory>

#include "tool/Commands.h"
#include "tool/Output.h"
#include "tool/Seconds.h"
#include "tool/Text.h"
#include "tool/WriteCommand.h"

namespace Kvex::Tool {

namespace {

struct RescueOptions {
  std::string file;
  WriteTarget target;
  bool json = false;
};

std::string lossText(const RescueReport& report) {
  if (!report.lost) return "No packet was lost.\n";
  std::uint64_t packets = 0;
  for (const RescuedStream& stream : report.streams) packets += stream.packetsLost;
  std::string text =
      packets > 0 ? fmt::format("About {} lost.\n", counted(packets, "packet") + (packets == 1 ? " was" : " were"))
                  : "";
  if (report.endLost) text += "A page is broken or cut off where a stream goes on: its end is lost.\n";
  if (report.pagesUnclaimed > 0) {
    text += counted(report.pagesUnclaimed, "page") + " of streams without a first page could not be saved.\n";
  }
  return text;
}

std::string reportText(const RescueReport& report) {
  TextTable table;
  table.addRow({"serial", "codec", "packets", "seconds", "packetsLost", "secondsLost"});
  std::string leftOut;
  for (const RescuedStream& stream : report.streams) {
    const std::string codec = stream.codec.empty() ? "other" : stream.codec;
    if (!stream.saved) {
      leftOut += fmt::format("The header of stream {} ({}) is lost: it was left out.\n", stream.serial, codec);
      continue;
    }
    table.addRow({std::to_string(stream.serial), codec, std::to_string(stream.packets), roughSeconds(stream.time),
                  (stream.pagesLost > 0 ? "~" : "") + std::to_string(stream.packetsLost),
                  roughSeconds(stream.timeLost)});
  }
  return table.text() + leftOut + lossText(report);
}

nlohmann::ordered_json reportJson(const RescueReport& report) {
  nlohmann::ordered_json streams = nlohmann::ordered_json::array();
  for (const RescuedStream& stream : report.streams) {
    streams.push_back({{"serial", stream.serial},
                       {"codec", stream.codec},
                       {"saved", stream.saved},
                       {"packets", stream.packets},
                       {"seconds", secondsBetween(0, stream.time)},
                       {"pagesLost", stream.pagesLost},
                       {"packetsLost", stream.packetsLost},
                       {"secondsLost", secondsBetween(0, stream.timeLost)}});
  }
  return {{"lost", report.lost},
          {"endLost", report.endLost},
          {"junkBytes", report.junkBytes},
          {"pagesUnclaimed", report.pagesUnclaimed},
          {"streams", std::move(streams)}};
}

VrelExit rescueFile(const RescueOptions& options) {
  WatchedWriting writing(options.target);
  WriteOptions how;
  writing.applyTo(how);
  const RescueReport report = rescue(options.file, options.target.output, how);
  writing.done();
  Output output;
  output.write(options.json ? jsonText(reportJson(report), 2) + '\n' : reportText(report));
  output.finish();
  return report.lost ? VrelExit::Damaged : VrelExit::Good;
}

}  // namespace

void addRescueCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<RescueOptions>();
  CLI::App* command = addFileCommand(
      app, "rescue", "Write a sound recording with all that a damaged or unfinished one still holds", options->file);
  addWriteTarget(*command, options->target);
  command->add_flag("--json", options->json, "Write the report as JSON");
  command->footer(
      "Junk between pages and broken pages are dropped, and with them the packets that they held a part of: nothing\n"
      "proves their bytes. Pages are numbered anew, missing end pages are added, and streams that begin late in the\n"
      "file are brought to its start. A stream whose header is lost is left out and named. What was written is read\n"
      "once to prove that it is whole.\n\n"
      "The report counts the packets and seconds that were saved and lost; \"~\" stands before a number that was "
      "taken\n"
      "from the number of lost pages. The exit code is 0 if no packet was lost, 3 if some were, and 1 if there was\n"
      "nothing to save.\n\n"
      "Example:\n  vrel rescue broken.vrel -o sound.vrel");
  command->callback([options, &action] { action = [options] { return rescueFile(*options); }; });
}

}  // namespace Kvex::Tool
