// Holds the work on large bare protocol files against a bare scanner, which does nothing but framing and check bytes:
// adding a file, walking it with a few signals subscribed, walking it with all; and reading native samples and
// overviews against those walks. All are measured in turn in one process.
//
//   bare_files_benchmark FOLDER [QUON_MEBIBYTES YELD_MEBIBYTES]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <kvex/File.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Figures.h"
#include "codecs.h"
#include "nav/NavFraming.h"
#include "nav/QuonDecoder.h"
#include "range/RangeFormat.h"
#include "store/DataStore.h"
#include "store/LogicalPackets.h"
#include "synth/NavPackets.h"
#include "synth/RangeChase.h"

namespace {

using namespace Kvex;

constexpr std::uint64_t kMebibyte = 1 << 20;
constexpr int kRuns = 3;
constexpr Lib::Nano kStart = 1'417'651'425'000'000'000;

using NextPacket = std::function<std::span<const std::uint8_t>()>;

void writeFile(const std::string& path, std::uint64_t size, const NextPacket& next) {
  std::ofstream file(path, std::ios::binary);
  for (std::uint64_t written = 0; written < size;) {
    const std::span<const std::uint8_t> packet = next();
    file.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
    written += packet.size();
  }
}

/// Processor time of a piece of work, in seconds.
double measure(const std::function<void()>& work) {
  const std::clock_t begin = std::clock();
  work();
  return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

template <class Reader>
std::uint64_t scanBare(const std::string& path) {
  Reader reader(path);
  reader.resume();
  Lib::ByteView packet;
  while (reader.next(packet)) {
  }
  return reader.counters().packets;
}

/// A store with a file in it. The first Stream is the one that is measured.
struct Opened {
  Sto::DataStore store{Sto::StoreConfig{}, allCodecs()};
  std::vector<std::uint32_t> ids;

  explicit Opened(const std::string& path) { store.addFile(path, ids); }
};

/// Walks a store's first Stream from end to end, with the named signals subscribed, or all if none is named. A value is
/// taken once a second.
double walk(const std::string& path, const std::vector<std::string_view>& names) {
  Opened opened(path);
  std::vector<Sto::SignalListing> listings;
  opened.store.visitStream(opened.ids.front(),
                           [&](const Sto::Stream& stream, const Sto::Resource&) { stream.listSignals(listings, ~0U); });
  Sto::SignalQuery query;
  for (const Sto::SignalListing& listing : listings) {
    if (!names.empty() && std::find(names.begin(), names.end(), listing.name) == names.end()) continue;
    opened.store.subscribe(Sto::kDirectMode, listing);
    opened.store.addToQuery(query, Sto::kDirectMode, listing);
  }
  const Sto::StreamInfo info = opened.store.streamInfo(opened.ids.front());
  std::vector<Sto::Sample> samples;
  return measure([&] {
    opened.store.seekAll(info.startTime);
    for (Lib::Nano t = info.startTime; t < info.endTime; t += Lib::kNanosPerSecond) {
      opened.store.readSamples(query, t, samples);
    }
  });
}

/// All samples of the first stream of a file: of the named signals in one table, or of all in their own tables.
double readNative(const std::string& path, const std::vector<std::string>& names) {
  File file(path);
  std::uint64_t rows = 0;
  const double seconds = measure([&] {
    Reader reader = names.empty() ? file.nativeTables(file.streams().front().signals()) : file.native(names);
    for (const Batch& batch : reader) rows += batch.rows();
  });
  if (rows == 0) std::printf("no native samples\n");
  return seconds;
}

double readOverview(const std::string& path, const std::vector<std::string>& names) {
  constexpr std::size_t kSlices = 2000;
  File file(path);
  return measure([&] { file.overview(names, kSlices); });
}

/// What all samples of all signals of the first stream of a file say.
double readStatistics(const std::string& path) {
  File file(path);
  return measure([&] { file.statistics(file.match("0:*")); });
}

struct Work {
  std::string name;
  double limit;
  std::function<double()> run;
  std::string reference{};  ///< The work that it is held against; the bare scanner without one.
  std::vector<double> ratios{};
};

template <class Reader>
void compare(const std::string& path, std::string_view title, std::vector<Work> works) {
  double bare = 1e9;
  std::uint64_t packets = 0;
  for (int run = 0; run < kRuns; ++run) {
    std::map<std::string, double> times;
    times[""] = measure([&] { packets = scanBare<Reader>(path); });
    bare = std::min(bare, times[""]);
    for (Work& work : works) {
      times[work.name] = work.run();
      work.ratios.push_back(times[work.name] / times[work.reference]);
    }
  }
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const double size = static_cast<double>(file.tellg());
  std::printf("%s: %.0f MiB, %llu packets; bare scanner %.1f ns per packet, %.0f MB/s\n", std::string(title).c_str(),
              size / kMebibyte, static_cast<unsigned long long>(packets), bare * 1e9 / static_cast<double>(packets),
              size / 1e6 / bare);
  Bench::note(std::string(title), {"bare scanner", bare * 1e9 / static_cast<double>(packets), "ns per packet"});
  for (Work& work : works) {
    std::sort(work.ratios.begin(), work.ratios.end());
    Bench::note(std::string(title),
                {work.name + " against the " + (work.reference.empty() ? "bare scanner" : work.reference),
                 work.ratios[work.ratios.size() / 2], "times", work.limit});
    std::printf("  %-44s %6.2f times the %s (at most %.1f)\n", work.name.c_str(), work.ratios[work.ratios.size() / 2],
                work.reference.empty() ? "bare scanner" : work.reference.c_str(), work.limit);
  }
}

double addFile(const std::string& path) {
  return measure([&] { Opened{path}; });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: %s FOLDER [QUON_MEBIBYTES YELD_MEBIBYTES]\n", argv[0]);
    return 2;
  }
  const std::string quon = std::string(argv[1]) + "/bare.quon";
  const std::string yeld = std::string(argv[1]) + "/bare.yeld";
  const std::uint64_t quonSize = (argc == 4 ? std::strtoull(argv[2], nullptr, 10) : 256) * kMebibyte;
  const std::uint64_t yeldSize = (argc == 4 ? std::strtoull(argv[3], nullptr, 10) : 128) * kMebibyte;

  Synth::NavDrive drive(Nav::kQuonProtocol, 1, kStart);
  writeFile(quon, quonSize, [&] { return drive.next(); });
  compare<Sto::LogicalPackets<Nav::NavFraming, Sto::AnyPacket>>(
      quon, "navigation",
      {{"adding the file", 8, [&] { return addFile(quon); }},
       {"walk with Lat, Lon, Alt", 5,
        [&] {
          return walk(quon, {"Lat", "Lon", "Alt"});
        }},
       {"walk with all signals", 80, [&] { return walk(quon, {}); }},
       {"native samples of Lat, Lon, Alt", 1.3,
        [&] {
          return readNative(quon, {"Lat", "Lon", "Alt"});
        },
        "walk with Lat, Lon, Alt"},
       {"native samples of all signals", 1.5, [&] { return readNative(quon, {}); }, "walk with all signals"},
       {"statistics of all signals", 1.6, [&] { return readStatistics(quon); }, "walk with all signals"},
       {"overview of Lat, Lon, Alt", 1.3,
        [&] {
          return readOverview(quon, {"Lat", "Lon", "Alt"});
        },
        "walk with Lat, Lon, Alt"}});

  Synth::RangeChase chase(1, kStart, Synth::RangeChase::kMaxTargets);
  writeFile(yeld, yeldSize, [&] { return chase.wrapped(chase.next()); });
  compare<Sto::LogicalPackets<Rng::RangeFormat, Sto::AnyPacket>>(
      yeld, "range, four targets",
      {{"adding the file", 8, [&] { return addFile(yeld); }},
       {"walk with three ranges of target 1", 6,
        [&] {
          return walk(yeld, {"Target1_RangeLon", "Target1_RangeLat", "Target1_RangeRateLon"});
        }},
       {"walk with all signals", 120, [&] { return walk(yeld, {}); }},
       {"native samples of all signals", 1.5, [&] { return readNative(yeld, {}); }, "walk with all signals"},
       {"statistics of all signals", 1.6, [&] { return readStatistics(yeld); }, "walk with all signals"}});
  return EXIT_SUCCESS;
}
