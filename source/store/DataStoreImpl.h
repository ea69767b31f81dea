#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/Codec.h"
#include "store/Mode.h"
#include "store/NativeReader.h"
#include "store/ProgressRing.h"
#include "store/Resource.h"
#include "store/SignalQuery.h"
#include "store/StoreConfig.h"
#include "store/StoreStatus.h"
#include "store/Stream.h"
#include "store/StreamWalker.h"

namespace Kvex::Sto {

/// Ids of the Modes.
inline constexpr std::uint32_t kDirectMode = 0;
inline constexpr std::uint32_t kRetainMode = 1;

/// Is given a Stream, one of its packets and the Stream's clock behind it; false ends the walk.
using PacketVisitor = std::function<bool(const Stream& stream, ByteView packet, Nano clock)>;

/// The work of the data store, without its locks: see `DataStore` for the contracts.
class DataStoreImpl {
 public:
  DataStoreImpl(const StoreConfig& config, CodecList codecs);
  DataStoreImpl(const DataStoreImpl&) = delete;
  DataStoreImpl& operator=(const DataStoreImpl&) = delete;

  StoreStatus addFile(const std::string& path, std::vector<std::uint32_t>& streamIds);
  StoreStatus startTime(Nano& time) const;
  StoreStatus endTime(Nano& time) const;
  StreamInfo streamInfo(std::uint32_t streamId) const;
  const Stream* stream(std::uint32_t streamId) const;
  const Resource* resourceOf(const Stream& stream) const;

  StoreStatus subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name);
  StoreStatus subscribe(std::uint32_t modeId, const SignalListing& signal);
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId, std::string_view name) const;
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const;
  void clearSubscriptions();
  StoreStatus seekAll(Nano time);
  StoreStatus readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out);
  std::unique_ptr<NativeReader> openNative(std::uint32_t streamId, std::span<const SignalListing> signals,
                                           NativeReader::Detail detail);
  StoreStatus walkPackets(std::uint32_t streamId, const PacketVisitor& visitor);
  bool copyPackets(std::uint32_t streamId, const PacketRanges& ranges, const PacketWriter& write);
  bool extract(std::uint32_t streamId, const std::string& outputPath, Nano start, Nano end);
  void setMultiplexed(bool multiplexed);
  void closeFiles();

  ProgressSource& progress() { return progress_; }
  std::atomic<bool>& cancelFlag() { return cancel_; }

 private:
  class SeekProgress;

  /// A Stream with what walks it.
  struct StoredStream {
    Stream* stream;  ///< Owned by its Resource.
    StreamWalker walker;
    std::optional<Nano> pendingSeek;  ///< A seek put off until the Stream is read.
  };

  const Codec* codecOfExtension(std::string_view extension) const;
  std::unique_ptr<Resource> makeResource(const std::string& path);
  void takeIn(std::unique_ptr<Resource> resource, std::vector<std::uint32_t>& streamIds);
  Mode* mode(std::uint32_t modeId) { return modeId < modes_.size() ? &modes_[modeId] : nullptr; }
  const Mode* mode(std::uint32_t modeId) const { return modeId < modes_.size() ? &modes_[modeId] : nullptr; }
  /// Whether the direct Mode reads a Stream.
  bool isRead(std::size_t streamId) const {
    return !modes_[kDirectMode].rows(static_cast<std::uint32_t>(streamId)).empty();
  }
  StoreStatus subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view signal,
                        std::span<const Run> runs);
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId, const SignalName& signal,
                         std::span<const Run> runs) const;

  StoreConfig config_;
  CodecList codecs_;
  std::vector<std::unique_ptr<Resource>> resources_;  ///< In order of adding.
  std::vector<StoredStream> streams_;                 ///< By id.
  std::map<std::string, std::int32_t> groupNames_;
  std::array<Mode, 2> modes_;  ///< By id.
  ProgressRing progress_;
  std::atomic<bool> cancel_ = false;
  bool multiplexed_ = false;  ///< As all Streams have been told.
};

}  // namespace Kvex::Sto
