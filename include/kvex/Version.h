#pragma once

#include <string_view>

namespace Kvex {

/// "1.0.0": the version of the library that the program is linked with.
std::string_view version();

/// "g++ 12.2.0, Release, commit 1a2b3c4": what the library was built with and of which commit, if that is known.
std::string_view build();

}  // namespace Kvex
