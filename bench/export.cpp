// Holds the export of twenty signals of one stream, a hundred times a second, against the same walk with the samples
// thrown away.
//
//   export_benchmark [SECONDS]    the length of the recording, 3600 by default

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "codecs.h"
#include "store/DataStore.h"
#include "synth/DemoRecording.h"
#include "tool/TableWriter.h"

namespace {

using namespace Kvex;

constexpr int kRuns = 7;
constexpr std::size_t kSignals = 20;
constexpr Lib::Nano kPeriod = Lib::kNanosPerSecond / 100;

void writeRecording(const std::string& path, const Synth::DemoProtocol& protocol, std::int64_t seconds) {
  std::ofstream file(path, std::ios::binary);
  const Synth::DemoProtocol* const chosen[] = {&protocol};
  Synth::DemoRecording recording(file, chosen, 1);
  for (std::int64_t step = 0; step < seconds * (Lib::kNanosPerSecond / Synth::DemoRecording::kStep); ++step) {
    recording.writeStep();
  }
  recording.end();
}

/// The first stream of a file, with its first signals subscribed.
class Walk {
 public:
  explicit Walk(const std::string& path) : store_(Sto::StoreConfig{}, allCodecs()) {
    std::vector<std::uint32_t> ids;
    store_.addFile(path, ids);
    store_.startTime(start_);
    store_.endTime(end_);
    std::vector<Sto::SignalListing> signals;
    store_.visitStream(0, [&](const Sto::Stream& stream, const Sto::Resource&) { stream.listSignals(signals, ~0U); });
    signals.resize(std::min(signals.size(), kSignals));
    for (const Sto::SignalListing& signal : signals) {
      store_.subscribe(Sto::kDirectMode, signal);
      store_.addToQuery(query_, Sto::kDirectMode, signal);
    }
  }

  /// Seconds that a walk takes with this done to each row of samples.
  template <class Use>
  double seconds(Use&& use) {
    const auto before = std::chrono::steady_clock::now();
    store_.seekAll(start_);
    std::vector<Lib::Sample> samples;
    for (Lib::Nano time = start_; time < end_; time += kPeriod) {
      store_.readSamples(query_, time, samples);
      use(time, samples);
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
  }

  double bareSeconds() {
    return seconds([](Lib::Nano, const std::vector<Lib::Sample>&) {});
  }

  double exportSeconds() {
    const auto before = std::chrono::steady_clock::now();
    Tool::Output output("/dev/null");
    Tool::SampleFormatter formatter({}, query_, start_);
    Tool::TableWriter table(output, formatter);
    seconds([&](Lib::Nano time, const std::vector<Lib::Sample>& samples) { table.addRow(time, samples); });
    table.finish();
    output.finish();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
  }

  std::size_t columns() const { return query_.columns().size(); }

 private:
  Sto::DataStore store_;
  Sto::SignalQuery query_;
  Lib::Nano start_ = 0;
  Lib::Nano end_ = 0;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void measure(const std::string& path, const Synth::DemoProtocol& protocol, std::int64_t seconds) {
  writeRecording(path, protocol, seconds);
  Walk walk(path);
  std::vector<double> walks;
  std::vector<double> exports;
  std::vector<double> ratios;
  for (int run = 0; run < kRuns; ++run) {
    walks.push_back(walk.bareSeconds());
    exports.push_back(walk.exportSeconds());
    ratios.push_back(exports.back() / walks.back());
  }
  std::printf("export of %zu %s signals, 100 Hz     %7.3f s;  the walk alone %7.3f s;  ratio %.2f\n", walk.columns(),
              std::string(protocol.name).c_str(), median(exports), median(walks), median(ratios));
}

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t seconds = argc > 1 ? std::atoll(argv[1]) : 3600;
  const std::string path = (std::filesystem::temp_directory_path() / "kvex_export_benchmark.vrel").string();
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) measure(path, protocol, seconds);
  std::filesystem::remove(path);
  return EXIT_SUCCESS;
}
