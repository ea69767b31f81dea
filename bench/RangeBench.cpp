// How fast a range file is walked, with few and with all signals asked for, against only finding its packets: framing
// and check bytes.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "range/StreamYeld.h"
#include "store/LogicalPackets.h"
#include "synth/RangeChase.h"

namespace Kvex {

namespace {

/// A minute of a chase in a file that goes with the object.
class ChaseFile {
 public:
  ChaseFile() : path_(std::filesystem::temp_directory_path() / ("kvex-bench-" + std::to_string(getpid()) + ".yeld")) {
    constexpr Lib::Nano kStart = 1'400'000'000'000'000'000;
    Synth::RangeChase chase(1, kStart);
    std::ofstream file(path_, std::ios::binary);
    for (Synth::ChasePacket packet = chase.next(); packet.time < kStart + 60 * Lib::kNanosPerSecond;
         packet = chase.next()) {
      if (packet.stream == 0) file.write(reinterpret_cast<const char*>(packet.bytes.data()), std::ssize(packet.bytes));
    }
  }
  ~ChaseFile() { std::filesystem::remove(path_); }
  ChaseFile(const ChaseFile&) = delete;
  ChaseFile& operator=(const ChaseFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

template <class Visitor>
std::int64_t forEachPacket(const ChaseFile& file, Visitor&& visitor) {
  Sto::LogicalRngYeld reader(file.path());
  reader.resume();
  std::int64_t packets = 0;
  for (Lib::ByteView packet; reader.next(packet); ++packets) visitor(packet);
  return packets;
}

std::vector<std::string> allSignals(const Sto::StreamYeld& stream) {
  std::vector<Sto::SignalListing> listings;
  stream.listSignals(listings, UINT32_MAX);
  std::vector<std::string> names;
  for (const Sto::SignalListing& listing : listings) names.push_back(listing.name);
  return names;
}

/// A walk from end to end with these signals subscribed, all without any. "perFraming" is how many times the framing of
/// the same packets it takes.
void walkSubscribed(benchmark::State& state, std::vector<std::string> signals) {
  const ChaseFile file;
  Sto::StreamYeld stream(Sto::ResourceKind::RangeFile, 0);
  stream.headerReady();
  forEachPacket(file, [&](Lib::ByteView packet) { stream.probeRaw(packet); });
  stream.probeDone();
  forEachPacket(file, [&](Lib::ByteView packet) { stream.scanRaw(packet); });
  stream.scanDone();
  stream.logical = std::make_unique<Sto::LogicalRngYeld>(file.path());
  stream.reserveRequests(0, 1);
  if (signals.empty()) signals = allSignals(stream);
  for (const std::string& signal : signals) {
    for (const Lib::Run run : Lib::kAllRuns) stream.subscribe(0, 0, 0, run, signal);
  }
  stream.prepareBlock(0);

  std::clock_t framing = 0;
  std::clock_t walking = 0;
  std::int64_t packets = 0;
  for (auto _ : state) {
    const std::clock_t begin = std::clock();
    packets += forEachPacket(file, [](Lib::ByteView packet) { benchmark::DoNotOptimize(packet); });
    const std::clock_t middle = std::clock();
    stream.requestedTime = INT64_MAX;
    stream.seekTo(0);
    stream.advanceTo(INT64_MAX);
    const std::clock_t end = std::clock();
    framing += middle - begin;
    walking += end - middle;
    state.SetIterationTime(static_cast<double>(end - middle) / CLOCKS_PER_SEC);
  }
  state.SetItemsProcessed(packets);
  state.counters["perFraming"] = static_cast<double>(walking) / static_cast<double>(framing);
}

BENCHMARK_CAPTURE(walkSubscribed, ranges,
                  std::vector<std::string>{"Target1_RangeLon", "Target1_RangeLat", "Target1_RangeRateLon"})
    ->UseManualTime();
BENCHMARK_CAPTURE(walkSubscribed, all, std::vector<std::string>{})->UseManualTime();

}  // namespace

}  // namespace Kvex
