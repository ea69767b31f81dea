#include "library/PackedText.h"

namespace Kvex::Lib {

std::string dottedAddress(std::uint32_t address) {
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) {
    if (shift > 0) text += '.';
    text += std::to_string(address >> shift & 0xFF);
  }
  return text;
}

std::string packedCharacters(std::uint64_t packed) {
  std::string text;
  for (; (packed & 0xFF) != 0; packed >>= 8) {
    const auto byte = static_cast<std::uint8_t>(packed);
    text += byte >= 32 && byte <= 126 ? static_cast<char>(byte) : '?';
  }
  return text;
}

}  // namespace Kvex::Lib
