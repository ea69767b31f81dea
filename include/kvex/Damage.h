#pragma once

#include <cstdint>
#include <kvex/Stream.h>
#include <kvex/Time.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

/// What is wrong at a place of a file. Later versions may add kinds.
enum class DamageKind : std::uint8_t {
  HeaderIncomplete,  ///< Header packets of the stream are missing, so that its data cannot be read.
  PagesMissing,      ///< Numbers are missing in the sequence of the stream's pages.
  PagesLate,         ///< Pages of the stream came behind one with a higher number and were dropped.
  PagesTwice,        ///< Pages of the stream came again and were dropped: nothing is lost.
  PacketsDropped,    ///< Packets of the stream grew beyond all measure and were dropped.
  StructureBroken,   ///< The stream breaks the order of pages: no data of it is read from here on.
  JunkBytes,         ///< Bytes that belong to no good page or packet.
  CutOff,            ///< The file ends within a page or packet, of which this many bytes are there.
  EndMissing,        ///< The stream has no end page: the recording was not closed.
  PagesUnclaimed,    ///< Pages of streams whose first page is missing or comes too late: nothing of them can be read.
};

/// "pagesMissing": the name of a kind.
std::string_view nameOf(DamageKind kind);

/// A place of a file where data is damaged or lost. With `from` and `to` it lost all data between these times, or a
/// part of it; where nothing of the stream was read before or behind it, they are the start and the end of the file.
/// With `from` alone it lies near that time.
struct Place {
  DamageKind kind = DamageKind::JunkBytes;
  std::optional<std::uint32_t> stream;  ///< None for the file as a whole.
  Nano from = kNoTime;                  ///< The newest time that had been read before the place; `kNoTime` for none.
  Nano to = kNoTime;                    ///< The first other time behind lost data, else `kNoTime`: see below.
  std::uint64_t count = 0;              ///< Pages, packets or bytes, by the kind.
  bool lost = false;                    ///< Whether data was lost.
  std::string text;                     ///< All of this in words.
};

/// The judgement of a whole file.
enum class Judgement : std::uint8_t {
  Whole,      ///< Nothing is lost.
  OpenEnded,  ///< The recording was not closed; up to its end nothing is lost.
  Damaged,    ///< Data is damaged or lost.
};

/// "whole", "open-ended", "damaged".
std::string_view nameOf(Judgement judgement);

/// Whether a file is whole, and if not, what is missing and where.
/// Thread safety: may be read by several threads.
class Damage {
 public:
  Judgement judgement() const;
  /// What the judgement means for the data, in one sentence.
  const std::string& sentence() const;
  /// Whether data was lost anywhere, an end that is missing counted in.
  bool lost() const;
  /// The places in the order of the file; of very many only the first 1000.
  const std::vector<Place>& places() const;
  /// The number of places, with those that are not kept.
  std::uint64_t placesInAll() const;
  /// The time in which data of a stream was lost, in nanoseconds: that of its places from `from` to `to`, and of those
  /// that are no single stream's, none of it counted twice. Only the places that are kept count.
  Nano timeLost(std::uint32_t stream) const;
  /// What the scan counted for the file as a whole.
  const std::vector<Counter>& counters() const;
  /// What is no damage but worth knowing, each a sentence without its full stop.
  const std::vector<std::string>& notes() const;

 private:
  friend class DamageAccess;
  friend class File;
  struct Data;

  explicit Damage(std::shared_ptr<const Data> data) : data_(std::move(data)) {}

  std::shared_ptr<const Data> data_;
};

}  // namespace Kvex
