#pragma once

#include <string_view>

namespace Kvex {

/// "1.0.0": the version of the library that the program is linked with.
std::string_view version();

}  // namespace Kvex
