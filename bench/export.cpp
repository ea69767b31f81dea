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
#include <kvex/File.h>
#include <string>
#include <vector>

#include "Figures.h"
#include "synth/DemoRecording.h"
#include "tool/TableWriter.h"

namespace {

using namespace Kvex;

constexpr int kRuns = 7;
constexpr std::size_t kSignals = 20;
constexpr Nano kPeriod = kNanosPerSecond / 100;

void writeRecording(const std::string& path, const Synth::DemoProtocol& protocol, std::int64_t seconds) {
  std::ofstream file(path, std::ios::binary);
  const Synth::DemoProtocol* const chosen[] = {&protocol};
  Synth::DemoRecording recording(file, chosen, 1);
  for (std::int64_t step = 0; step < seconds * (kNanosPerSecond / Synth::DemoRecording::kStep); ++step) {
    recording.writeStep();
  }
  recording.end();
}

/// The first stream of a file, with its first signals.
class Walk {
 public:
  explicit Walk(const std::string& path) : file_(path), signals_(file_.match("0:*")) {
    signals_.resize(std::min(signals_.size(), kSignals), signals_.front());
  }

  double bareSeconds() {
    return seconds([&] {
      for (const Batch& batch : file_.grid(signals_, kPeriod)) columns_ = batch.columns();
    });
  }

  double exportSeconds() {
    return seconds([&] {
      Tool::Output output("/dev/null");
      Tool::TableFormatter formatter({}, signals_, file_.span().start);
      Tool::TableWriter table(output, formatter);
      for (const Batch& batch : file_.grid(signals_, kPeriod, table.readOptions(false))) table.add(batch, 0);
      table.finish();
      output.finish();
    });
  }

  std::size_t columns() const { return columns_; }

 private:
  template <class Work>
  static double seconds(Work&& work) {
    const auto before = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
  }

  File file_;
  std::vector<Signal> signals_;
  std::size_t columns_ = 0;
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
  Bench::note("export of 20 signals, 100 Hz",
              {std::string(protocol.name) + " against the walk alone", median(ratios), "times", 1.5});
}

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t seconds = argc > 1 ? std::atoll(argv[1]) : 3600;
  const std::string path = (std::filesystem::temp_directory_path() / "kvex_export_benchmark.vrel").string();
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) measure(path, protocol, seconds);
  std::filesystem::remove(path);
  return EXIT_SUCCESS;
}
