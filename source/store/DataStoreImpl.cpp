#include "store/DataStoreImpl.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "store/ResourceOgg.h"

namespace Kvex::Sto {

namespace {

/// Added to the start of a store whose Streams do not all start at the same nanosecond, so that all have begun.
constexpr Nano kStartMargin = 100'000'000;

/// What is thrown for a query made for another Mode.
constexpr const char* kNotOfThisMode = "invalid map<K, T> key";

StoreStatus notFound(std::string_view reason) {
  return {StoreStatus::NotFound, reason};
}

}  // namespace

DataStoreImpl::DataStoreImpl(const StoreConfig& config, CodecList codecs)
    : config_(config),
      codecs_(codecs),
      modes_{Mode(kDirectMode, Mode::Requests::One), Mode(kRetainMode, Mode::Requests::PerStream)},
      progress_(config.progressRingBits) {}

const Codec* DataStoreImpl::codecOfExtension(std::string_view extension) const {
  const auto found = std::ranges::find_if(
      codecs_, [&](const Codec& codec) { return codec.makeResource != nullptr && codec.extension == extension; });
  return found == codecs_.end() ? nullptr : &*found;
}

std::unique_ptr<Resource> DataStoreImpl::makeResource(const std::string& path) {
  const ScanContext context{config_, codecs_, progress_, cancel_};
  const auto index = static_cast<std::uint32_t>(resources_.size());
  const std::string extension = lowerExtension(path);
  if (extension == kRecordingExtension) return std::make_unique<ResourceOgg>(context, index, path);
  const Codec* codec = codecOfExtension(extension);
  return codec == nullptr ? nullptr : codec->makeResource(context, index, path, *codec);
}

StoreStatus DataStoreImpl::addFile(const std::string& path, std::vector<std::uint32_t>& streamIds) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return notFound(Reason::kNoFile);
  std::unique_ptr<Resource> resource = makeResource(path);
  if (resource == nullptr) return notFound(Reason::kUnknownKind);
  resource->scan();
  if (cancel_) return notFound(Reason::kCancelled);
  const bool any = !resource->streams.empty();
  takeIn(std::move(resource), streamIds);
  return any ? StoreStatus{} : notFound(Reason::kNoStreams);
}

void DataStoreImpl::takeIn(std::unique_ptr<Resource> owned, std::vector<std::uint32_t>& streamIds) {
  Resource& resource = *resources_.emplace_back(std::move(owned));
  for (auto& [serial, stream] : resource.streams) {
    const std::string grouping = stream->grouping();
    StreamEntry& entry = stream->entry;
    entry.resourceIndex = static_cast<std::int32_t>(resource.index);
    entry.index = static_cast<std::int32_t>(streams_.size());
    entry.name = (grouping.empty() ? "" : grouping + " ") + std::to_string(resource.index);
    entry.groupIndex = groupNames_.emplace(entry.name, static_cast<std::int32_t>(groupNames_.size())).first->second;
    streamIds.push_back(static_cast<std::uint32_t>(streams_.size()));
    streams_.push_back({stream.get(), StreamWalker(*stream, resource.logical(serial)), {}});
  }
  resource.linkStreams();
  for (const auto& [serial, stream] : resource.streams) {
    const bool retained =
        stream->hasTime() &&
        retainGrid(stream->startSample().asInteger(), stream->endSample().asInteger(), config_.retain).binWidth > 0;
    for (Mode& mode : modes_) mode.addStream(retained);
  }
}

StoreStatus DataStoreImpl::startTime(Nano& time) const {
  time = INT64_MAX;
  bool seen = false;
  bool differ = false;
  for (const StoredStream& stored : streams_) {
    if (!stored.stream->hasTime()) continue;
    const Nano start = stored.stream->startSample().asInteger();
    differ |= seen && start != time;
    time = std::min(time, start);
    seen = true;
  }
  if (!seen) return {StoreStatus::NotFound, Reason::kNoTime};
  if (differ && time <= INT64_MAX - kStartMargin) time += kStartMargin;
  return {};
}

StoreStatus DataStoreImpl::endTime(Nano& time) const {
  time = INT64_MIN;
  bool seen = false;
  for (const StoredStream& stored : streams_) {
    if (!stored.stream->hasTime()) continue;
    time = std::max(time, stored.stream->endSample().asInteger());
    seen = true;
  }
  if (seen) return {};
  time = 0;
  return {StoreStatus::NotFound, Reason::kNoTime};
}

const Stream* DataStoreImpl::stream(std::uint32_t streamId) const {
  return streamId < streams_.size() ? streams_[streamId].stream : nullptr;
}

const Resource* DataStoreImpl::resourceOf(const Stream& stream) const {
  const auto index = static_cast<std::size_t>(stream.entry.resourceIndex);
  return index < resources_.size() ? resources_[index].get() : nullptr;
}

StreamInfo DataStoreImpl::streamInfo(std::uint32_t streamId) const {
  const Stream* found = stream(streamId);
  if (found == nullptr) return {};
  const Resource* owner = resourceOf(*found);
  if (owner == nullptr) return {};
  StreamInfo info = found->info();
  info.resourceIndex = found->entry.resourceIndex;
  info.resourceKind = static_cast<std::int32_t>(owner->kind);
  info.resourcePath = owner->path;
  info.resourceExtension = owner->extension;
  return info;
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name) {
  const std::string_view signal = parseSignalName(name).name;
  return subscribe(modeId, streamId, signal, signal.empty() ? std::span<const Run>{} : Lib::kAllRuns);
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, const SignalListing& signal) {
  const Run run = signal.run();
  return subscribe(modeId, static_cast<std::uint32_t>(signal.streamId), signal.name, {&run, 1});
}

StoreStatus DataStoreImpl::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view signal,
                                     std::span<const Run> runs) {
  Mode* into = mode(modeId);
  if (into == nullptr) return notFound(Reason::kNoMode);
  if (streamId >= streams_.size()) return notFound(Reason::kNoStream);
  Stream& stream = *streams_[streamId].stream;
  if (!stream.hasTime()) return notFound(Reason::kTimelessStream);
  for (const Run run : runs) {
    const SignalRow* row = stream.findRow(run, signal);
    if (row == nullptr) continue;
    into->subscribe(streamId, *row, stream.liveRecord());
    return {};
  }
  return notFound(Reason::kNoSignal);
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                      std::string_view name) const {
  const SignalName signal = parseSignalName(name);
  return addToQuery(query, modeId, streamId, signal, signal.name.empty() ? std::span<const Run>{} : Lib::kAllRuns);
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const {
  const Run run = signal.run();
  const auto streamId = static_cast<std::uint32_t>(signal.streamId);
  return addToQuery(query, modeId, streamId, {signal.name, std::nullopt}, {&run, 1});
}

StoreStatus DataStoreImpl::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                      const SignalName& signal, std::span<const Run> runs) const {
  const Mode* from = mode(modeId);
  if (from == nullptr) return notFound(Reason::kNoMode);
  if (streamId >= streams_.size()) return notFound(Reason::kNoStream);
  const Stream& stream = *streams_[streamId].stream;
  for (const Run run : runs) {
    const SignalRow* row = stream.findRow(run, signal.name);
    const ColumnPlace* place = row == nullptr ? nullptr : from->find(streamId, *row);
    if (place == nullptr) continue;
    const ColumnListing listing{{*row, stream.entry.index}, modeId, place->request, place->position};
    return query.add(listing, row->source, signal.element) ? StoreStatus{} : notFound(Reason::kNoElement);
  }
  return notFound(Reason::kNotSubscribed);
}

void DataStoreImpl::clearSubscriptions() {
  for (Mode& mode : modes_) mode.clear();
}

/// Reports a seek over several Streams, and looks at the cancel flag. What is reported never falls.
class DataStoreImpl::SeekProgress : public WalkWatcher {
 public:
  SeekProgress(DataStoreImpl& store, Nano target, std::size_t streams)
      : store_(store), target_(target), share_(streams == 0 ? 0.0 : 100.0 / static_cast<double>(streams)) {}

  /// The Stream at `place` begins.
  void begin(std::size_t place, Nano clock) {
    from_ = clock;
    base_ = share_ * static_cast<double>(place);
    reportedAt_ = Clock::now();
    report(base_);
  }

  void report(double percent) {
    highest_ = std::max(highest_, percent);
    store_.progress_.report(-1, Phase::Seek, highest_);
  }

  bool stopped() const override { return store_.cancel_.load(std::memory_order_relaxed); }

  void moved(Nano clock) override {
    const auto now = Clock::now();
    if (std::chrono::duration<double>(now - reportedAt_).count() <= store_.config_.progressInterval) return;
    reportedAt_ = now;
    const double whole = static_cast<double>(target_) - static_cast<double>(from_);
    const double done = static_cast<double>(clock) - static_cast<double>(from_);
    report(base_ + share_ * (whole > 0 ? std::clamp(done / whole, 0.0, 1.0) : 0.0));
  }

 private:
  using Clock = std::chrono::steady_clock;

  DataStoreImpl& store_;
  Nano target_;
  double share_;
  Nano from_ = 0;
  double base_ = 0;
  double highest_ = 0;
  Clock::time_point reportedAt_;
};

StoreStatus DataStoreImpl::seekAll(Nano time) {
  // The state of a Stream depends only on the packets before the asked time, so a Stream that nobody reads is put in
  // place when somebody does.
  std::vector<StoredStream*> read;
  for (std::size_t id = 0; id < streams_.size(); ++id) {
    StoredStream& stored = streams_[id];
    stored.pendingSeek.reset();
    if (isRead(id)) {
      stored.stream->want(modes_[kDirectMode].rows(static_cast<std::uint32_t>(id)));
      read.push_back(&stored);
    } else {
      stored.pendingSeek = time;
    }
  }
  SeekProgress seek(*this, time, read.size());
  if (!cancel_) seek.report(0.0);
  for (std::size_t place = 0; place < read.size() && !cancel_; ++place) {
    StreamWalker& walker = read[place]->walker;
    if (!walker.seekTo(time)) continue;
    seek.begin(place, walker.clock());
    walker.skipTo(time, seek);
  }
  if (cancel_) {
    for (StoredStream* stored : read) stored->walker.close();
    return {StoreStatus::Cancelled, Reason::kCancelled};
  }
  seek.report(100.0);
  return {};
}

StoreStatus DataStoreImpl::readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out) {
  /// A read reports no progress.
  class CancelWatcher : public WalkWatcher {
   public:
    explicit CancelWatcher(const std::atomic<bool>& cancel) : cancel_(cancel) {}
    bool stopped() const override { return cancel_.load(std::memory_order_relaxed); }
    void moved(Nano) override {}

   private:
    const std::atomic<bool>& cancel_;
  };

  out.resize(query.columns().size());
  if (query.groups().empty()) return notFound(Reason::kEmptyQuery);
  CancelWatcher watcher(cancel_);
  for (std::size_t id = 0; id < streams_.size(); ++id) {
    if (!isRead(id)) continue;
    StoredStream& stored = streams_[id];
    if (const std::optional<Nano> pending = std::exchange(stored.pendingSeek, std::nullopt)) {
      stored.stream->want(modes_[kDirectMode].rows(static_cast<std::uint32_t>(id)));
      if (stored.walker.seekTo(*pending)) stored.walker.skipTo(*pending, watcher);
    }
    stored.walker.advanceTo(time, watcher);
    stored.stream->liveRecord();
  }
  if (cancel_) return notFound(Reason::kCancelled);
  const auto group = query.groups().find(0);
  if (group == query.groups().end()) throw std::out_of_range(kNotOfThisMode);
  const Columns& columns = *modes_[kDirectMode].columns(0);
  Lib::forEachType([&](auto tag) {
    using T = typename decltype(tag)::Type;
    const ColumnGroup<T>& fields = columns.of<T>();
    for (const QueryEntry& entry : group->second.of<T>()) {
      if (entry.position + entry.count > fields.size()) throw std::out_of_range(kNotOfThisMode);
      for (std::uint32_t i = 0; i < entry.count; ++i) {
        Sample& sample = out[entry.outIndex + i];
        sample.set(*fields[entry.position + i]);
        sample.source = entry.source;
      }
    }
  });
  return {};
}

std::unique_ptr<NativeReader> DataStoreImpl::openNative(std::uint32_t streamId, std::span<const SignalListing> signals,
                                                        NativeReader::Detail detail) {
  if (streamId >= streams_.size()) return nullptr;
  StoredStream& stored = streams_[streamId];
  std::vector<const SignalRow*> rows;
  for (const SignalListing& signal : signals) {
    const SignalRow* row = stored.stream->findRow(signal.run(), signal.name);
    if (row == nullptr) return nullptr;
    rows.push_back(row);
  }
  return std::make_unique<NativeReader>(*stored.stream, stored.walker, rows, detail, cancel_);
}

StoreStatus DataStoreImpl::walkPackets(std::uint32_t streamId, const PacketVisitor& visitor) {
  if (streamId >= streams_.size() || !streams_[streamId].walker.canWalk()) {
    return {StoreStatus::NotFound, Reason::kTimelessStream};
  }
  auto& [stream, walker, pendingSeek] = streams_[streamId];
  stream->want({});
  walker.restart();
  walker.forgetPlace();
  for (ByteView packet; walker.nextPacket(packet);) {
    if (cancel_.load(std::memory_order_relaxed)) return {StoreStatus::Cancelled, Reason::kCancelled};
    stream->take(packet, Pass::Walk);
    walker.followTime();
    if (!visitor(*stream, packet, walker.clock())) break;
  }
  walker.close();
  return {};
}

bool DataStoreImpl::copyPackets(std::uint32_t streamId, const PacketRanges& ranges, const PacketWriter& write) {
  const Resource* resource = streamId < streams_.size() ? resourceOf(*streams_[streamId].stream) : nullptr;
  return resource != nullptr && resource->copyPackets(ranges, write);
}

bool DataStoreImpl::extract(std::uint32_t streamId, const std::string& outputPath, Nano start, Nano end) {
  const Resource* resource = streamId < streams_.size() ? resourceOf(*streams_[streamId].stream) : nullptr;
  if (resource == nullptr || resource->kind == ResourceKind::Recording) return false;
  Nano earliest = INT64_MAX;
  Nano latest = 0;
  for (const auto& [serial, stream] : resource->streams) {
    if (!stream->hasTime()) continue;
    earliest = std::min(earliest, stream->info().startTime);
    latest = std::max(latest, stream->info().endTime);
  }
  start = std::clamp(start, std::min(earliest, latest), latest);
  end = std::clamp(end, start, latest);
  PacketRanges ranges;
  for (const auto& [serial, stream] : resource->streams) {
    PacketRange range;
    std::uint64_t place = 0;
    walkPackets(static_cast<std::uint32_t>(stream->entry.index), [&](const Stream&, ByteView, Nano clock) {
      if (clock < start) range.first = place + 1;
      range.end = ++place;
      return clock < end;
    });
    ranges.emplace(serial, range);
  }
  std::ofstream output(outputPath, std::ios::binary);
  const bool copied = resource->copyPackets(ranges, [&](ByteView packet) {
    output.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
  });
  output.close();
  return copied && output.good();
}

void DataStoreImpl::setMultiplexed(bool multiplexed) {
  if (std::exchange(multiplexed_, multiplexed) == multiplexed) return;
  for (StoredStream& stored : streams_) {
    stored.stream->setMultiplexed(multiplexed);
    stored.walker.forgetPlace();
  }
}

void DataStoreImpl::closeFiles() {
  for (StoredStream& stored : streams_) stored.walker.close();
}

}  // namespace Kvex::Sto
