#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "codecs.h"
#include "store/DataStore.h"
#include "synth/ZintMessages.h"

namespace Kvex::Testing {

/// A file that is there for the time of a test.
class TempFile {
 public:
  explicit TempFile(const std::string& name, const std::string& bytes = {})
      : path_((std::filesystem::temp_directory_path() / ("kvex-" + std::to_string(::getpid()) + "-" + name)).string()) {
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  ~TempFile() { std::filesystem::remove(path_); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// The definition of a stream with one message, 1, of two signals: "Nano", and "Count" of type uint32.
inline Synth::ZintDefinition countDefinition() {
  Synth::ZintDefinition definition;
  definition.signals = {{.id = 1, .name = "Nano", .bitOffset = 0, .bitSize = 64, .base = "S"},
                        {.id = 2, .name = "Count", .bitOffset = 64, .bitSize = 32, .base = "U"}};
  definition.messages = {{.id = 1, .signals = {1, 2}}};
  return definition;
}

/// A packet of that stream, with `extra` bytes that no signal reads.
inline std::vector<std::uint8_t> countPacket(Lib::Nano time, std::uint32_t count, std::size_t extra = 0) {
  Synth::ZintPacket packet(1, 12 + extra);
  packet.setBits(0, 64, static_cast<std::uint64_t>(time));
  packet.setBits(64, 32, count);
  return {packet.bytes().begin(), packet.bytes().end()};
}

/// A store with a query over signals of its files.
struct StoreReading {
  StoreReading() = default;
  explicit StoreReading(const std::string& path) { store.addFile(path, ids); }

  /// Subscribes every signal of every Stream.
  void subscribeAll() {
    subscribeIf([](const Sto::SignalListing&) { return true; });
  }

  /// Subscribes the signals for which `wanted` is true.
  template <class Wanted>
  void subscribeIf(Wanted&& wanted) {
    std::vector<Sto::SignalListing> signals;
    for (const std::uint32_t id : ids) {
      store.visitStream(
          id, [&](const Sto::Stream& stream, const Sto::Resource&) { stream.listSignals(signals, UINT32_MAX); });
    }
    for (const Sto::SignalListing& signal : signals) {
      if (!wanted(signal)) continue;
      store.subscribe(Sto::kDirectMode, signal);
      store.addToQuery(query, Sto::kDirectMode, signal);
    }
  }

  Sto::StoreStatus subscribe(std::uint32_t id, const std::string& name) {
    store.subscribe(Sto::kDirectMode, id, name);
    return store.addToQuery(query, Sto::kDirectMode, id, name);
  }

  std::vector<Lib::Sample> read(Lib::Nano time) {
    std::vector<Lib::Sample> samples;
    store.readSamples(query, time, samples);
    return samples;
  }

  /// Samples at `count` times from the start to the end, after a seek to the first of them.
  std::vector<Lib::Sample> walk(int count) {
    Lib::Nano start = 0;
    Lib::Nano end = 0;
    store.startTime(start);
    store.endTime(end);
    store.seekAll(start);
    std::vector<Lib::Sample> all;
    for (int i = 0; i <= count; ++i) {
      const std::vector<Lib::Sample> samples = read(start + (end - start) / count * i);
      all.insert(all.end(), samples.begin(), samples.end());
    }
    return all;
  }

  Lib::Nano startTime() const {
    Lib::Nano time = 0;
    store.startTime(time);
    return time;
  }

  Sto::DataStore store{Sto::StoreConfig{}, allCodecs()};
  std::vector<std::uint32_t> ids;
  Sto::SignalQuery query;
};

/// Where two lists of samples differ; empty where they do not.
inline std::string differenceOf(const std::vector<Lib::Sample>& a, const std::vector<Lib::Sample>& b) {
  if (a.size() != b.size()) return std::to_string(a.size()) + " and " + std::to_string(b.size()) + " samples";
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].time == b[i].time && a[i].flags == b[i].flags && a[i].value == b[i].value && a[i].type == b[i].type)
      continue;
    return "sample " + std::to_string(i) + " at " + std::to_string(a[i].time) + " and " + std::to_string(b[i].time);
  }
  return {};
}

}  // namespace Kvex::Testing
