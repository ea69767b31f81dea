#pragma once

#include <string>

namespace Kvex {

/// Whether a file is by its content, and not by its name, a recording or a bare protocol file: what a program should
/// not replace without being told to. False where there is no file that can be read.
bool holdsRecording(const std::string& path);

}  // namespace Kvex
