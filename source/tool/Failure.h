#pragma once

#include <kvex/Error.h>
#include <stdexcept>
#include <string>

namespace Kvex::Tool {

/// Exit codes of `vrel`.
enum class VrelExit : int {
  Good = 0,
  Failed = 1,
  WrongUsage = 2,
  Damaged = 3,  ///< Done, but data in the file was damaged or lost.
};

/// Ends a command with a message for standard error, or without one if it is empty.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, VrelExit exitCode = VrelExit::Failed)
      : std::runtime_error(message), exit(exitCode) {}

  const VrelExit exit;
};

/// The command was interrupted by the user.
class Interrupted : public Failure {
 public:
  Interrupted() : Failure("interrupted") {}
};

/// An error of the library as a command puts it: the file is named where it could not be opened, and else known.
Failure failureFrom(const Error& error);

}  // namespace Kvex::Tool
