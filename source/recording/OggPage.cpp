#include "recording/OggPage.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string_view>

namespace Kvex::Com {

namespace {

constexpr std::string_view kCapturePattern = "OggS";
constexpr std::size_t kHeaderSize = 27;  // up to the segment table
constexpr std::size_t kSegmentCountOffset = 26;
constexpr std::size_t kMaxSegments = 255;
constexpr std::uint8_t kFullSegment = 255;

void appendWord(std::string& out, std::uint32_t word) {
  for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(word >> shift & 0xFF);
}

/// Length of the page that starts here, by its segment table; 0 where none does or it is not whole.
std::size_t pageLength(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kHeaderSize || !std::equal(kCapturePattern.begin(), kCapturePattern.end(), bytes.begin()))
    return 0;
  const std::size_t headerLength = kHeaderSize + bytes[kSegmentCountOffset];
  if (bytes.size() < headerLength) return 0;
  const auto segments = bytes.subspan(kHeaderSize, bytes[kSegmentCountOffset]);
  const std::size_t length = std::accumulate(segments.begin(), segments.end(), headerLength);
  return length <= bytes.size() ? length : 0;
}

}  // namespace

std::string makePage(const PageForm& form) {
  std::string segments;
  std::string body;
  for (const std::string& packet : form.packets) {
    segments.append(packet.size() / kFullSegment, static_cast<char>(kFullSegment));
    const bool goesOn = form.lastGoesOn && &packet == &form.packets.back();
    if (!goesOn) segments += static_cast<char>(packet.size() % kFullSegment);
    body += packet;
  }
  if (segments.size() > kMaxSegments) throw std::length_error("a page holds 255 segments");

  std::string page(kCapturePattern);
  page += '\0';  // version
  page += static_cast<char>(form.flags);
  page.append(8, '\0');  // granule position
  appendWord(page, form.serial);
  appendWord(page, form.number);
  appendWord(page, 0);  // checksum
  page += static_cast<char>(segments.size());
  page += segments;
  page += body;
  repairChecksum(bytesOf(page));
  return page;
}

ogg_page pageView(std::span<std::uint8_t> bytes) {
  const std::size_t headerLength = kHeaderSize + bytes[kSegmentCountOffset];
  return {.header = bytes.data(),
          .header_len = static_cast<long>(headerLength),
          .body = bytes.data() + headerLength,
          .body_len = static_cast<long>(bytes.size() - headerLength)};
}

void repairChecksum(std::span<std::uint8_t> page) {
  ogg_page view = pageView(page);
  ogg_page_checksum_set(&view);
}

std::vector<std::span<std::uint8_t>> findPages(std::span<std::uint8_t> recording) {
  std::vector<std::span<std::uint8_t>> pages;
  while (!recording.empty()) {
    const std::size_t length = pageLength(recording);
    if (length > 0) pages.push_back(recording.first(length));
    recording = recording.subspan(std::max<std::size_t>(length, 1));
  }
  return pages;
}

void repairChecksums(std::span<std::uint8_t> recording) {
  for (const std::span<std::uint8_t> page : findPages(recording)) repairChecksum(page);
}

}  // namespace Kvex::Com
