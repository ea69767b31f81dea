#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ogg/ogg.h>

#include "library/ByteView.h"
#include "library/InputFile.h"

namespace Kvex::Com {

/// What stood between the pages of a recording.
struct GapCounters {
  std::uint64_t skippedBytes = 0;  ///< Bytes that belong to no good page.
  std::uint64_t skippedRuns = 0;
};

/// Reads a recording block by block and hands out the pages that libogg finds. What a logical stream sees depends on
/// which pages have arrived when its packets are taken, so the blocks are kept to exactly; the bytes of the next blocks
/// are read ahead in one larger piece.
class PageReader {
 public:
  PageReader() { ogg_sync_init(&sync_); }
  ~PageReader() { ogg_sync_clear(&sync_); }
  PageReader(const PageReader&) = delete;
  PageReader& operator=(const PageReader&) = delete;

  /// Back to the start of the file.
  void restart() {
    ogg_sync_reset(&sync_);
    position_ = 0;
    readAhead_ = 0;
    gaps_ = {};
    inGap_ = false;
  }

  /// Takes in one block of `blockSize` bytes (fewer at the end of the file) and calls `visitor(ogg_page&)` for each
  /// page that is now complete. False at the end of the file.
  template <class Visitor>
  bool readBlock(const Lib::InputFile& file, std::size_t blockSize, Visitor&& visitor) {
    const std::size_t taken = takeBlock(file, blockSize);
    if (taken == 0) return false;
    ogg_page page;
    for (;;) {
      const long result = ogg_sync_pageseek(&sync_, &page);
      if (result == 0) return true;
      if (result > 0) {
        inGap_ = false;
        visitor(page);
      } else {
        noteGap(static_cast<std::uint64_t>(-result));
      }
    }
  }

  /// Checks the bytes of one page, and calls `visitor(ogg_page&)` if it is good. For a reader that finds the pages by
  /// itself; not to be mixed with `readBlock`.
  template <class Visitor>
  bool checkPage(Lib::ByteView bytes, Visitor&& visitor) {
    ogg_page page;
    char* buffer = ogg_sync_buffer(&sync_, static_cast<long>(bytes.size()));
    if (buffer == nullptr) return false;
    std::memcpy(buffer, bytes.data(), bytes.size());
    ogg_sync_wrote(&sync_, static_cast<long>(bytes.size()));
    if (ogg_sync_pageseek(&sync_, &page) != static_cast<long>(bytes.size())) {
      ogg_sync_reset(&sync_);
      return false;
    }
    visitor(page);
    return true;
  }

  /// Offset in the file up to which blocks have been taken in.
  std::int64_t position() const { return position_; }
  const GapCounters& gaps() const { return gaps_; }
  /// Bytes at hand that are no whole page: at the end of the file, those of a page cut off.
  std::uint64_t pendingBytes() const { return static_cast<std::uint64_t>(sync_.fill - sync_.returned); }

 private:
  static constexpr std::size_t kReadAhead = 0x10000;

  std::size_t takeBlock(const Lib::InputFile& file, std::size_t blockSize) {
    if (!file.isOpen()) return 0;
    if (readAhead_ == 0) {
      char* buffer = ogg_sync_buffer(&sync_, kReadAhead);
      if (buffer == nullptr) return 0;
      readAhead_ = file.readAt(position_, buffer, kReadAhead);
    }
    const std::size_t taken = std::min(blockSize, readAhead_);
    if (taken == 0 || ogg_sync_wrote(&sync_, static_cast<long>(taken)) != 0) return 0;
    readAhead_ -= taken;
    position_ += static_cast<std::int64_t>(taken);
    return taken;
  }

  void noteGap(std::uint64_t bytes) {
    gaps_.skippedBytes += bytes;
    if (!inGap_) ++gaps_.skippedRuns;
    inGap_ = true;
  }

  ogg_sync_state sync_;
  std::int64_t position_ = 0;
  std::size_t readAhead_ = 0;  ///< Bytes in libogg's buffer that it does not know of yet.
  GapCounters gaps_;
  bool inGap_ = false;
};

}  // namespace Kvex::Com
