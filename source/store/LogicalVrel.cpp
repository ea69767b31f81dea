#include "store/LogicalVrel.h"

#include <algorithm>
#include <cstring>

namespace Kvex::Sto {

namespace {

constexpr std::size_t kWindowSize = 0x10000;
static_assert(kWindowSize >= Com::kLargestPage, "a window holds the largest page");

constexpr std::size_t kSerialOffset = 14;

constexpr auto kStay = Com::VrelStreamDec::PageBytes::Stay;

}  // namespace

void LogicalVrel::rewind() {
  reader_.restart();
  pages_.rewind();
  hopOffset_ = 0;
}

bool LogicalVrel::next(Lib::ByteView& packet) {
  for (;;) {
    const int result = pages_.takePacket(packet);
    if (result > 0) return true;
    if (result == 0 && !readMore()) return false;
  }
}

bool LogicalVrel::readMore() {
  return hops_ ? hopBlock() : readBlock();
}

bool LogicalVrel::readBlock() {
  return reader_.readBlock(file_, kRecordingBlock, [&](const ogg_page& page) {
    if (static_cast<std::uint32_t>(ogg_page_serialno(&page)) == pages_.serial()) pages_.addPage(page, kStay);
  });
}

bool LogicalVrel::hopBlock() {
  std::int64_t block = -1;  // the block in which the pages taken so far end
  for (;;) {
    Lib::ByteView header = peek(hopOffset_, Com::kPageHeaderSize);
    header = peek(hopOffset_, Com::kPageHeaderSize + header.u8(Com::kPageHeaderSize - 1));
    if (header.empty()) return block >= 0;
    const std::size_t size = Com::pageSize(header);
    if (header.u32(kSerialOffset) == pages_.serial()) {
      const std::int64_t endBlock =
          (hopOffset_ + static_cast<std::int64_t>(size) - 1) / static_cast<std::int64_t>(kRecordingBlock);
      if (block >= 0 && endBlock != block) return true;
      ogg_page page;
      if (Com::parsePage(peek(hopOffset_, size), page) != Com::PageFound::Whole) {
        return block >= 0;  // the file has changed since the scan: the data ends here
      }
      pages_.addPage(page, kStay);
      block = endBlock;
    }
    hopOffset_ += static_cast<std::int64_t>(size);
  }
}

Lib::ByteView LogicalVrel::peek(std::int64_t offset, std::size_t count) {
  const bool inside = offset >= windowOffset_ && offset + static_cast<std::int64_t>(count) <=
                                                     windowOffset_ + static_cast<std::int64_t>(windowSize_);
  if (!inside || !file_.isOpen()) {
    pages_.keepData();
    window_.resize(kWindowSize);
    windowOffset_ = offset;
    windowSize_ = file_.readAt(offset, window_.data(), kWindowSize);
    if (windowSize_ < count) return {};
  }
  return {window_.data() + (offset - windowOffset_), count};
}

}  // namespace Kvex::Sto
