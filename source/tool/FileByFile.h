#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tool/Failure.h"

namespace Kvex::Tool {

/// What became of many files.
struct FilesDone {
  std::size_t files = 0;
  std::size_t damaged = 0;
  std::size_t failed = 0;

  /// The worst of all: a file that failed, then one that is damaged.
  VrelExit exit() const;
};

/// Does something with file after file. One that fails is told of on standard error and does not keep the others from
/// being done; an interrupt does. Where there is but one file, its failure is thrown.
FilesDone doEach(const std::vector<std::string>& files, const std::function<VrelExit(const std::string& file)>& doOne);

}  // namespace Kvex::Tool
