#pragma once

#include <cstdint>

namespace Kvex {

/// The bits of a value's flags.
namespace Flag {
inline constexpr std::uint8_t kExpired = 1;         ///< Together with `kNotAvailable`: not renewed in time.
inline constexpr std::uint8_t kProvisional = 2;     ///< The unit is not yet initialised, or a first-pass value.
inline constexpr std::uint8_t kLow = 4;             ///< The raw value stood at the low end of its range.
inline constexpr std::uint8_t kHigh = 8;            ///< The raw value stood at the high end of its range.
inline constexpr std::uint8_t kUntimed = 16;        ///< The stamp is no real time.
inline constexpr std::uint8_t kNoValue = 32;        ///< The device says that there is no value.
inline constexpr std::uint8_t kNotAvailable = 64;   ///< No value now; the old one stays in the field.
inline constexpr std::uint8_t kNeverWritten = 128;  ///< What a constructed field holds.
inline constexpr std::uint8_t kReset = kNotAvailable | kUntimed;  ///< What a reset field holds.
}  // namespace Flag

/// Whether a value with these flags can be used: a value without a real stamp (bit 16) still can.
constexpr bool usable(std::uint8_t flags) {
  return (flags & 0xEF) == 0;
}

}  // namespace Kvex
