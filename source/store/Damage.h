#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "library/NavField.h"

namespace Kvex::Sto {

class Stream;

/// What is wrong at a place of a file.
enum class DamageKind : std::uint8_t {
  HeaderIncomplete,  ///< Header packets of the Stream are missing, so that its data cannot be read.
  PagesMissing,      ///< Numbers are missing in the sequence of the Stream's pages.
  PagesLate,         ///< Pages of the Stream came behind one with a higher number and were dropped.
  PagesTwice,        ///< Pages of the Stream came again and were dropped: nothing is lost.
  PacketsDropped,    ///< Packets of the Stream grew beyond all measure and were dropped.
  StructureBroken,   ///< The Stream breaks the order of pages: no data of it is read from here on.
  JunkBytes,         ///< Bytes that belong to no good page or packet.
  CutOff,            ///< The file ends within a page or packet, of which this many bytes are there.
  EndMissing,        ///< The Stream has no end page: the recording was not closed.
  PagesUnclaimed,    ///< Pages of streams whose first page is missing or comes too late.
};

constexpr bool losesData(DamageKind kind) {
  return kind != DamageKind::PagesTwice;
}

/// A place of a file where data is damaged or lost.
struct Damage {
  DamageKind kind;
  std::uint64_t count = 1;         ///< Pages, packets or bytes.
  const Stream* stream = nullptr;  ///< None for the file as a whole.
  Lib::Nano time = Lib::kNoTime;   ///< The newest time that had been read when the place was met; `kNoTime` for none.
  Lib::Nano until = Lib::kNoTime;  ///< The first time behind the place that is another one; `kNoTime` for none.
  bool interrupts = false;         ///< Data between the two times is lost.
};

/// The places of a file where data is damaged or lost, in the order of the file. Only the first ones are kept.
class DamageList {
 public:
  static constexpr std::size_t kMaxPlaces = 1000;

  /// Notes a place, unless its count is 0. One that continues the last place, if that is of the same kind and Stream,
  /// only adds to its count.
  void note(const Damage& damage, bool continues = false) {
    if (damage.count == 0) return;
    lossy_ |= losesData(damage.kind);
    const bool lastKept = total_ > 0 && total_ == places_.size();
    if (continues && lastKept && places_.back().kind == damage.kind && places_.back().stream == damage.stream) {
      places_.back().count += damage.count;
      return;
    }
    ++total_;
    if (places_.size() < kMaxPlaces) places_.push_back(damage);
  }

  const std::vector<Damage>& places() const { return places_; }
  Damage& place(std::size_t index) { return places_[index]; }
  /// The number of places, with those that are not kept.
  std::uint64_t total() const { return total_; }
  /// Whether data was lost at any of them.
  bool lossy() const { return lossy_; }

 private:
  std::vector<Damage> places_;
  std::uint64_t total_ = 0;
  bool lossy_ = false;
};

/// Finds out between which times of a Stream data is missing: what was noted waits for the place itself, and then for
/// another time behind it.
class DamageTimes {
 public:
  explicit DamageTimes(DamageList& list) : list_(&list) {}

  /// The newest place of the list is one of this Stream, if it is kept.
  void expect() {
    const std::size_t newest = list_->places().size() - 1;
    if (list_->total() != list_->places().size() || (!open_.empty() && open_.back() == newest)) return;
    list_->place(newest).interrupts = true;
    open_.push_back(newest);
  }
  bool expects() const { return !open_.empty(); }
  /// The data comes to such a place.
  void reach(Lib::Nano time) {
    if (open_.empty() || (reached_ && open_.size() == 1)) return;
    if (reached_) open_.pop_front();  // nothing came between it and the one before
    reached_ = true;
    list_->place(open_.front()).time = time;
  }
  /// Data was read.
  void read(Lib::Nano time) {
    if (!reached_ || time == Lib::kNoTime || time == list_->place(open_.front()).time) return;
    list_->place(open_.front()).until = time;
    open_.pop_front();
    reached_ = false;
  }
  /// No more data comes.
  void finish(Lib::Nano time) {
    if (!reached_) reach(time);
  }

 private:
  DamageList* list_;
  std::deque<std::size_t> open_;  ///< Places in the list.
  bool reached_ = false;          ///< The first of them.
};

/// What the second pass over a file counted for one Stream. Only packets are counted for a bare protocol file.
struct StreamCounters {
  std::uint64_t packets = 0;  ///< Data packets.
  std::uint64_t pages = 0;    ///< Pages of a recording.
  std::uint64_t pagesAccepted = 0;
  std::uint64_t pagesRejected = 0;  ///< Pages that came late or twice.
  std::uint64_t pagesLost = 0;      ///< Numbers missing in the sequence.
  std::uint64_t holes = 0;          ///< Places where packets or a part of one were lost.
  std::uint64_t repeatBlocks = 0;   ///< Headers in the midst of the data.
  std::uint64_t flaggedPages = 0;   ///< Pages with the header flag 0x08.
  std::uint64_t endPages = 0;       ///< Pages that close the logical stream.
};

}  // namespace Kvex::Sto
