#include "tool/Commands.h"

namespace Kvex::Tool {

CLI::App* addFileCommand(CLI::App& app, const std::string& name, const std::string& description, std::string& file) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("FILE", file, "The file to read")->required()->type_name("");
  return command;
}

CLI::App* addFilesCommand(CLI::App& app, const std::string& name, const std::string& description,
                          std::vector<std::string>& files) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("FILE", files, "The file to read; there may be several")->required()->type_name("");
  return command;
}

void addForceOption(CLI::App& command, bool& force) {
  command.add_flag("--force", force, "Replace OUT even if it holds a recording");
}

}  // namespace Kvex::Tool
