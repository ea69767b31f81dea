#include "recording/PageParser.h"

#include <cstring>
#include <numeric>

#include "recording/PageChecksum.h"

namespace Kvex::Com {

namespace {

constexpr char kCapture[] = {'O', 'g', 'g', 'S'};
constexpr std::size_t kChecksumOffset = 22;
constexpr std::size_t kChecksumSize = 4;

/// The checksum of a page holds for it with the checksum's own bytes 0.
bool checksumHolds(Lib::ByteView page) {
  constexpr std::uint8_t kZeros[kChecksumSize] = {};
  const std::uint32_t before = pageChecksum({page.data(), kChecksumOffset});
  const std::uint32_t sum =
      pageChecksum(page.from(kChecksumOffset + kChecksumSize), pageChecksum({kZeros, kChecksumSize}, before));
  return sum == page.u32(kChecksumOffset);
}

}  // namespace

std::size_t pageSize(Lib::ByteView header) {
  const std::size_t headerSize = kPageHeaderSize + header.u8(kPageHeaderSize - 1);
  return std::accumulate(header.data() + kPageHeaderSize, header.data() + headerSize, headerSize);
}

PageFound parsePage(Lib::ByteView bytes, ogg_page& page) {
  if (bytes.size() < kPageHeaderSize) return PageFound::Begun;
  if (std::memcmp(bytes.data(), kCapture, sizeof kCapture) != 0) return PageFound::None;
  const std::size_t headerSize = kPageHeaderSize + bytes.u8(kPageHeaderSize - 1);
  if (bytes.size() < headerSize) return PageFound::Begun;
  const std::size_t size = pageSize(bytes);
  if (bytes.size() < size) return PageFound::Begun;
  if (!checksumHolds({bytes.data(), size})) return PageFound::None;
  // libogg only reads pages, it just does not say so in its types.
  auto* const header = const_cast<std::uint8_t*>(bytes.data());
  page = {.header = header,
          .header_len = static_cast<long>(headerSize),
          .body = header + headerSize,
          .body_len = static_cast<long>(size - headerSize)};
  return PageFound::Whole;
}

}  // namespace Kvex::Com
