// A whole file: the first byte picks its kind, the rest is its content. It is scanned, all of its signals are
// subscribed, and it is walked twice.

#include <algorithm>
#include <vector>

#include "codecs.h"
#include "store/DataStore.h"
#include "support/Check.h"
#include "support/InputAsFile.h"

namespace {

using namespace Kvex;

constexpr int kSteps = 8;

std::vector<Sto::SignalListing> listAll(const Sto::DataStore& store, const std::vector<std::uint32_t>& ids) {
  std::vector<Sto::SignalListing> signals;
  for (const std::uint32_t id : ids) {
    store.visitStream(id, [&](const Sto::Stream& stream, const Sto::Resource&) {
      Fuzz::check(static_cast<std::uint32_t>(stream.entry.index) == id);
      stream.listSignals(signals, UINT32_MAX);
    });
  }
  return signals;
}

std::vector<Lib::Sample> walk(Sto::DataStore& store, const Sto::SignalQuery& query, Lib::Nano start, Lib::Nano end) {
  std::vector<Lib::Sample> all;
  std::vector<Lib::Sample> samples;
  store.seekAll(start);
  const std::uint64_t step = (static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(start)) / kSteps;
  for (std::uint64_t i = 0; start < end && i < kSteps; ++i) {
    store.readSamples(query, static_cast<Lib::Nano>(static_cast<std::uint64_t>(start) + i * step), samples);
    all.insert(all.end(), samples.begin(), samples.end());
  }
  return all;
}

bool same(const Lib::Sample& a, const Lib::Sample& b) {
  return a.time == b.time && a.flags == b.flags && a.value == b.value && a.type == b.type && a.source == b.source;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!Fuzz::InputAsFile::takes(size)) return 0;
  const Fuzz::InputAsFile file(data, size);
  Sto::DataStore store(Sto::StoreConfig{}, allCodecs());
  std::vector<std::uint32_t> ids;
  Fuzz::check((store.addFile(file.path(), ids) == Sto::StoreStatus::Success) == !ids.empty());
  Lib::Nano start = 0;
  Lib::Nano end = 0;
  store.startTime(start);
  store.endTime(end);
  Sto::SignalQuery query;
  for (const Sto::SignalListing& signal : listAll(store, ids)) {
    const bool subscribed = store.subscribe(Sto::kDirectMode, signal) == Sto::StoreStatus::Success;
    Fuzz::check(subscribed == store.streamInfo(static_cast<std::uint32_t>(signal.streamId)).hasTime);
    if (subscribed) store.addToQuery(query, Sto::kDirectMode, signal);
  }
  const std::vector<Lib::Sample> first = walk(store, query, start, end);
  Fuzz::check(std::ranges::equal(first, walk(store, query, start, end), same));
  store.closeFiles();
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return Fuzz::mutateFile(data, size, maxSize, seed);
}
