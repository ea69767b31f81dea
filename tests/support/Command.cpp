#include "support/Command.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace Kvex::Support {

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string scratchPath(const std::string& name) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("kvex-tests-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  return (folder / name).string();
}

CommandResult runCommand(const std::string& program, const std::string& arguments) {
  const std::string output = scratchPath("stdout");
  const std::string errors = scratchPath("stderr");
  // In braces, so that redirections among the arguments hold.
  const std::string line = "{ " + (KVEX_BIN "/" + program) + ' ' + arguments + "\n} >" + output + " 2>" + errors;
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(output), contentsOf(errors)};
}

}  // namespace Kvex::Support
