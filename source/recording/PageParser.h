#pragma once

#include <cstdint>
#include <ogg/ogg.h>

#include "library/ByteView.h"

namespace Kvex::Com {

/// What stands at the beginning of some bytes of a recording.
enum class PageFound : std::uint8_t {
  None,   ///< No page.
  Begun,  ///< What may become a page with more bytes.
  Whole,  ///< A page whose checksum holds.
};

/// Looks for a page at the beginning of some bytes, by the rules of libogg. A page that was found lies in them, so that
/// it lasts as long as they do.
PageFound parsePage(Lib::ByteView bytes, ogg_page& page);

/// The fixed part of a page header, up to and with the count of segments; the sizes of the segments follow it.
inline constexpr std::size_t kPageHeaderSize = 27;
/// A page of 255 segments of 255 bytes.
inline constexpr std::size_t kLargestPage = kPageHeaderSize + 255 + 255 * 255;

/// Bytes of a page whose header and segment sizes are at hand.
std::size_t pageSize(Lib::ByteView header);

}  // namespace Kvex::Com
