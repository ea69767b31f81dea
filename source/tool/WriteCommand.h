#pragma once

#include <CLI/CLI.hpp>
#include <kvex/Writing.h>
#include <string>

#include "tool/Interrupt.h"
#include "tool/ProgressBar.h"

namespace Kvex::Tool {

/// What all commands have that write a recording: where to, and whether a recording in its place may be replaced.
struct WriteTarget {
  std::string output;
  bool force = false;
};

/// Adds -o and --force.
void addWriteTarget(CLI::App& command, WriteTarget& target);

/// A writing that shows how far it is, and that an interrupt stops.
class WatchedWriting {
 public:
  /// Refuses to replace a recording without --force.
  explicit WatchedWriting(const WriteTarget& target);

  void applyTo(WriteOptions& options);
  void done() { progress_.clear(); }

 private:
  const WriteTarget& target_;
  StopOnInterrupt stop_;
  ProgressBar progress_;
};

}  // namespace Kvex::Tool
