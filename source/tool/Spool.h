#pragma once

#include <cstdio>
#include <memory>
#include <string_view>

#include "tool/Output.h"

namespace Kvex::Tool {

/// Text that is to come later in an output than it is made: in a nameless temporary file, so that no more of it is held
/// in memory than a buffer.
class Spool {
 public:
  void write(std::string_view text);
  /// Writes all of it to an output, and is empty again.
  void moveTo(Output& output);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::unique_ptr<std::FILE, Close> file_;
  std::size_t size_ = 0;
};

}  // namespace Kvex::Tool
