#include "store/LogicalVrel.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace Kvex::Sto {

namespace {

constexpr std::size_t kWindowSize = 0x10000;
static_assert(kWindowSize >= 27 + 255 + 255 * 255, "a window holds the largest page");

/// The fixed part of a page header, up to and with the count of segments; the sizes of the segments follow it.
constexpr std::size_t kPageHeaderSize = 27;

}  // namespace

void LogicalVrel::rewind() {
  reader_.restart();
  pages_.rewind();
  hopOffset_ = 0;
}

bool LogicalVrel::next(Lib::ByteView& packet) {
  ogg_packet taken;
  for (;;) {
    const int result = pages_.takePacket(taken);
    if (result > 0) {
      packet = {taken.packet, static_cast<std::size_t>(taken.bytes)};
      return true;
    }
    if (result == 0 && !readMore()) return false;
  }
}

bool LogicalVrel::readMore() {
  return hops_ ? hopBlock() : readBlock();
}

bool LogicalVrel::readBlock() {
  return reader_.readBlock(file_, kRecordingBlock, [&](const ogg_page& page) {
    if (static_cast<std::uint32_t>(ogg_page_serialno(&page)) == pages_.serial()) pages_.addPage(page);
  });
}

bool LogicalVrel::hopBlock() {
  std::int64_t block = -1;  // the block in which the pages taken so far end
  for (;;) {
    const std::uint8_t* header = peek(hopOffset_, kPageHeaderSize);
    if (header == nullptr) return block >= 0;
    const std::size_t segments = header[kPageHeaderSize - 1];
    header = peek(hopOffset_, kPageHeaderSize + segments);
    if (header == nullptr) return block >= 0;
    const Lib::ByteView fields(header, kPageHeaderSize + segments);
    const std::size_t pageSize = std::accumulate(header + kPageHeaderSize, header + fields.size(), fields.size());
    if (fields.u32(14) == pages_.serial()) {
      const std::int64_t endBlock =
          (hopOffset_ + static_cast<std::int64_t>(pageSize) - 1) / static_cast<std::int64_t>(kRecordingBlock);
      if (block >= 0 && endBlock != block) return true;
      const std::uint8_t* page = peek(hopOffset_, pageSize);
      if (page == nullptr || !reader_.checkPage({page, pageSize}, [&](const ogg_page& own) { pages_.addPage(own); })) {
        return block >= 0;  // the file has changed since the scan: the data ends here
      }
      block = endBlock;
    }
    hopOffset_ += static_cast<std::int64_t>(pageSize);
  }
}

const std::uint8_t* LogicalVrel::peek(std::int64_t offset, std::size_t count) {
  const bool inside = offset >= windowOffset_ && offset + static_cast<std::int64_t>(count) <=
                                                     windowOffset_ + static_cast<std::int64_t>(windowSize_);
  if (!inside || !file_.isOpen()) {
    window_.resize(kWindowSize);
    windowOffset_ = offset;
    windowSize_ = file_.readAt(offset, window_.data(), kWindowSize);
    if (windowSize_ < count) return nullptr;
  }
  return window_.data() + (offset - windowOffset_);
}

}  // namespace Kvex::Sto
