#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "library/ByteView.h"
#include "library/NavField.h"
#include "library/Sample.h"
#include "library/StreamCodec.h"
#include "recording/TaggedPacket.h"
#include "store/Damage.h"
#include "store/RangeSources.h"
#include "tables/SignalTable.h"

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

/// What a Stream is, known when it is made.
struct StreamIdentity {
  StreamCodec codec = StreamCodec::None;
  ResourceKind resourceKind = ResourceKind::Recording;
  std::uint32_t serial = UINT32_MAX;  ///< Key of the Stream in its Resource.
};

/// What the store calls a Stream that it has taken in.
struct StreamEntry {
  std::int32_t resourceIndex = -1;  ///< Position of the owning Resource in the store.
  std::int32_t index = -1;          ///< Store-wide stream id.
  std::int32_t groupIndex = -1;     ///< The store's number of each distinct name.
  std::string name = "?";
};

/// What the store shows of one Stream.
struct StreamInfo : StreamEntry {
  std::int32_t resourceKind = 0;
  std::string resourcePath;
  std::string resourceExtension;
  std::uint32_t serial = UINT32_MAX;
  StreamCodec codec = StreamCodec::None;
  bool headerSeen = false;
  bool headerAccepted = false;
  bool hasTime = false;
  Nano startTime = 0;  ///< Time of the first record; 0 without time.
  Nano endTime = 0;    ///< Time of the last record; 0 without time.
};

/// What a packet is decoded for.
enum class Pass : std::uint8_t {
  Probe,  ///< Finds where the Stream's time begins.
  Scan,   ///< Runs to the end of the file, for the last record.
  Walk,   ///< Reads values.
};

/// One decoded source of time-stamped signals: what the room of a protocol gives to the store. Packets go in, and the
/// store asks for start and end, and reads the fields of the signals that it finds in the Stream's tables. A Stream
/// keeps the newest record and one copy of the first and of the last; it holds no history, and knows nothing of files,
/// subscriptions and walks. A packet that a Stream cannot use is ignored.
///
/// Calling order: `takeHeader`; `take` with `Pass::Probe` for each packet until it gives true or the file ends, then
/// `endProbe`; `take` with `Pass::Scan` for each packet, then `endScan`; then `want`, `reset` and packets of a walk.
/// Not synchronised: the store's data lock is held around every call.
class Stream {
 public:
  /// `tables`: the signals, in one table or two; a name is looked for in the first one first. They outlive the Stream.
  Stream(const StreamIdentity& identity, std::vector<const SignalTable*> tables);
  virtual ~Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  StreamCodec codec() const { return identity_.codec; }
  ResourceKind resourceKind() const { return identity_.resourceKind; }
  std::uint32_t serial() const { return identity_.serial; }
  StreamInfo info() const;

  // Header.

  /// Takes over the header of the logical stream, and builds what it defines.
  void takeHeader(Com::TaggedHeader header, Com::TaggedPacket trailer);
  /// A header has come.
  bool headerSeen() const { return headerSeen_; }
  /// The header has what the protocol needs: packets are decoded.
  bool headerAccepted() const { return headerAccepted_; }
  const Com::TaggedHeader& header() const { return header_; }
  Com::TaggedHeader& header() { return header_; }
  const Com::TaggedPacket& trailer() const { return trailer_; }
  /// The "Grouping" value of the header's "{Kvex-Grouping}" packet, or the empty text.
  std::string grouping() const;

  // Packets.

  /// Decodes a packet: of a recording one record, of a bare file one raw packet. With `Pass::Probe`, true when this
  /// Stream needs no more packets in this pass.
  virtual bool take(ByteView packet, Pass pass) = 0;
  /// Decodes the next step of a packet for which all its values are wanted: `from` is 0 at first, then what the last
  /// call gave, until that is the packet's size or more. The live record is then up to date. A packet is one step where
  /// the protocol does not divide it.
  virtual std::size_t takeStep(ByteView packet, std::size_t from);
  /// The message that the last step decoded, as in `SignalRow::message`; `kAnyMessage` where the protocol has none.
  virtual std::int32_t stepMessage() const { return SignalRow::kAnyMessage; }
  /// Appends a number for each kind of content that a packet brings: packets of one kind bring the same fields, so that
  /// of all that came before a time the newest packet of each kind says all. Looks at the packet alone.
  virtual void addKinds(ByteView packet, std::vector<std::uint64_t>& kinds) const;
  /// End of the first pass: keeps the first record and sets the decoder up for the second pass.
  virtual void endProbe() = 0;
  /// End of the second pass: keeps the last record, adds the "{Kvex-StreamScan}" packet, settles `hasTime`.
  virtual void endScan() = 0;
  /// Back to the state of a new walk. If the first pass found a time, that is then the newest time.
  virtual void reset() = 0;
  /// Says what the next walk is for: these rows, and no others.
  virtual void want(const std::vector<const SignalRow*>&) {}
  /// Whether the next walk reads a multiplexed signal only from records that select it; at first it does not.
  virtual void setMultiplexed(bool) {}

  // Records and signals.

  /// The scan found usable time: reading may start.
  bool hasTime() const { return hasTime_; }
  /// The time signal of the newest record. Its address stays.
  virtual const Lib::NavField<Nano>& newestTime() const = 0;
  /// The time that the newest record shows, also during a scan. `kNoTime` for none.
  Nano knownTime() const { return newestTime().usable() ? newestTime().value : Lib::kNoTime; }
  /// The record of newest values, brought up to date. Once the header is in, its fields keep their addresses.
  virtual void* liveRecord() = 0;
  virtual const void* firstRecord() const = 0;
  virtual const void* lastRecord() const = 0;
  /// The time signal of the first or last record, as a sample of type int64.
  virtual Sample startSample() const = 0;
  virtual Sample endSample() const = 0;

  /// The row of a run and name, or none.
  const SignalRow* findRow(Run run, std::string_view name) const;
  /// Appends a listing of every signal whose group mask meets `mask`; gives the number appended.
  std::size_t listSignals(std::vector<SignalListing>& out, std::uint32_t mask) const;
  /// One listing per name, in listing order: of a name that stands in several types or tables, the row that a search by
  /// name finds.
  std::vector<SignalListing> namedSignals() const;
  /// Value of a scalar signal in the first or last record; a default sample for an unknown name.
  Sample firstValue(std::string_view name) const { return valueIn(firstRecord(), name); }
  Sample lastValue(std::string_view name) const { return valueIn(lastRecord(), name); }

  /// What a range system asks its range stream; none for other Streams.
  virtual const RangeSources* rangeSources() const { return nullptr; }

  StreamEntry entry;        ///< Set by the store.
  StreamCounters counters;  ///< Set by the Resource: what its second pass counted.

 protected:
  /// Reads what the header defines. Gives whether it has what the protocol needs.
  virtual bool readHeader() = 0;

  /// The empty "{Kvex-StreamScan}" packet with its first key, the codec's name.
  Com::TaggedPacket scanTag() const;

  bool hasTime_ = false;

 private:
  Sample valueIn(const void* record, std::string_view name) const;

  const StreamIdentity identity_;
  const std::vector<const SignalTable*> tables_;
  Com::TaggedHeader header_;  ///< The first tagged packet of the logical stream, and the list of further ones.
  Com::TaggedPacket trailer_;
  bool headerSeen_ = false;
  bool headerAccepted_ = false;
};

/// A Stream that decodes into a `Record`, which has `time()`, the field of its time signal.
template <class Record>
class RecordStream : public Stream {
 public:
  using Stream::Stream;

  void endProbe() final {
    reset();
    if (headerAccepted()) first_ = live();
    prepareScan();
  }

  void endScan() final {
    if (headerAccepted()) last_ = live();
    reset();
    Com::TaggedPacket tag = scanTag();
    describeScan(tag);
    header().addHeader(std::move(tag));
    hasTime_ = settleTime();
  }

  void* liveRecord() final { return &live(); }
  const void* firstRecord() const final { return &first_; }
  const void* lastRecord() const final { return &last_; }
  Sample startSample() const final { return timeSample(first_); }
  Sample endSample() const final { return timeSample(last_); }

 protected:
  /// The record of newest values, brought up to date.
  virtual Record& live() = 0;
  /// Sets the decoder up for the second pass.
  virtual void prepareScan() {}
  /// Enters what the scan has found into the scan tag, and into the header.
  virtual void describeScan(Com::TaggedPacket&) {}
  /// Whether the scan found usable time.
  virtual bool settleTime() { return newestTime().usable() && first_.time().usable() && last_.time().usable(); }

  Record first_{};
  Record last_{};

 private:
  static Sample timeSample(const Record& record) {
    Sample sample;
    sample.set(record.time());
    return sample;
  }
};

}  // namespace Kvex::Sto
