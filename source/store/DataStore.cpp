#include "store/DataStore.h"

#include <mutex>

namespace Kvex::Sto {

using Looking = std::shared_lock<std::shared_mutex>;
using Changing = std::unique_lock<std::shared_mutex>;

StoreStatus DataStore::addFile(const std::string& path, std::vector<std::uint32_t>& streamIds) {
  passGate();
  const Changing data(dataLock_);
  return DataStoreImpl::addFile(path, streamIds);
}

StoreStatus DataStore::startTime(Nano& time) const {
  passGate();
  const Looking data(dataLock_);
  return DataStoreImpl::startTime(time);
}

StoreStatus DataStore::endTime(Nano& time) const {
  passGate();
  const Looking data(dataLock_);
  return DataStoreImpl::endTime(time);
}

StreamInfo DataStore::streamInfo(std::uint32_t streamId) const {
  passGate();
  const Looking data(dataLock_);
  return DataStoreImpl::streamInfo(streamId);
}

bool DataStore::visitStream(std::uint32_t streamId,
                            const std::function<void(const Stream&, const Resource&)>& visitor) const {
  passGate();
  const Looking data(dataLock_);
  const Stream* found = stream(streamId);
  if (found == nullptr) return false;
  visitor(*found, *resource(static_cast<std::uint32_t>(found->resourceIndex)));
  return true;
}

StoreStatus DataStore::subscribe(std::uint32_t modeId, std::uint32_t streamId, std::string_view name) {
  passGate();
  const Changing data(dataLock_);
  return DataStoreImpl::subscribe(modeId, streamId, name);
}

StoreStatus DataStore::addToQuery(SignalQuery& query, std::uint32_t modeId, std::uint32_t streamId,
                                  std::string_view name) const {
  passGate();
  const Looking data(dataLock_);
  return DataStoreImpl::addToQuery(query, modeId, streamId, name);
}

StoreStatus DataStore::subscribe(std::uint32_t modeId, const SignalListing& signal) {
  passGate();
  const Changing data(dataLock_);
  return DataStoreImpl::subscribe(modeId, signal);
}

StoreStatus DataStore::addToQuery(SignalQuery& query, std::uint32_t modeId, const SignalListing& signal) const {
  passGate();
  const Looking data(dataLock_);
  return DataStoreImpl::addToQuery(query, modeId, signal);
}

StoreStatus DataStore::seekAll(Nano time) {
  passGate();
  const Changing data(dataLock_);
  return DataStoreImpl::seekAll(time);
}

StoreStatus DataStore::readSamples(const SignalQuery& query, Nano time, std::vector<Sample>& out) {
  passGate();
  const Changing data(dataLock_);
  return DataStoreImpl::readSamples(query, time, out);
}

void DataStore::closeFiles() {
  passGate();
  const Changing data(dataLock_);
  DataStoreImpl::closeFiles();
}

}  // namespace Kvex::Sto
