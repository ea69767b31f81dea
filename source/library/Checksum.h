#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Kvex::Lib {

/// The sum of `count` bytes modulo 256: the check byte of navigation and range packets.
/// Eight bytes are added at a time, in four 16-bit lanes that even together cannot overflow within one round.
inline std::uint8_t byteSum(const std::uint8_t* bytes, std::size_t count) {
  constexpr std::uint64_t kEvenBytes = 0x00FF00FF00FF00FF;
  constexpr std::size_t kWordsPerRound = 32;  // 32 words of 2 x 255 in each of four lanes stay below 65536
  std::uint64_t total = 0;
  while (count >= 8) {
    std::uint64_t lanes = 0;
    for (std::size_t words = 0; words < kWordsPerRound && count >= 8; ++words, bytes += 8, count -= 8) {
      std::uint64_t word;
      std::memcpy(&word, bytes, sizeof word);
      lanes += (word & kEvenBytes) + ((word >> 8) & kEvenBytes);
    }
    total += (lanes * 0x0001000100010001) >> 48;  // adds the lanes up
  }
  for (; count > 0; --count) total += *bytes++;
  return static_cast<std::uint8_t>(total);
}

}  // namespace Kvex::Lib
