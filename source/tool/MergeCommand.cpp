#include <memory>

#include "tool/Commands.h"
#include "tool/Messages.h"
#include "tool/Text.h"
#include "tool/WriteCommand.h"

namespace Kvex::Tool {

namespace {

struct MergeOptions {
  std::vector<std::string> files;
  WriteTarget target;
};

VrelExit mergeFiles(const MergeOptions& options) {
  WatchedWriting writing(options.target);
  WriteOptions how;
  writing.applyTo(how);
  const MergeReport report = merge(options.files, options.target.output, how);
  writing.done();
  for (const MergedStream& stream : report.streams) {
    if (stream.serial == stream.newSerial) continue;
    say("vrel: note: \"{}\": serial {} is now {}", printable(options.files[stream.input]), stream.serial,
        stream.newSerial);
  }
  if (report.damaged) say("vrel: warning: data of an input was damaged or lost; \"vrel check\" says what");
  return report.damaged ? VrelExit::Damaged : VrelExit::Good;
}

}  // namespace

void addMergeCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<MergeOptions>();
  CLI::App* command =
      addFilesCommand(app, "merge", "Make one recording of several of the same drive, by time", options->files);
  addWriteTarget(*command, options->target);
  command->footer(
      "Packets are copied byte for byte, and pages follow one another by the absolute time of their records. A serial\n"
      "number that an earlier FILE has too is changed, and with it the \"{Kvex-Range}\" headers of its file, which "
      "tie\n"
      "streams together. Exports of each stream are the same as before; ids of streams may differ.\n\n"
      "Example:\n  vrel merge unit.vrel bus.vrel -o drive.vrel");
  command->callback([options, &action] { action = [options] { return mergeFiles(*options); }; });
}

}  // namespace Kvex::Tool
