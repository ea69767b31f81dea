#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/DataStoreImpl.h"

namespace Kvex::Sto {

/// The one object that a client of the storage library sees. It owns the opened files, knows their Streams by a
/// store-wide id, and answers questions about time and about signals.
///
/// It works in two stages. Adding a file scans it whole; nothing decoded is kept but one first and one last record per
/// Stream. After that, values are produced on demand by walking each Stream forward from a seek position.
///
/// Calling order for values: `subscribe` and `addToQuery`, then `seekAll`, then `readSamples` with times that do not
/// decrease; an earlier time needs a new `seekAll`. A value is never interpolated: the value for a time is the one that
/// stands after the first record at or after that time was decoded.
///
/// Thread safety: all operations may be called from any thread. `cancel` and the reading of `progress` are meant to be
/// used from a second thread while an operation runs.
class DataStore : private DataStoreImpl {
 public:
  /// `codecs` must outlive the store.
  DataStore(const StoreConfig& config, CodecList codecs) : DataStoreImpl(config, codecs) {}

  /// Scans a file and adds its Streams, whose ids are appended to `streamIds`. The extension decides the kind of file,
  /// in any case of letters. NotFound, with the reason, for a path that is no regular file, an unknown extension, a
  /// file without Streams, and where `cancel` has been called, with nothing added.
  StoreStatus addFile(const std::string& path, std::vector<std::uint32_t>& streamIds);

  /// The earliest start of all Streams with time, GPS nanoseconds; plus 100 ms if they do not all start at the same
  /// nanosecond. NotFound, and the largest time, if no Stream has time.
  StoreStatus startTime(Nano& time) const;
  /// The latest end of all Streams with time. NotFound, and 0, if no Stream has time.
  StoreStatus endTime(Nano& time) const;

  /// What is known of a Stream; a default record for an unknown id.
  StreamInfo streamInfo(std::uint32_t streamId) const;
  /// Calls `visitor` with a Stream and its file, which it may look at but not keep. False for an unknown id. The store
  /// is locked meanwhile: an operation of it that the visitor calls throws `std::logic_error`.
  bool visitStream(std::uint32_t streamId, const std::function<void(const Stream&, const Resource&)>& visitor) const;

  /// Enters a signal of a Stream into a Mode. A bracketed element number is ignored: arrays are subscribed whole.
  /// NotFound for an unknown Mode, Stream or name, and for a Stream without time.
  StoreStatus subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name);
  /// The same for exactly the row that a listing gave, also one whose name is empty or stands in an earlier type too.
  StoreStatus subscribe(std::uint32_t modeId, const SignalListing& signal);
  /// Adds a subscribed signal, or with "Name[3]" one element of it, to a query. NotFound for what is not subscribed and
  /// for an element beyond the array.
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId, std::string_view name) const;
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const;
  /// Drops all subscriptions of all Modes. Queries made before must not be read again.
  void clearSubscriptions();

  /// Puts all Streams that are read on a time. Success or Cancelled.
  StoreStatus seekAll(Nano time);
  /// Walks the Streams that are read forward to a time and gives the values of the query's columns, in `out`, which is
  /// resized to their number. NotFound for an empty query, and, with no values, where `cancel` has been called. Throws
  /// `std::out_of_range` for a query made for another Mode.
  StoreStatus readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out);
  /// Reads all samples of signals of one Stream as the recording carried them; null for an unknown Stream or signal.
  /// While the reader lives, nobody may use the store; reading by time needs a new `seekAll` after it.
  std::unique_ptr<NativeReader> openNative(std::uint32_t streamId, std::span<const SignalListing> signals,
                                           NativeReader::Detail detail);

  /// Walks one Stream from its start, which decodes its time and no more, and calls `visitor` with each packet and the
  /// clock behind it, until that gives false. NotFound for an unknown Stream and for one without packets or time,
  /// Cancelled where `cancel` has been called. Reading by time needs a new `seekAll` after it. The visitor is called
  /// under the store's lock.
  StoreStatus walkPackets(std::uint32_t streamId, const PacketVisitor& visitor);
  /// Copies packets of a bare protocol file, whole and in order, to `write`: of each Stream, by serial, those of a
  /// range of places among its packets. False for a recording, and where `cancel` has been called.
  bool copyPackets(std::uint32_t streamId, const PacketRanges& ranges, const PacketWriter& write);
  /// Writes the packets of a bare protocol file between two times, cut to those of its Streams, to a new file, without
  /// what came before; what is there under that name is overwritten. The first packet is that at which the clock of its
  /// Stream reaches `start`, the last one that at which it reaches `end`. False for a recording, and where the file
  /// cannot be written.
  bool extract(std::uint32_t streamId, const std::string& outputPath, Nano start, Nano end);

  /// Whether what is read from now on takes multiplexed signals only from records that select them. Reading by time
  /// needs a new `seekAll` after it. Of files that are added later it holds only when it is said again.
  void setMultiplexed(bool multiplexed);

  /// Closes the files of all Streams.
  void closeFiles();

  /// Ends the operation in progress, and all later ones until `clearCancel`, at the next opportunity. Safe to call from
  /// a signal handler.
  void cancel() { cancelFlag().store(true, std::memory_order_relaxed); }
  void clearCancel() { cancelFlag().store(false, std::memory_order_relaxed); }
  /// Reports of long operations. One thread may read them while another one works.
  using DataStoreImpl::progress;

 private:
  template <class Lock, class Operation>
  auto locked(Operation&& operation) const;

  /// Held exclusively, it keeps new operations out while those inside finish. Every operation passes it and releases it
  /// before it goes for the data lock.
  mutable std::shared_mutex gateLock_;
  /// Guards Resources and Streams: shared to look, exclusive to walk or change.
  mutable std::shared_mutex dataLock_;
};

}  // namespace Kvex::Sto
