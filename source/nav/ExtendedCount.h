#pragma once

#include <cstdint>

namespace Kvex::Nav {

// The unit sends only the low bits of its running counts; a field holds the whole count.

/// The whole count after `previous` whose low 16 bits are `raw`.
constexpr std::uint32_t extend16(std::uint16_t raw, std::uint32_t previous) {
  const std::uint32_t count = (previous & 0xFFFF0000U) + raw;
  return (previous & 0xFFFFU) > raw ? count + 0x10000U : count;
}

/// The whole count after `previous` whose low 8 bits are `raw`.
constexpr std::uint32_t extend8(std::uint8_t raw, std::uint32_t previous) {
  const std::uint32_t count = (previous & 0xFFFFFF00U) + raw;
  return (previous & 0xFFU) > raw ? count + 0x100U : count;
}

}  // namespace Kvex::Nav
