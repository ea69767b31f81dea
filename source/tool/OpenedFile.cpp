#include "tool/OpenedFile.h"

#include "tool/Messages.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

/// Each takes memory, and commands stay small.
constexpr unsigned kThreads = 2;

}  // namespace

OpenedFile::OpenedFile(const std::string& path) : file(path, {.progress = progress.callback(), .stop = stop.token()}) {
  progress.clear();
}

ReadOptions OpenedFile::watched() {
  return {.progress = progress.callback(), .stop = stop.token(), .threads = kThreads};
}

VrelExit OpenedFile::exit() const {
  return file.judgement() == Judgement::Damaged ? VrelExit::Damaged : VrelExit::Good;
}

void OpenedFile::tellJudgement() const {
  const Judgement judgement = file.judgement();
  if (judgement == Judgement::OpenEnded) {
    say("vrel: note: \"{}\": {}", printable(file.path()), file.damage().sentence());
  }
  if (judgement == Judgement::Damaged) {
    say("vrel: warning: data in \"{}\" was damaged or lost; \"vrel check\" says what", printable(file.path()));
  }
}

}  // namespace Kvex::Tool
