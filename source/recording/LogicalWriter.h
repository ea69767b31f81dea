#pragma once

#include <cstddef>
#include <cstdint>
#include <ogg/ogg.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "recording/PageSink.h"

namespace Kvex::Com {

/// How a logical stream opens, and how its packets are laid into pages.
struct StreamForm {
  std::uint32_t serial = 0;
  std::string primary;               ///< The primary packet, see `primaryText`; any other bytes make a foreign stream.
  std::vector<std::string> headers;  ///< The header packets.
  // A page is written when one of these is reached, and at 255 segments of up to 255 bytes at the latest.
  std::size_t packetsPerPage = SIZE_MAX;
  std::size_t bytesPerPage = 4096;
  bool numbersPackets = true;  ///< Granule positions count the packets; else they are those that packets come with.
};

/// The form of a stream whose packets come from a recording: pages end where they ended there, see `addCopied`.
StreamForm copyForm(std::uint32_t serial, std::string primary, std::vector<std::string> headers);

/// A primary packet: the tag, and the number of header packets that follow it.
std::string primaryText(std::string_view tag, std::size_t headerCount);

/// Writes one logical stream of a recording. Pages of several writers of one sink interleave in the order of the calls.
/// Throws `std::bad_alloc` where libogg finds no memory.
class LogicalWriter {
 public:
  LogicalWriter(PageSink& sink, StreamForm form);
  ~LogicalWriter() { ogg_stream_clear(&state_); }
  LogicalWriter(const LogicalWriter&) = delete;
  LogicalWriter& operator=(const LogicalWriter&) = delete;

  const StreamForm& form() const { return form_; }

  /// The BOS page with the primary packet. Called again it opens a repeat block.
  void writePrimary();
  /// The header packets, on pages of their own.
  void writeHeaders();
  /// Both: the opening of the stream, or a repeat block.
  void writeHeader();

  /// One data packet.
  void add(std::span<const std::uint8_t> packet);
  /// One data packet behind eight bytes without meaning: the form of recorded navigation and range packets.
  void addLed(std::span<const std::uint8_t> packet);
  /// One data packet of a recording, with the granule position that its page had there, or a negative number if it is
  /// not the last one of a page. `flush` is to follow where the page ends. Within a page a packet that would not fit
  /// any more begins a new one. Headers and what is written without a position carry the newest one, at first 0.
  void addCopied(std::span<const std::uint8_t> packet, std::int64_t granule);
  /// Writes the page that is begun, if any.
  void flush();
  /// The EOS page, with an empty packet. The stream may go on after it, as damaged recordings do.
  void end();

  /// The last page once more.
  void resendPage() { sink_.writePage(page_); }
  /// The number of the next page written; the following ones count on from there.
  void setPageNumber(std::uint32_t number);
  /// A gap: as if this many pages had been written and lost.
  void skipPages(std::uint32_t count);
  /// Header type bits to set on every page from now on, besides those that it has.
  void setExtraFlags(std::uint8_t flags) { extraFlags_ = flags; }

 private:
  void put(std::span<const ogg_iovec_t> parts, bool last);
  void putText(std::string_view packet, bool last = false);
  void writePage(const ogg_page& page);

  PageSink& sink_;
  StreamForm form_;
  ogg_stream_state state_;
  std::string page_;
  std::uint8_t extraFlags_ = 0;
  std::size_t pendingPackets_ = 0;
  std::size_t pendingBytes_ = 0;
  std::size_t pendingSegments_ = 0;
  std::int64_t granule_ = 0;  ///< The newest granule position that was given.
};

}  // namespace Kvex::Com
