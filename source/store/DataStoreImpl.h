#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/Codec.h"
#include "store/Mode.h"
#include "store/ProgressRing.h"
#include "store/Resource.h"
#include "store/SignalQuery.h"
#include "store/StoreConfig.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// The result of a store operation.
enum class StoreStatus : std::uint32_t {
  Success = 0,
  NotFound = 3,  ///< Nothing found, or no data.
  Cancelled = 7,
};

/// Ids of the Modes.
inline constexpr std::uint32_t kDirectMode = 0;
inline constexpr std::uint32_t kRetainMode = 1;

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
  const Resource* resource(std::uint32_t resourceIndex) const;

  StoreStatus subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name);
  StoreStatus subscribe(std::uint32_t modeId, const SignalListing& signal);
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId, std::string_view name) const;
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const;
  StoreStatus seekAll(Nano time);
  StoreStatus readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out);
  void closeFiles();

  ProgressRing& progress() { return progress_; }
  std::atomic<bool>& cancelFlag() { return cancel_; }

 private:
  class Seek;

  std::unique_ptr<Resource> makeResource(const std::string& path);
  void takeIn(std::unique_ptr<Resource> resource, std::vector<std::uint32_t>& streamIds);
  StoreStatus subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view signal,
                        std::span<const Run> runs);
  StoreStatus addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId, const SignalName& signal,
                         std::span<const Run> runs) const;

  StoreConfig config_;
  CodecList codecs_;
  std::vector<std::unique_ptr<Resource>> resources_;  ///< In order of adding.
  std::vector<Stream*> streams_;                      ///< By id. Owned by their Resources.
  std::vector<std::optional<Nano>> pendingSeeks_;     ///< By stream id: a seek put off until the Stream is read.
  std::map<std::string, std::int32_t> groupNames_;
  ModeDirect direct_;
  ModeRetain retain_;
  ProgressRing progress_;
  std::atomic<bool> cancel_ = false;
};

}  // namespace Kvex::Sto
