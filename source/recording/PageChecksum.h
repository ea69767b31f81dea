#pragma once

#include <cstdint>

#include "library/ByteView.h"

namespace Kvex::Com {

/// The checksum of an Ogg page goes on from `sum` over some bytes: a CRC of 32 bits with the polynomial 0x04C11DB7, the
/// highest bit first, begun with 0 and not inverted.
///
/// Where the processor multiplies without carries, 64 bytes are folded at a time, otherwise 16 are looked up at a time;
/// the sums are the same. See V. Gopal et al., "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ".
std::uint32_t pageChecksum(Lib::ByteView bytes, std::uint32_t sum = 0);

/// The same by tables only.
std::uint32_t pageChecksumByTables(Lib::ByteView bytes, std::uint32_t sum = 0);

}  // namespace Kvex::Com
