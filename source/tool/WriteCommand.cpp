#include "tool/WriteCommand.h"

#include "tool/Commands.h"
#include "tool/Output.h"

namespace Kvex::Tool {

void addWriteTarget(CLI::App& command, WriteTarget& target) {
  command.add_option("-o,--output", target.output, "The file to write; it appears when it is complete")
      ->required()
      ->type_name("OUT");
  addForceOption(command, target.force);
}

WatchedWriting::WatchedWriting(const WriteTarget& target) : target_(target) {
  checkReplaceable(target.output, target.force);
}

void WatchedWriting::applyTo(WriteOptions& options) {
  options.force = target_.force;
  options.progress = progress_.callback();
  options.stop = stop_.token();
}

}  // namespace Kvex::Tool
