#pragma once

#include <chrono>
#include <cstdint>
#include <kvex/Writing.h>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "library/InputFile.h"
#include "recording/CopiedStream.h"
#include "recording/LogicalWriter.h"
#include "recording/PageReader.h"
#include "store/Codec.h"
#include "store/LogicalVrel.h"

namespace Kvex::Front {

/// Says how far a writing is, and ends it when it is asked to. A writing has several passes over its inputs.
class WriteWatch {
 public:
  WriteWatch(const WriteOptions& options, unsigned passes) : options_(options), passes_(passes) {}

  /// Throws `Cancelled` where that was asked for.
  void check() const;
  /// `fraction`: of this pass.
  void moved(double fraction);
  void endPass() { ++passesDone_; }

 private:
  using Clock = std::chrono::steady_clock;

  const WriteOptions& options_;
  const unsigned passes_;
  unsigned passesDone_ = 0;
  Clock::time_point reportedAt_;
};

/// A stream of a recording that is to be copied.
struct SourceStream {
  Com::CopiedStream copy;
  const Sto::Codec* codec = nullptr;  ///< None for a foreign stream.
  std::uint64_t lastPage = 0;         ///< Place of its newest page among all pages of the file.

  SourceStream(std::uint32_t serial, const Sto::Codec* streamCodec)
      : copy(serial, streamCodec == nullptr), codec(streamCodec) {}

  /// Whether there is a header to copy: a whole one, or a broken one that still defines what its packets mean.
  bool canBeCopied() const { return hasWholeHeader() || makeDecoder() != nullptr; }
  /// How its copy begins. A broken header is mended so that it announces what is there of it.
  Com::StreamForm copyForm() const;

  /// A stream of the store with this header; null where the header has not what the protocol needs, or is not there.
  std::unique_ptr<Sto::Stream> makeDecoder() const;

 private:
  bool saysItsKind() const;
  bool hasWholeHeader() const { return copy.headerWhole() && saysItsKind(); }
};

/// A recording whose packets are copied, as it lies in its file: no more of it is held than its headers and begun
/// packets.
class RecordingSource {
 public:
  /// Reads the file for the first pages and headers of its streams, until `streams` of Kvex's kinds have theirs. Throws
  /// `Error` for a file that cannot be read.
  RecordingSource(std::string path, WriteWatch& watch, std::size_t streams = SIZE_MAX);

  const std::string& path() const { return path_; }
  std::list<SourceStream>& streams() { return streams_; }
  const std::list<SourceStream>& streams() const { return streams_; }

  /// Begins to read all pages from the start. The headers are read.
  void restart();
  /// Takes in the next block of the file, and calls `visitor(SourceStream&, const ogg_page&)` for each page of a
  /// stream. False at the end of the file.
  template <class Visitor>
  bool readBlock(Visitor&& visitor) {
    watch_.check();
    const bool more = reader_.readBlock(file_, kBlock, [&](const ogg_page& page) {
      ++pages_;
      const auto found = bySerial_.find(static_cast<std::uint32_t>(ogg_page_serialno(&page)));
      if (found == bySerial_.end()) {
        ++unclaimed_;
        return;
      }
      found->second->lastPage = pages_;
      visitor(*found->second, page);
    });
    if (reader_.gaps().skippedBytes != skippedBefore_) {
      skippedBefore_ = reader_.gaps().skippedBytes;
      pagesBeforeJunk_ = pages_;
    }
    watch_.moved(fraction());
    return more;
  }

  double fraction() const;
  /// Places of pages in the file, from 1.
  std::uint64_t pages() const { return pages_; }
  std::uint64_t pagesUnclaimed() const { return unclaimed_; }
  std::uint64_t junkBytes() const { return reader_.gaps().skippedBytes + reader_.pendingBytes(); }
  /// Whether there is junk behind the page of this place, as near as blocks tell.
  bool hasJunkBehind(std::uint64_t page) const {
    return reader_.pendingBytes() > 0 || (reader_.gaps().skippedBytes > 0 && pagesBeforeJunk_ >= page);
  }

 private:
  /// Blocks are those of a walk, so that the packets that are taken after each are those of a walk.
  static constexpr std::size_t kBlock = Sto::kRecordingBlock;
  static constexpr std::size_t kMaxStreams = 1024;  ///< Of Kvex's kinds, and of others.

  void meetPage(const ogg_page& page);
  void meetFirstPage(const ogg_page& page);

  std::string path_;
  WriteWatch& watch_;
  Lib::InputFile file_;
  Com::PageReader reader_;
  std::list<SourceStream> streams_;  ///< In the order of their first pages.
  std::map<std::uint32_t, std::list<SourceStream>::iterator> bySerial_;
  std::size_t foreign_ = 0;
  std::uint64_t pages_ = 0;
  std::uint64_t unclaimed_ = 0;
  std::uint64_t skippedBefore_ = 0;
  std::uint64_t pagesBeforeJunk_ = 0;
};

}  // namespace Kvex::Front
