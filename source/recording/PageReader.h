#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ogg/ogg.h>
#include <vector>

#include "library/ByteView.h"
#include "library/InputFile.h"
#include "recording/PageParser.h"

namespace Kvex::Com {

/// What stood between the pages of a recording.
struct GapCounters {
  std::uint64_t skippedBytes = 0;  ///< Bytes that belong to no good page.
  std::uint64_t skippedRuns = 0;

  bool operator==(const GapCounters&) const = default;
};

/// Reads a recording block by block and hands out its pages where they lie, as libogg would find them. What a logical
/// stream sees depends on which pages have arrived when its packets are taken, so the blocks are kept to exactly; the
/// bytes of the next blocks are read ahead in one larger piece.
class PageReader {
 public:
  /// Back to the start of the file.
  void restart() {
    begin_ = end_ = filled_ = 0;
    position_ = 0;
    gaps_ = {};
    inGap_ = false;
  }

  /// Takes in one block of `blockSize` bytes (fewer at the end of the file) and calls `visitor(const ogg_page&)` for
  /// each page that is now complete. The pages last until the next block is taken in. False at the end of the file.
  template <class Visitor>
  bool readBlock(const Lib::InputFile& file, std::size_t blockSize, Visitor&& visitor) {
    if (!takeBlock(file, blockSize)) return false;
    ogg_page page;
    for (;;) {
      const Lib::ByteView bytes(buffer_.data() + begin_, end_ - begin_);
      const PageFound found = parsePage(bytes, page);
      if (found == PageFound::Begun) return true;
      if (found == PageFound::Whole) {
        inGap_ = false;
        begin_ += static_cast<std::size_t>(page.header_len + page.body_len);
        visitor(page);
      } else {
        skip(bytes);
      }
    }
  }

  /// Offset in the file up to which blocks have been taken in.
  std::int64_t position() const { return position_; }
  const GapCounters& gaps() const { return gaps_; }
  /// Bytes at hand that are no whole page: at the end of the file, those of a page cut off.
  std::uint64_t pendingBytes() const { return end_ - begin_; }

 private:
  static constexpr std::size_t kReadAhead = 0x10000;

  bool takeBlock(const Lib::InputFile& file, std::size_t blockSize) {
    if (end_ == filled_) readAhead(file);
    const std::size_t taken = std::min(blockSize, filled_ - end_);
    end_ += taken;
    position_ += static_cast<std::int64_t>(taken);
    return taken > 0;
  }

  /// What is pending is less than a page.
  void readAhead(const Lib::InputFile& file) {
    buffer_.resize(kLargestPage + kReadAhead);
    const std::size_t pending = end_ - begin_;
    std::memmove(buffer_.data(), buffer_.data() + begin_, pending);
    begin_ = 0;
    end_ = pending;
    filled_ = pending + file.readAt(position_, buffer_.data() + pending, kReadAhead);
  }

  /// Passes to the next place at which a page may begin.
  void skip(Lib::ByteView bytes) {
    const void* next = std::memchr(bytes.data() + 1, 'O', bytes.size() - 1);
    const std::size_t skipped = next == nullptr
                                    ? bytes.size()
                                    : static_cast<std::size_t>(static_cast<const std::uint8_t*>(next) - bytes.data());
    begin_ += skipped;
    gaps_.skippedBytes += skipped;
    if (!inGap_) ++gaps_.skippedRuns;
    inGap_ = true;
  }

  std::vector<std::uint8_t> buffer_;
  std::size_t begin_ = 0;   ///< In the buffer: the first byte that belongs to no page found so far.
  std::size_t end_ = 0;     ///< The end of the blocks taken in.
  std::size_t filled_ = 0;  ///< The end of the bytes read ahead.
  std::int64_t position_ = 0;
  GapCounters gaps_;
  bool inGap_ = false;
};

}  // namespace Kvex::Com
