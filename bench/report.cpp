// Holds what `vrel signals` and `vrel report` do after the scan of a recording with all kinds of streams against a walk
// with all of its signals subscribed, and the quick report against a walk of the signals that it plots. Elapsed time:
// the commands use two cores, the walks one.
//
//   report_benchmark FOLDER [MEBIBYTES]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Figures.h"
#include "codecs.h"
#include "store/DataStore.h"
#include "synth/DemoRecording.h"
#include "tool/ReportData.h"
#include "tool/ReportPage.h"

namespace {

using namespace Kvex;

constexpr int kRuns = 3;
constexpr std::uint64_t kMebibyte = 1 << 20;

double seconds(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void writeRecording(const std::string& path, std::uint64_t size) {
  std::ofstream file(path, std::ios::binary);
  std::vector<const Synth::DemoProtocol*> all;
  for (const Synth::DemoProtocol& protocol : Synth::demoProtocols()) all.push_back(&protocol);
  Synth::DemoRecording recording(file, all, 1);
  while (static_cast<std::uint64_t>(file.tellp()) < size) recording.writeStep();
  recording.end();
}

/// Walks all streams from end to end with signals subscribed, all without names; a value is taken once a second.
double walk(const std::string& path, const std::set<std::string>& qualifiedNames = {}) {
  Sto::DataStore store{Sto::StoreConfig{}, allCodecs()};
  std::vector<std::uint32_t> ids;
  store.addFile(path, ids);
  std::vector<Sto::SignalListing> listings;
  for (const std::uint32_t id : ids) {
    store.visitStream(id, [&](const Sto::Stream& stream, const Sto::Resource&) { stream.listSignals(listings, ~0U); });
  }
  Sto::SignalQuery query;
  for (const Sto::SignalListing& listing : listings) {
    const std::string name = std::to_string(listing.streamId) + ":" + listing.name;
    if (!qualifiedNames.empty() && !qualifiedNames.contains(name)) continue;
    store.subscribe(Sto::kDirectMode, listing);
    store.addToQuery(query, Sto::kDirectMode, listing);
  }
  Lib::Nano start = 0;
  Lib::Nano end = 0;
  store.startTime(start);
  store.endTime(end);
  std::vector<Sto::Sample> samples;
  return seconds([&] {
    store.seekAll(start);
    for (Lib::Nano t = start; t < end; t += Lib::kNanosPerSecond) store.readSamples(query, t, samples);
  });
}

double signals(const std::string& path) {
  Tool::OpenedFile opened(path);
  return seconds([&] { opened.file.statistics(opened.file.match("*"), opened.watched()); });
}

double report(const std::string& path, bool fast, std::set<std::string>& plotted) {
  Tool::OpenedFile opened(path);
  return seconds([&] {
    const nlohmann::ordered_json part = Tool::reportJson(opened, {.patterns = {}, .fast = fast});
    for (const auto& signal : part["signals"]) {
      plotted.insert(std::to_string(signal["stream"].get<int>()) + ":" + signal["name"].get<std::string>());
    }
    nlohmann::ordered_json whole{{"title", path}, {"parts", {part}}};
    if (Tool::reportPage(path, whole).empty()) std::printf("an empty page\n");
  });
}

void tell(const std::string& name, std::vector<double> times, std::vector<double> walks, double limit) {
  std::ranges::nth_element(times, times.begin() + kRuns / 2);
  std::ranges::nth_element(walks, walks.begin() + kRuns / 2);
  const double ratio = times[kRuns / 2] / walks[kRuns / 2];
  std::printf("  %-40s %7.2f s %6.2f times the walk of %.2f s (limit %.1f)\n", name.c_str(), times[kRuns / 2], ratio,
              walks[kRuns / 2], limit);
  Bench::note("report", {name + " against the walk", ratio, "times", limit});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "report_benchmark FOLDER [MEBIBYTES]\n");
    return 2;
  }
  const std::string path = std::string(argv[1]) + "/report.vrel";
  writeRecording(path, (argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 256) * kMebibyte);
  std::vector<double> allWalks, plottedWalks, signalTimes, reports, quick;
  for (int run = 0; run < kRuns; ++run) {
    std::set<std::string> plotted;
    quick.push_back(report(path, true, plotted));
    plottedWalks.push_back(walk(path, plotted));
    allWalks.push_back(walk(path));
    signalTimes.push_back(signals(path));
    reports.push_back(report(path, false, plotted));
  }
  std::printf("After the scan of a recording of 8 streams:\n");
  tell("statistics of all signals", signalTimes, allWalks, 1.6);
  tell("report", reports, allWalks, 1.6);
  tell("report --fast", quick, plottedWalks, 2.0);
  std::remove(path.c_str());
  return 0;
}
