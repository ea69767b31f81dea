#include "tool/OpenedFile.h"

#include <fmt/format.h>

#include "tool/Text.h"

namespace Kvex::Tool {

OpenedFile::OpenedFile(const std::string& path) : file(path, {.progress = progress.callback(), .stop = stop.token()}) {
  progress.clear();
}

ReadOptions OpenedFile::watched() {
  return {.progress = progress.callback(), .stop = stop.token()};
}

VrelExit OpenedFile::exit() const {
  return file.damage().lost() ? VrelExit::Damaged : VrelExit::Good;
}

void OpenedFile::warnOfDamage() const {
  if (!file.damage().lost()) return;
  fmt::print(stderr, "vrel: warning: data in \"{}\" was damaged or lost; \"vrel check\" says what\n",
             printable(file.path()));
}

}  // namespace Kvex::Tool
