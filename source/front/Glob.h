#pragma once

#include <string_view>

namespace Kvex::Front {

/// Whether a name is what a pattern describes: "*" stands for any characters, "?" for one character, "[a-c]" for one of
/// these and "[!a-c]" for one that is none of these; anything else for itself. A bracket without its end stands for
/// itself too. A name that is the pattern itself, character by character, matches as well. Case counts. The time taken
/// grows with the product of both lengths at the worst.
bool globMatches(std::string_view pattern, std::string_view name);

}  // namespace Kvex::Front
