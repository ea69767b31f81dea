#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "library/ByteView.h"
#include "library/Checksum.h"
#include "library/InputFile.h"

namespace Kvex::Sto {

/// What stands at a place in a bare protocol file.
struct Frame {
  enum class State : std::uint8_t {
    Good,     ///< A whole packet with a right check byte.
    Partial,  ///< Perhaps a packet, but its end is not in sight.
    Failed,   ///< No packet starts here.
  };
  State state = State::Failed;
  std::uint32_t type = 0;
  std::uint32_t size = 0;
};

/// A packet whose last byte is the sum of all bytes between it and the first one.
inline Frame summedFrame(const std::uint8_t* bytes, std::size_t available, std::uint32_t type, std::uint32_t size) {
  if (available < size) return {Frame::State::Partial, type, size};
  const bool good = Lib::byteSum(bytes + 1, size - 2) == bytes[size - 1];
  return {good ? Frame::State::Good : Frame::State::Failed, type, size};
}

/// Whether a good packet stands anywhere in these bytes: a column of a codec's row.
template <class Framing>
bool holdsPacket(Lib::ByteView bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (Framing::inspect(bytes.data() + at, bytes.size() - at).state == Frame::State::Good) return true;
  }
  return false;
}

/// What a scanner met.
struct ScanCounters {
  std::uint64_t junkBytes = 0;  ///< Dropped without being a packet; a lead-in ahead of the first packet is none.
  std::uint64_t lostSyncs = 0;  ///< Times that the search had to drop bytes.
  std::uint64_t packets = 0;
};

/// The window through which a file is searched, in bytes: a larger packet could never be seen whole.
inline constexpr std::uint32_t kScanWindow = 2560;

/// Finds packets in a bare protocol file. `Framing` is the protocol's: `static Frame inspect(bytes, available)` says
/// what stands at a place. The search sees the file through a window of 2560 bytes that grows by at most 2048 bytes at
/// a time; where a damaged file resumes depends on that window, so it is kept to exactly. The bytes behind the window
/// are read ahead in larger pieces and never move while a packet is looked at.
template <class Framing>
class PacketScanner {
 public:
  /// Back to `start`, an offset in the file, with all counters cleared.
  void restart(std::int64_t start) {
    start_ = start;
    head_ = filled_ = 0;
    windowSize_ = consume_ = 0;
    headPosition_ = 0;
    hasPacket_ = false;
    synced_ = true;
    counters_ = {};
  }

  /// Goes to the next packet. False at the end of the file.
  bool next(const Lib::InputFile& file) {
    for (;;) {
      if (hasPacket_) drop(consume_);
      std::uint32_t skipped = 0;
      const Frame frame = search(skipped);
      if (skipped > 0) {
        drop(skipped);
        ++counters_.lostSyncs;
      }
      if (frame.state == Frame::State::Good) {
        frame_ = frame;
        consume_ = frame.size;
        hasPacket_ = true;
        if (++counters_.packets == 1) counters_.junkBytes = counters_.lostSyncs = 0;
        return true;
      }
      if (frame.state == Frame::State::Partial && !growWindow(file)) return false;
    }
  }

  /// The packet; valid until the next call of `next`.
  Lib::ByteView packet() const { return {buffer_.data() + head_, frame_.size}; }
  std::uint32_t type() const { return frame_.type; }
  /// Offset of the packet in the file.
  std::int64_t packetOffset() const { return start_ + headPosition_; }
  /// Offset in the file up to which bytes have been taken in.
  std::int64_t filePosition() const { return start_ + headPosition_ + windowSize_; }
  /// Bytes in the window: after the last packet, what is left of one cut off by the end of the file.
  std::uint32_t pendingBytes() const { return windowSize_; }
  const ScanCounters& counters() const { return counters_; }

 private:
  static constexpr std::uint32_t kMaxRead = 2048;
  static constexpr std::size_t kBufferSize = 0x10000;

  Frame search(std::uint32_t& skipped) {
    const std::uint8_t* const window = buffer_.data() + head_;
    for (;; ++skipped) {
      const Frame frame = Framing::inspect(window + skipped, windowSize_ - skipped);
      if (frame.state != Frame::State::Failed) {
        synced_ = true;
        return frame;
      }
      // The first failure after a success is a new run of junk; the search starts again from the head.
      if (std::exchange(synced_, false)) return frame;
    }
  }

  void drop(std::uint32_t count) {
    count = std::min(count, windowSize_);
    head_ += count;
    windowSize_ -= count;
    headPosition_ += count;
    if (!hasPacket_) counters_.junkBytes += count;
    hasPacket_ = false;
  }

  bool growWindow(const Lib::InputFile& file) {
    if (!file.isOpen()) return false;
    const std::size_t asked = std::min(kScanWindow - windowSize_, kMaxRead);
    if (filled_ - head_ < windowSize_ + asked) fill(file);
    const std::size_t got = std::min(asked, filled_ - head_ - windowSize_);
    windowSize_ += static_cast<std::uint32_t>(got);
    return got > 0;
  }

  void fill(const Lib::InputFile& file) {
    buffer_.resize(kBufferSize);
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(head_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), buffer_.begin());
    filled_ -= head_;
    head_ = 0;
    filled_ += file.readAt(start_ + headPosition_ + static_cast<std::int64_t>(filled_), buffer_.data() + filled_,
                           kBufferSize - filled_);
  }

  std::vector<std::uint8_t> buffer_;
  std::size_t head_ = 0;           ///< Place of the window in `buffer_`.
  std::size_t filled_ = 0;         ///< Bytes of `buffer_` that hold data.
  std::uint32_t windowSize_ = 0;   ///< Bytes in the window.
  std::uint32_t consume_ = 0;      ///< Bytes of the packet handed out last; they leave at the next call.
  std::int64_t start_ = 0;         ///< Offset in the file where the scan starts.
  std::int64_t headPosition_ = 0;  ///< Offset of the window from `start_`.
  bool hasPacket_ = false;         ///< A packet was handed out and not yet dropped.
  bool synced_ = true;
  Frame frame_;
  ScanCounters counters_;
};

}  // namespace Kvex::Sto
