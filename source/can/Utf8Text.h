#pragma once

#include <string>
#include <string_view>

namespace Kvex::Can {

/// A database's text as UTF-8. Databases come in UTF-8 or in Latin-1 without saying so: bytes that are not valid UTF-8
/// are taken as Latin-1 characters.
std::string utf8Text(std::string_view bytes);

}  // namespace Kvex::Can
