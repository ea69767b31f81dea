#include <map>
#include <memory>
#include <string>

#include "tool/Commands.h"
#include "tool/Completion.h"
#include "tool/CompletionScripts.h"
#include "tool/Output.h"

namespace Kvex::Tool {

namespace {

const std::map<std::string, const char*> kScripts{{"bash", kBashScript}, {"fish", kFishScript}, {"zsh", kZshScript}};

VrelExit writeScript(const std::string& shell) {
  Output output;
  output.write(kScripts.at(shell));
  output.finish();
  return VrelExit::Good;
}

}  // namespace

void addCompletionCommand(CLI::App& app, Action& action) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("completion", "Write the script that lets a shell complete vrel's arguments");
  command->add_option("SHELL", *shell, "bash, zsh or fish")->required()->type_name("")->check(oneOf(kScripts));
  command->footer(
      "With it the tab key completes commands, options, and the signals and streams of the file on the line. An\n"
      "installed vrel has it where the shells look for it. Else, to have it in each new shell:\n"
      "  echo 'source <(vrel completion bash)' >>~/.bashrc\n"
      "  echo 'source <(vrel completion zsh)' >>~/.zshrc       # behind compinit\n"
      "  vrel completion fish >~/.config/fish/completions/vrel.fish");
  command->callback([shell, &action] { action = [shell] { return writeScript(*shell); }; });
}

}  // namespace Kvex::Tool
