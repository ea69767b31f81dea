#pragma once

#include <fmt/format.h>
#include <string_view>
#include <utility>

namespace Kvex::Tool {

/// Opens the null device in place of those of the descriptors 0 to 2 that are closed, so that no file that is opened
/// later takes their numbers and gets what is meant for them. To be called before anything is opened.
void openStandardDescriptors();

/// Writes to standard error. Whether that works does not matter to the command.
void sayRaw(std::string_view text);

/// Writes a line to standard error.
template <class... Args>
void say(fmt::format_string<Args...> format, Args&&... args) {
  sayRaw(fmt::format(format, std::forward<Args>(args)...) + '\n');
}

}  // namespace Kvex::Tool
