#include "can/Utf8Text.h"

#include <cstdint>

namespace Kvex::Can {
namespace {

/// The lead bytes of one form of sequence, and the range of its second byte; further bytes are 80 to BF. The narrowed
/// second bytes keep out overlong forms, surrogates and what lies beyond the last code point.
struct Sequence {
  std::uint8_t leadLow, leadHigh;
  std::uint8_t length;
  std::uint8_t secondLow, secondHigh;
};

constexpr Sequence kSequences[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

/// The length of the valid sequence at the front of a text; 0 where there is none.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  for (const Sequence& form : kSequences) {
    if (byte(0) < form.leadLow || byte(0) > form.leadHigh) continue;
    if (text.size() < form.length) return 0;
    if (form.length > 1 && (byte(1) < form.secondLow || byte(1) > form.secondHigh)) return 0;
    for (std::size_t index = 2; index < form.length; ++index) {
      if ((byte(index) & 0xC0) != 0x80) return 0;
    }
    return form.length;
  }
  return 0;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

std::string utf8Text(std::string_view bytes) {
  if (isUtf8(bytes)) return std::string(bytes);
  std::string text;
  for (const char c : bytes) {
    const auto character = static_cast<std::uint8_t>(c);
    if (character < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | character >> 6);
      text += static_cast<char>(0x80 | (character & 0x3F));
    }
  }
  return text;
}

}  // namespace Kvex::Can
