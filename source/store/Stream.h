#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "library/ByteView.h"
#include "library/NavField.h"
#include "library/Sample.h"
#include "library/StreamCodec.h"
#include "library/ValueType.h"
#include "recording/TaggedPacket.h"
#include "store/ColumnBlock.h"
#include "store/Damage.h"
#include "store/Logical.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

using Lib::ByteView;
using Lib::Nano;
using Lib::Run;
using Lib::StreamCodec;

/// The kind of file that a Stream is read from. The numbers are handed out in `StreamInfo`.
enum class ResourceKind : std::int32_t {
  Recording = 1,       ///< An Ogg file with interleaved logical streams.
  NavigationFile = 3,  ///< Bare navigation packets.
  RangeFile = 4,       ///< Bare range packets, with navigation packets of its sources inside.
};

/// "[Kvex-" + the codec's printed name + "]": the tag of the primary packet of a stream of this codec.
std::string primaryTag(StreamCodec codec);

/// What the store tells about one Stream.
struct StreamInfo {
  std::int32_t resourceIndex = -1;
  std::int32_t resourceKind = 0;
  std::string resourcePath;
  std::string resourceExtension;
  std::int32_t groupIndex = -1;
  std::string name;
  std::int32_t index = -1;
  std::uint32_t serial = UINT32_MAX;
  StreamCodec codec = StreamCodec::None;
  bool headerSeen = false;
  bool headerAccepted = false;
  bool hasTime = false;
  Nano startTime = 0;  ///< Time of the first record; 0 without time.
  Nano endTime = 0;    ///< Time of the last record; 0 without time.
};

/// Hears how a long walk goes on, and can stop it.
class WalkWatcher {
 public:
  virtual ~WalkWatcher() = default;
  /// Called from time to time with the Stream's clock. False ends the walk.
  virtual bool goOn(Nano time) = 0;
};

/// One decoded source of time-stamped signals. Packets go in through the probe, scan and walk operations; the store
/// then asks for start and end, lists signals, subscribes them by name and copies their newest values into columns.
/// A Stream keeps the newest record and one copy of the first and of the last; it holds no history.
///
/// Calling order: `headerReady`; the probe operation for each packet until it gives true or the file ends, then
/// `probeDone`; the scan operation for each packet, then `scanDone`; then subscriptions, `prepareBlock` and walks.
/// Not synchronised: the store's data lock is held around every call.
class Stream {
 public:
  Stream(ResourceKind resourceKind, std::uint32_t serial, StreamCodec codec);
  virtual ~Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// The primary tag of this Stream's codec.
  std::string headerTag() const;

  StreamInfo info() const;

  /// The "Grouping" value of the header's "{Kvex-Grouping}" packet, or the empty text.
  std::string grouping() const;

  // Packets. A raw packet comes from a bare protocol file, a recorded packet is one record of a recording.
  // A packet that a Stream cannot use is ignored.

  /// First pass. True when this Stream needs no more packets in this pass.
  virtual bool probeRaw(ByteView packet) = 0;
  virtual bool probePacket(ByteView packet) = 0;
  /// Second pass, which runs to the end of the file.
  virtual void scanRaw(ByteView packet) = 0;
  virtual void scanPacket(ByteView packet) = 0;

  /// `header` is in place. Builds what the header defines and sets `headerAccepted`; gives whether it is accepted.
  virtual bool headerReady() = 0;
  /// End of the first pass: keeps the first record and sets the decoder up for the second pass.
  virtual void probeDone() = 0;
  /// End of the second pass: keeps the last record, adds the "{Kvex-StreamScan}" packet, settles `hasTime`.
  virtual void scanDone() = 0;
  /// Decoder back to the state of a new walk.
  virtual void reset() = 0;

  // Signals.

  /// Appends a listing of every signal whose group mask meets `mask`; gives the number appended.
  virtual std::size_t listSignals(std::vector<SignalListing>& out, std::uint32_t mask) const = 0;
  /// One listing per name, in listing order: of a name that stands in several types or tables, the row that a search by
  /// name finds.
  std::vector<SignalListing> namedSignals() const;
  /// Value of a scalar signal in the first or last record; a default sample for an unknown name.
  virtual Sample firstValue(std::string_view name) const = 0;
  virtual Sample lastValue(std::string_view name) const = 0;
  /// The time signal of the first or last record, as a sample of type int64.
  virtual Sample startSample() const = 0;
  virtual Sample endSample() const = 0;

  // Subscriptions, kept in request blocks by Mode id, run by run.

  /// Enters the signal of this name and run into a request set, with its first column position. False if the Stream has
  /// no time or no such signal.
  virtual bool subscribe(std::uint32_t block, std::uint32_t request, std::uint32_t position, Run run,
                         std::string_view name) = 0;
  virtual bool isSubscribed(std::uint32_t block, Run run, std::string_view name) const = 0;
  /// Finds a subscribed signal by name: its listing and its row's source word.
  virtual bool lookup(ColumnListing& out, std::uint32_t& source, std::uint32_t block, Run run,
                      std::string_view name) const = 0;
  /// The listing of the signal subscribed last in this run.
  virtual bool lastSubscribed(ColumnListing& out, std::uint32_t block, Run run) const = 0;
  /// Whether any request set of the block has an entry.
  virtual bool hasRequests(std::uint32_t block) const = 0;

  /// Before a seek: tells the decoder what the block's subscriptions want.
  virtual void prepareBlock(std::uint32_t block) = 0;
  /// Copies the newest value, flags and stamp of every entry of a request set into the columns.
  virtual void fillColumns(std::uint32_t block, std::uint32_t request, ColumnBlock& columns) = 0;
  /// Grows the block's list of request sets to at least `count`.
  virtual void reserveRequests(std::uint32_t block, std::uint32_t count) = 0;
  virtual void clearRequests(std::uint32_t block) = 0;

  // Walks. The store walks a Stream forward through its logical stream until the Stream's clock has reached a time.

  bool timeReached(Nano t) const { return time >= t; }
  /// The newest time that the decoder has read, also during a scan, when `time` stands still. `kNoTime` for none.
  Nano newestTime() const { return liveTime().usable() ? liveTime().value : Lib::kNoTime; }
  /// Puts the Stream at a place from which a forward walk to `t` can run. False without time or logical stream.
  bool seekTo(Nano t);
  /// The walk of a seek: forward until the time is reached. False when the data ends first or the watcher stops it.
  bool skipTo(Nano t, WalkWatcher* watcher = nullptr);
  /// The walk of a read. False without time, when the data ends first, or when the watcher stops it.
  bool advanceTo(Nano t, WalkWatcher* watcher = nullptr);

  const ResourceKind resourceKind;
  const StreamCodec codec;
  std::int32_t resourceIndex = -1;                    ///< Position of the owning Resource in the store.
  const std::uint32_t serial;                         ///< Key of the Stream in its Resource.
  std::int32_t index = -1;                            ///< Store-wide stream id.
  std::string name = "?";                             ///< Display name, set by the store.
  std::int32_t groupIndex = -1;                       ///< The store's number of each distinct name.
  bool headerSeen = false;                            ///< The Resource has put `header` in place.
  bool headerAccepted = false;                        ///< `headerReady` has accepted the header.
  bool hasTime = false;                               ///< The scan found usable time: reading may start.
  bool live = true;                                   ///< The logical stream still has data in the current walk.
  Nano time = 0;                                      ///< Time of the newest record with usable time.
  std::uint8_t timeFlags = Lib::Flag::kNeverWritten;  ///< Flags of the newest record's time.
  std::int64_t previousPosition = 0;
  std::int64_t position = 0;
  Nano requestedTime = INT64_MAX;  ///< The time up to which the Stream was last brought.
  Com::TaggedHeader header;        ///< The first tagged packet of the logical stream, and the list of further ones.
  Com::TaggedPacket trailer;
  std::unique_ptr<Logical> logical;  ///< What feeds this Stream; none where no packet was found.
  StreamCounters counters;           ///< What the second pass counted.

 protected:
  /// One packet of a walk; the caller then takes the decoder's time over with `followTime`.
  virtual void walkRaw(ByteView packet) = 0;
  virtual void walkPacket(ByteView packet) = 0;
  /// Value and flags of the time signal of the newest record.
  virtual const Lib::NavField<Nano>& liveTime() const = 0;

  /// Takes over the decoder's time after a packet or a reset: the clock moves only on usable time.
  void followTime(std::int64_t newPosition);

  /// The empty "{Kvex-StreamScan}" packet with its first key, the codec's name.
  Com::TaggedPacket scanTag() const;

 private:
  bool walkOnePacket();
  bool walkTo(Nano t, WalkWatcher* watcher, bool& stopped);
};

}  // namespace Kvex::Sto
