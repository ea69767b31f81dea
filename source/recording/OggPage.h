#pragma once

#include <cstddef>
#include <cstdint>
#include <ogg/ogg.h>
#include <span>
#include <string>
#include <vector>

namespace Kvex::Com {

/// Bits of a page's header type byte.
struct PageFlag {
  static constexpr std::uint8_t kContinued = 0x01;  ///< Opens with the rest of a packet.
  static constexpr std::uint8_t kBos = 0x02;        ///< First page of a logical stream, or opens a repeat block.
  static constexpr std::uint8_t kEos = 0x04;        ///< Last page of a logical stream.
  static constexpr std::uint8_t kMarked = 0x08;     ///< Outside the format; readers count it.
};

/// A page to be built by hand, where libogg would not build such a one.
struct PageForm {
  std::uint8_t flags = 0;
  std::uint32_t serial = 0;
  std::uint32_t number = 0;
  std::vector<std::string> packets;  ///< One after the other; all together at most 255 segments.
  /// The last packet goes on in the next page. Its length must then be a multiple of 255.
  bool lastGoesOn = false;
};

/// The bytes of a page, with a good checksum. Throws `std::length_error` where the packets take too many segments.
std::string makePage(const PageForm& form);

/// The page whose bytes these are, as libogg sees it. REQUIRES: the bytes of exactly one page.
ogg_page pageView(std::span<std::uint8_t> bytes);

/// Sets the checksum of one page. REQUIRES: the bytes of exactly one page, by its segment table.
void repairChecksum(std::span<std::uint8_t> page);

/// The pages that are found whole in a recording, by capture pattern and segment table; the checksums do not count.
std::vector<std::span<std::uint8_t>> findPages(std::span<std::uint8_t> recording);

/// Sets the checksum of every page that is found whole in a recording; what lies between the pages stays as it is.
void repairChecksums(std::span<std::uint8_t> recording);

/// The bytes of a text.
inline std::span<std::uint8_t> bytesOf(std::string& text) {
  return {reinterpret_cast<std::uint8_t*>(text.data()), text.size()};
}
inline std::span<const std::uint8_t> bytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace Kvex::Com
