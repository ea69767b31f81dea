#pragma once

#include <cstdint>
#include <string>

namespace Kvex::Lib {

/// "192.168.0.1": the four bytes of an address in decimal, the lowest byte first.
std::string dottedAddress(std::uint32_t address);

/// The up to eight characters of a packed text, lowest byte first, ending before the first zero byte. A byte outside
/// printable ASCII (32 to 126) reads "?".
std::string packedCharacters(std::uint64_t packed);

}  // namespace Kvex::Lib
