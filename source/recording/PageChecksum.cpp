#include "recording/PageChecksum.h"

#include <array>
#include <bit>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace Kvex::Com {

namespace {

constexpr std::uint32_t kPolynomial = 0x04C11DB7;

/// A polynomial of degree below 32, times x, modulo `kPolynomial`.
constexpr std::uint32_t timesX(std::uint32_t value) {
  return (value << 1) ^ ((value >> 31) != 0 ? kPolynomial : 0);
}

constexpr std::size_t kTables = 16;
using Tables = std::array<std::array<std::uint32_t, 256>, kTables>;

/// Table N has what a byte becomes that N more bytes follow.
constexpr Tables makeTables() {
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t sum = byte << 24;
    for (int bit = 0; bit < 8; ++bit) sum = timesX(sum);
    tables[0][byte] = sum;
  }
  for (std::size_t table = 1; table < kTables; ++table) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t before = tables[table - 1][byte];
      tables[table][byte] = (before << 8) ^ tables[0][before >> 24];
    }
  }
  return tables;
}

constexpr Tables kTable = makeTables();

std::uint32_t highestFirst(const std::uint8_t* bytes) {
  std::uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return __builtin_bswap32(word);
}

std::uint32_t foldByTables(const std::uint8_t* bytes, std::size_t count, std::uint32_t sum) {
  for (; count >= kTables; bytes += kTables, count -= kTables) {
    std::uint32_t next = 0;
    for (std::size_t word = 0; word < kTables / 4; ++word) {
      const std::uint32_t value = highestFirst(bytes + 4 * word) ^ (word == 0 ? sum : 0);
      const std::size_t table = kTables - 1 - 4 * word;
      next ^= kTable[table][value >> 24] ^ kTable[table - 1][value >> 16 & 0xFF] ^
              kTable[table - 2][value >> 8 & 0xFF] ^ kTable[table - 3][value & 0xFF];
    }
    sum = next;
  }
  for (; count > 0; ++bytes, --count) sum = (sum << 8) ^ kTable[0][(sum >> 24) ^ *bytes];
  return sum;
}

#if defined(__x86_64__)

constexpr std::size_t kLane = 16;
constexpr std::size_t kLanes = 4;

/// x to a power, modulo `kPolynomial`.
constexpr std::uint32_t powerOfX(unsigned power) {
  std::uint32_t value = 1;
  for (; power > 0; --power) value = timesX(value);
  return value;
}

/// Takes a lane forward by `kBits`: its upper and lower half are multiplied by what x^(kBits + 64) and x^kBits leave.
template <unsigned kBits>
__attribute__((target("pclmul,ssse3"))) inline __m128i forward(__m128i lane) {
  const __m128i factors = _mm_set_epi64x(powerOfX(kBits + 64), powerOfX(kBits));
  return _mm_xor_si128(_mm_clmulepi64_si128(lane, factors, 0x11), _mm_clmulepi64_si128(lane, factors, 0x00));
}

/// A lane with the first byte highest.
__attribute__((target("pclmul,ssse3"))) inline __m128i loadLane(const std::uint8_t* bytes) {
  const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), reversed);
}

/// REQUIRES: at least `kLanes` lanes.
__attribute__((target("pclmul,ssse3"))) std::uint32_t foldByLanes(const std::uint8_t* bytes, std::size_t count,
                                                                  std::uint32_t sum) {
  constexpr unsigned kLaneBits = 8 * kLane;
  __m128i lanes[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = loadLane(bytes + i * kLane);
  lanes[0] = _mm_xor_si128(lanes[0], _mm_set_epi32(static_cast<int>(sum), 0, 0, 0));
  for (bytes += kLanes * kLane, count -= kLanes * kLane; count >= kLanes * kLane;
       bytes += kLanes * kLane, count -= kLanes * kLane) {
    for (std::size_t i = 0; i < kLanes; ++i) {
      lanes[i] = _mm_xor_si128(forward<kLanes * kLaneBits>(lanes[i]), loadLane(bytes + i * kLane));
    }
  }
  __m128i all = lanes[0];
  for (std::size_t i = 1; i < kLanes; ++i) all = _mm_xor_si128(forward<kLaneBits>(all), lanes[i]);
  for (; count >= kLane; bytes += kLane, count -= kLane) {
    all = _mm_xor_si128(forward<kLaneBits>(all), loadLane(bytes));
  }
  // What is left is a message of one lane, with the same sum as all bytes before.
  std::uint64_t halves[2];
  std::memcpy(halves, &all, sizeof halves);
  const std::uint64_t message[2] = {__builtin_bswap64(halves[1]), __builtin_bswap64(halves[0])};
  return foldByTables(bytes, count, foldByTables(reinterpret_cast<const std::uint8_t*>(message), sizeof message, 0));
}

bool multipliesWithoutCarries() {
  return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("ssse3") != 0;
}

#endif

}  // namespace

std::uint32_t pageChecksumByTables(Lib::ByteView bytes, std::uint32_t sum) {
  return foldByTables(bytes.data(), bytes.size(), sum);
}

std::uint32_t pageChecksum(Lib::ByteView bytes, std::uint32_t sum) {
#if defined(__x86_64__)
  static const bool kByLanes = multipliesWithoutCarries();
  if (kByLanes && bytes.size() >= kLanes * kLane) return foldByLanes(bytes.data(), bytes.size(), sum);
#endif
  return pageChecksumByTables(bytes, sum);
}

}  // namespace Kvex::Com
