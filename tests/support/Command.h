#pragma once

#include <string>

namespace Kvex::Support {

/// What a command came to.
struct CommandResult {
  int exitCode = -1;
  std::string output;  ///< Standard output.
  std::string errors;  ///< Standard error.
};

/// Runs one of the built commands with arguments as for a shell.
CommandResult runCommand(const std::string& program, const std::string& arguments);

/// The whole of a file; empty where there is none.
std::string contentsOf(const std::string& path);

/// Path of a file in a folder of this test run's own.
std::string scratchPath(const std::string& name);

}  // namespace Kvex::Support
