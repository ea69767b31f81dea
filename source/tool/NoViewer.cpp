#include "tool/Commands.h"

namespace Kvex::Tool {

void addViewCommand(CLI::App& app, Action& action) {
  CLI::App* command = app.add_subcommand("view", "Look into recordings in the browser (not in this build)");
  command->allow_extras();
  command->callback([&action] {
    action = []() -> VrelExit {
      throw Failure(
          "this build of vrel, as the Python package brings it, has no viewer: \"vrel report\" writes a page, and a "
          "vrel built from the sources has \"vrel view\"");
    };
  });
}

}  // namespace Kvex::Tool
