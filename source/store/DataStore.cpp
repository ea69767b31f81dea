#include "store/DataStore.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace Kvex::Sto {

namespace {

using Looking = std::shared_lock<std::shared_mutex>;
using Changing = std::unique_lock<std::shared_mutex>;

/// A visit of a Stream by this thread, which holds the data lock of the store meanwhile. A visitor may visit another
/// store in turn.
class Visit {
 public:
  explicit Visit(const DataStore& store) : store_(store), outer_(std::exchange(innermost_, this)) {}
  ~Visit() { innermost_ = outer_; }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

  static bool isAt(const DataStore& store) {
    const Visit* visit = innermost_;
    while (visit != nullptr && &visit->store_ != &store) visit = visit->outer_;
    return visit != nullptr;
  }

 private:
  static inline thread_local const Visit* innermost_ = nullptr;

  const DataStore& store_;
  const Visit* const outer_;
};

}  // namespace

template <class Lock, class Operation>
auto DataStore::locked(Operation&& operation) const {
  if (Visit::isAt(*this)) throw std::logic_error("the visitor of a stream called its store, which is locked");
  { const Looking gate(gateLock_); }
  const Lock data(dataLock_);
  return operation();
}

bool DataStore::visitStream(std::uint32_t streamId,
                            const std::function<void(const Stream&, const Resource&)>& visitor) const {
  return locked<Looking>([&] {
    const Stream* found = stream(streamId);
    if (found == nullptr) return false;
    const Visit visit(*this);
    visitor(*found, *resourceOf(*found));
    return true;
  });
}

StoreStatus DataStore::addFile(const std::string& path, std::vector<std::uint32_t>& streamIds) {
  return locked<Changing>([&] { return DataStoreImpl::addFile(path, streamIds); });
}

StoreStatus DataStore::startTime(Nano& time) const {
  return locked<Looking>([&] { return DataStoreImpl::startTime(time); });
}

StoreStatus DataStore::endTime(Nano& time) const {
  return locked<Looking>([&] { return DataStoreImpl::endTime(time); });
}

StreamInfo DataStore::streamInfo(std::uint32_t streamId) const {
  return locked<Looking>([&] { return DataStoreImpl::streamInfo(streamId); });
}

StoreStatus DataStore::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name) {
  return locked<Changing>([&] { return DataStoreImpl::subscribe(modeId, streamId, name); });
}

StoreStatus DataStore::subscribe(std::uint32_t modeId, const SignalListing& signal) {
  return locked<Changing>([&] { return DataStoreImpl::subscribe(modeId, signal); });
}

StoreStatus DataStore::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                  std::string_view name) const {
  return locked<Looking>([&] { return DataStoreImpl::addToQuery(query, modeId, streamId, name); });
}

StoreStatus DataStore::addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const {
  return locked<Looking>([&] { return DataStoreImpl::addToQuery(query, modeId, signal); });
}

void DataStore::clearSubscriptions() {
  return locked<Changing>([&] { return DataStoreImpl::clearSubscriptions(); });
}

StoreStatus DataStore::seekAll(Nano time) {
  return locked<Changing>([&] { return DataStoreImpl::seekAll(time); });
}

StoreStatus DataStore::readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out) {
  return locked<Changing>([&] { return DataStoreImpl::readSamples(query, time, out); });
}

std::unique_ptr<NativeReader> DataStore::openNative(std::uint32_t streamId, std::span<const SignalListing> signals,
                                                    NativeReader::Detail detail) {
  return locked<Changing>([&] { return DataStoreImpl::openNative(streamId, signals, detail); });
}

StoreStatus DataStore::walkPackets(std::uint32_t streamId, const PacketVisitor& visitor) {
  return locked<Changing>([&] { return DataStoreImpl::walkPackets(streamId, visitor); });
}

bool DataStore::copyPackets(std::uint32_t streamId, const PacketRanges& ranges, const PacketWriter& write) {
  return locked<Changing>([&] { return DataStoreImpl::copyPackets(streamId, ranges, write); });
}

bool DataStore::extract(std::uint32_t streamId, const std::string& outputPath, Nano start, Nano end) {
  return locked<Changing>([&] { return DataStoreImpl::extract(streamId, outputPath, start, end); });
}

void DataStore::setMultiplexed(bool multiplexed) {
  return locked<Changing>([&] { return DataStoreImpl::setMultiplexed(multiplexed); });
}

void DataStore::closeFiles() {
  return locked<Changing>([&] { return DataStoreImpl::closeFiles(); });
}

}  // namespace Kvex::Sto
