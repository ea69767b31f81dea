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

  /// `Damaged` if data was lost, else `Good`.
  VrelExit exit() const;
  /// Says on standard error that data was lost, if it was.
  void warnOfDamage() const;

  /// Options of a reading that shows how far it is, for as long as this stands, and that an interrupt stops.
  ReadOptions watched();

  StopOnInterrupt stop;
  ProgressBar progress;
  File file;
};

}  // namespace Kvex::Tool
