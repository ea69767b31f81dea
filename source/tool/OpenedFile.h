#pragma once

#include <kvex/File.h>
#include <string>

#include "tool/Failure.h"
#include "tool/Interrupt.h"
#include "tool/ProgressBar.h"

namespace Kvex::Tool {

/// A file that is opened with a progress bar meanwhile. An interrupt stops what is done with its stop token.
class OpenedFile {
 public:
  /// Throws what `File` throws.
  explicit OpenedFile(const std::string& path);

  /// `Damaged` for a file that is judged so, else `Good`: all that was written to one that was not closed is there.
  VrelExit exit() const;
  /// Says on standard error that the file is damaged or was not closed, if so.
  void tellJudgement() const;

  /// Options of a reading that shows how far it is, for as long as this stands, that an interrupt stops, and that may
  /// use two cores.
  ReadOptions watched();

  StopOnInterrupt stop;
  ProgressBar progress;
  File file;
};

}  // namespace Kvex::Tool
