#include "store/DataStoreImpl.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>

#include "store/ResourceBare.h"
#include "store/ResourceOgg.h"
#include "store/ResourceRng.h"

namespace Kvex::Sto {

namespace {

/// Added to the start of a store whose Streams do not all start at the same nanosecond, so that all have begun.
constexpr Nano kStartMargin = 100'000'000;

/// What is thrown for a query made for another Mode.
constexpr const char* kNotOfThisMode = "invalid map<K, T> key";

}  // namespace

DataStoreImpl::DataStoreImpl(const StoreConfig& config, CodecList codecs)
    : config_(config),
      codecs_(codecs),
      direct_(kDirectMode),
      retain_(kRetainMode, config.retain),
      progress_(config.progressRingBits) {}

std::unique_ptr<Resource> DataStoreImpl::makeResource(const std::string& path) {
  const ScanContext context{config_, codecs_, progress_, cancel_};
  const auto index = static_cast<std::uint32_t>(resources_.size());
  const std::string extension = lowerExtension(path);
  if (extension == ".vrel") return std::make_unique<ResourceOgg>(context, index, path);
  for (const Codec& codec : codecs_) {
    if (codec.framing == Framing::None || codec.extension != extension) continue;
    if (codec.framing == Framing::Range) {
      return std::make_unique<ResourceRng>(context, index, ResourceKind::RangeFile, path, codec);
    }
    return std::make_unique<ResourceNav>(context, index, ResourceKind::NavigationFile, path, codec);
  }
  return nullptr;
}

StoreStatus DataStoreImpl::addFile(const std::string& path, std::vector<std::uint32_t>& streamIds) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return StoreStatus::NotFound;
  std::unique_ptr<Resource> resource = makeResource(path);
  if (resource == nullptr) return StoreStatus::NotFound;
  resource->scan();
  if (cancel_) return StoreStatus::Cancelled;
  const bool any = !resource->streams.empty();
  takeIn(std::move(resource), streamIds);
  return any ? StoreStatus::Success : StoreStatus::NotFound;
}

void DataStoreImpl::takeIn(std::unique_ptr<Resource> owned, std::vector<std::uint32_t>& streamIds) {
  Resource& resource = *resources_.emplace_back(std::move(owned));
  for (auto& [serial, stream] : resource.streams) {
    stream->resourceIndex = static_cast<std::int32_t>(resource.index);
    stream->index = static_cast<std::int32_t>(streams_.size());
    streamIds.push_back(static_cast<std::uint32_t>(streams_.size()));
    streams_.push_back(stream.get());
    pendingSeeks_.emplace_back();
    const std::string grouping = stream->grouping();
    stream->name = (grouping.empty() ? "" : grouping + " ") + std::to_string(resource.index);
    const auto nextGroup = static_cast<std::int32_t>(groupNames_.size());
    stream->groupIndex = groupNames_.emplace(stream->name, nextGroup).first->second;
  }
  resource.linkStreams();
  for (auto& [serial, stream] : resource.streams) {
    if (stream->hasTime) {
      retain_.addStream(stream->startSample().asInteger(), stream->endSample().asInteger());
    } else {
      retain_.addEmptyStream();
    }
  }
  for (Stream* stream : streams_) {
    stream->reserveRequests(kDirectMode, 1);
    stream->reserveRequests(kRetainMode, static_cast<std::uint32_t>(streams_.size()));
  }
}

StoreStatus DataStoreImpl::startTime(Nano& time) const {
  time = INT64_MAX;
  bool seen = false;
  bool differ = false;
  for (const Stream* stream : streams_) {
    if (!stream->hasTime) continue;
    const Nano start = stream->startSample().asInteger();
    differ |= seen && start != time;
    time = std::min(time, start);
    seen = true;
  }
  if (!seen) return StoreStatus::NotFound;
  if (differ && time <= INT64_MAX - kStartMargin) time += kStartMargin;
  return StoreStatus::Success;
}

StoreStatus DataStoreImpl::endTime(Nano& time) const {
  time = INT64_MIN;
  bool seen = false;
  for (const Stream* stream : streams_) {
    if (!stream->hasTime) continue;
    time = std::max(time, stream->endSample().asInteger());
    seen = true;
  }
  if (!seen) time = 0;
  return seen ? StoreStatus::Success : StoreStatus::NotFound;
}

const Stream* DataStoreImpl::stream(std::uint32_t streamId) const {
  return streamId < streams_.size() ? streams_[streamId] : nullptr;
}

const Resource* DataStoreImpl::resource(std::uint32_t resourceIndex) const {
  return resourceIndex < resources_.size() ? resources_[resourceIndex].get() : nullptr;
}

StreamInfo DataStoreImpl::streamInfo(std::uint32_t streamId) const {
  const Stream* found = stream(streamId);
  if (found == nullptr) return {};
  const Resource* owner = resource(static_cast<std::uint32_t>(found->resourceIndex));
  if (owner == nullptr) return {};
  StreamInfo info = found->info();
  info.resourceIndex = found->resourceIndex;
  info.resourceKind = static_cast<std::int32_t>(owner->kind);
  info.resourcePath = owner->path;
  info.resourceExtension = owner->extension;
  return info;
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name) {
  const std::string_view signal = parseSignalName(name).name;
  if (signal.empty()) return StoreStatus::NotFound;
  return subscribe(modeId, streamId, signal, Lib::kAllRuns);
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, const SignalListing& signal) {
  const Run run = signal.run();
  return subscribe(modeId, static_cast<std::uint32_t>(signal.streamId), signal.name, {&run, 1});
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view signal,
                                     std::span<const Run> runs) {
  if (streamId >= streams_.size() || modeId > kRetainMode) return StoreStatus::NotFound;
  Stream& stream = *streams_[streamId];
  Mode& mode = modeId == kDirectMode ? static_cast<Mode&>(direct_) : retain_;
  const std::uint32_t request = modeId == kDirectMode ? 0 : streamId;
  for (const Run run : runs) {
    if (stream.isSubscribed(modeId, run, signal)) return StoreStatus::Success;
    if (!stream.subscribe(modeId, request, mode.columnCount(run.type, request), run, signal)) continue;
    ColumnListing listing;
    if (stream.lastSubscribed(listing, modeId, run) && mode.addColumns(request, listing)) return StoreStatus::Success;
  }
  return StoreStatus::NotFound;
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                      std::string_view name) const {
  const SignalName signal = parseSignalName(name);
  if (signal.name.empty()) return StoreStatus::NotFound;
  return addToQuery(query, modeId, streamId, signal, Lib::kAllRuns);
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const {
  const Run run = signal.run();
  const auto streamId = static_cast<std::uint32_t>(signal.streamId);
  return addToQuery(query, modeId, streamId, {signal.name, std::nullopt}, {&run, 1});
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                      const SignalName& signal, std::span<const Run> runs) const {
  if (streamId >= streams_.size()) return StoreStatus::NotFound;
  for (const Run run : runs) {
    ColumnListing listing;
    std::uint32_t source = 0;
    if (!streams_[streamId]->lookup(listing, source, modeId, run, signal.name)) continue;
    return query.add(listing, source, signal.element) ? StoreStatus::Success : StoreStatus::NotFound;
  }
  return StoreStatus::NotFound;
}

/// Keeps the progress and the cancel flag of a seek over several Streams alive.
class DataStoreImpl::Seek : public WalkWatcher {
 public:
  Seek(DataStoreImpl& store, Nano target) : store_(store), target_(target) {}

  void report(double percent) { store_.progress_.report(-1, Phase::Seek, percent); }

  /// The Stream at `place` of `count` begins.
  void begin(std::size_t place, std::size_t count, Nano clock) {
    from_ = clock;
    base_ = 100.0 * static_cast<double>(place) / static_cast<double>(count);
    share_ = 100.0 / static_cast<double>(count);
    reported_ = Clock::now();
    report(base_);
  }

  bool goOn(Nano clock) override {
    const auto now = Clock::now();
    if (std::chrono::duration<double>(now - reported_).count() > store_.config_.progressInterval) {
      reported_ = now;
      const double whole = static_cast<double>(target_) - static_cast<double>(from_);
      const double done = static_cast<double>(clock) - static_cast<double>(from_);
      report(base_ + share_ * (whole > 0 ? std::clamp(done / whole, 0.0, 1.0) : 0.0));
    }
    return !store_.cancel_.load(std::memory_order_relaxed);
  }

 private:
  using Clock = std::chrono::steady_clock;

  DataStoreImpl& store_;
  Nano target_;
  Nano from_ = 0;
  double base_ = 0;
  double share_ = 0;
  Clock::time_point reported_;
};

StoreStatus DataStoreImpl::seekAll(Nano time) {
  // The state of a Stream depends only on the packets before the asked time, so a Stream that nobody reads is put in
  // place when somebody does.
  std::vector<Stream*> read;
  for (std::size_t id = 0; id < streams_.size(); ++id) {
    streams_[id]->prepareBlock(kDirectMode);
    const bool isRead = streams_[id]->hasRequests(kDirectMode);
    pendingSeeks_[id].reset();
    if (isRead) {
      read.push_back(streams_[id]);
    } else {
      pendingSeeks_[id] = time;
    }
  }
  Seek seek(*this, time);
  seek.report(0.0);
  for (std::size_t place = 0; place < read.size() && !cancel_; ++place) {
    Stream& stream = *read[place];
    if (!stream.seekTo(time)) continue;
    seek.begin(place, read.size(), stream.time);
    stream.skipTo(time, &seek);
  }
  if (cancel_) {
    for (Stream* stream : read) {
      if (stream->logical != nullptr) stream->logical->close();
    }
    return StoreStatus::Cancelled;
  }
  seek.report(100.0);
  return StoreStatus::Success;
}

StoreStatus DataStoreImpl::readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out) {
  out.resize(query.columns().size());
  if (query.groups().empty()) return StoreStatus::NotFound;
  Seek watcher(*this, time);
  for (std::size_t id = 0; id < streams_.size(); ++id) {
    Stream& stream = *streams_[id];
    if (!stream.hasRequests(kDirectMode)) continue;
    if (const std::optional<Nano> pending = std::exchange(pendingSeeks_[id], std::nullopt)) {
      stream.prepareBlock(kDirectMode);
      if (stream.seekTo(*pending)) stream.skipTo(*pending, &watcher);
    }
    stream.advanceTo(time, &watcher);
  }
  if (cancel_) return StoreStatus::Cancelled;
  {
    const std::unique_lock guard(direct_.columns.lock);
    for (Stream* stream : streams_) stream->fillColumns(kDirectMode, 0, direct_.columns);
  }
  const auto group = query.groups().find(0);
  if (group == query.groups().end()) throw std::out_of_range(kNotOfThisMode);
  const std::shared_lock guard(direct_.columns.lock);
  Lib::forEachType([&](auto tag) {
    using T = typename decltype(tag)::Type;
    const ColumnGroup<T>& columns = direct_.columns.groups.of<T>();
    for (const QueryEntry& entry : group->second.of<T>()) {
      if (entry.position + entry.count > columns.length()) throw std::out_of_range(kNotOfThisMode);
      for (std::uint32_t i = 0; i < entry.count; ++i) {
        const std::uint32_t position = entry.position + i;
        Sample& sample = out[entry.outIndex + i];
        sample.set(static_cast<T>(columns.values[position]));
        sample.flags = columns.flags[position];
        sample.time = columns.times[position];
        sample.source = entry.source;
      }
    }
  });
  return StoreStatus::Success;
}

void DataStoreImpl::closeFiles() {
  for (Stream* stream : streams_) {
    if (stream->logical != nullptr) stream->logical->close();
  }
}

}  // namespace Kvex::Sto
