// Holds the whole conversion of a large recording against a bare packet walk over it: libogg finding pages, checking
// them and taking all packets of all streams, nothing decoded. Both run as processes of their own, in turn, so that CPU
// time and peak memory are those that the operating system counts.
//
//   conversion_benchmark VREL2FIX FOLDER [MEBIBYTES]   writes the recordings into FOLDER, measures, prints
//   conversion_benchmark --walk FILE                   the bare packet walk

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <ogg/ogg.h>
#include <random>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "Figures.h"
#include "synth/RecordingWriter.h"
#include "synth/VehicleDrive.h"

namespace {

using namespace Kvex;

constexpr std::int64_t kMebibyte = 1 << 20;
constexpr int kRuns = 5;

/// One logical stream of the benchmark recording, with its share of the recording's bytes.
struct Source {
  Com::LogicalWriter& writer;
  double share;
  std::uint64_t written = 0;
};

/// Writes a recording of four logical streams: two self-describing ones of small messages, one of which the conversion
/// reads, one of large messages, and one of a foreign codec with large packets.
void writeRecording(const std::string& path, std::int64_t size) {
  std::ofstream file(path, std::ios::binary);
  Synth::RecordingWriter recording(file);
  const std::string definition = Synth::VehicleDrive::definition().headerPacket();
  const auto zint = [&](std::uint32_t serial, std::size_t pageBytes) -> Com::LogicalWriter& {
    return recording.addStream({.serial = serial,
                                .primary = Com::primaryText("[Kvex-Zint]", 1),
                                .headers = {definition},
                                .bytesPerPage = pageBytes});
  };
  std::array<Source, 4> sources = {{
      {zint(1, 4096), 0.4},
      {zint(2, 4096), 0.3},
      {zint(3, 16384), 0.2},
      {recording.addStream({.serial = 4, .primary = "camera", .bytesPerPage = 32768}), 0.1},
  }};
  for (Source& source : sources) source.writer.writeHeader();

  constexpr Lib::Nano kStart = 1'417'651'425'000'000'000;
  std::array<Synth::VehicleDrive, 3> drives = {Synth::VehicleDrive(kStart), Synth::VehicleDrive(kStart),
                                               Synth::VehicleDrive(kStart)};
  std::mt19937_64 random(1);
  std::vector<std::uint8_t> large(9000);
  std::generate(large.begin(), large.end(), [&] { return static_cast<std::uint8_t>(random()); });
  while (static_cast<std::int64_t>(recording.bytesWritten()) < size) {
    // The stream that is furthest behind its share writes next.
    auto next = std::min_element(sources.begin(), sources.end(), [](const Source& a, const Source& b) {
      return static_cast<double>(a.written) / a.share < static_cast<double>(b.written) / b.share;
    });
    const auto place = static_cast<std::size_t>(next - sources.begin());
    std::span<const std::uint8_t> packet;
    if (place < 2) {
      packet = drives[place].next();
    } else if (place == 2) {
      const std::span<const std::uint8_t> head = drives[2].next();
      std::copy(head.begin(), head.end(), large.begin());
      packet = {large.data(), 300 + random() % 700};
    } else {
      packet = {large.data() + 100, 4000 + random() % 4900};
    }
    next->writer.add(packet);
    next->written += packet.size();
  }
  recording.end();
}

/// Takes every packet of every stream, and prints how many there were.
int walkPackets(const char* path) {
  std::FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return EXIT_FAILURE;
  ogg_sync_state sync;
  ogg_sync_init(&sync);
  std::map<int, ogg_stream_state> streams;
  std::uint64_t packets = 0;
  constexpr long kBlock = 0x10000;
  for (;;) {
    const auto got = static_cast<long>(std::fread(ogg_sync_buffer(&sync, kBlock), 1, kBlock, file));
    if (got == 0) break;
    ogg_sync_wrote(&sync, got);
    ogg_page page;
    while (ogg_sync_pageout(&sync, &page) != 0) {
      const int serial = ogg_page_serialno(&page);
      auto found = streams.find(serial);
      if (found == streams.end()) {
        found = streams.emplace(serial, ogg_stream_state{}).first;
        ogg_stream_init(&found->second, serial);
      }
      ogg_stream_pagein(&found->second, &page);
      ogg_packet packet;
      while (ogg_stream_packetout(&found->second, &packet) != 0) ++packets;
    }
  }
  for (auto& [serial, stream] : streams) ogg_stream_clear(&stream);
  ogg_sync_clear(&sync);
  std::fclose(file);
  std::printf("%llu\n", static_cast<unsigned long long>(packets));
  return EXIT_SUCCESS;
}

struct Usage {
  double cpuSeconds = 0;
  double peakMebibytes = 0;
  std::string output;
};

/// Runs a command to its end. Ends the program if it fails.
Usage runProcess(const std::vector<std::string>& command) {
  std::array<int, 2> ends;
  if (pipe(ends.data()) != 0) std::exit(EXIT_FAILURE);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  close(ends[1]);
  Usage usage;
  std::array<char, 4096> buffer;
  for (ssize_t got; (got = read(ends[0], buffer.data(), buffer.size())) > 0;) {
    usage.output.append(buffer.data(), static_cast<std::size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  rusage counted{};
  wait4(child, &status, 0, &counted);
  if (status != 0) {
    std::fprintf(stderr, "%s failed\n", command[0].c_str());
    std::exit(EXIT_FAILURE);
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  usage.cpuSeconds = seconds(counted.ru_utime) + seconds(counted.ru_stime);
  usage.peakMebibytes = static_cast<double>(counted.ru_maxrss) / 1024;
  return usage;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

int measure(const std::string& self, const std::string& vrel2fix, const std::string& folder, std::int64_t mebibytes) {
  const std::string large = folder + "/conversion.vrel";
  const std::string small = folder + "/conversion_tenth.vrel";
  writeRecording(large, mebibytes * kMebibyte);
  writeRecording(small, mebibytes * kMebibyte / 10);
  const std::string text = folder + "/conversion.txt";

  std::vector<double> conversion;
  std::vector<double> walk;
  std::vector<double> ratio;
  Usage last;
  double packets = 0;
  for (int run = 0; run <= kRuns; ++run) {
    const Usage walked = runProcess({self, "--walk", large});
    last = runProcess({vrel2fix, large, text, "1"});
    packets = std::atof(walked.output.c_str());
    if (run == 0) continue;  // brings the file into the page cache
    conversion.push_back(last.cpuSeconds);
    walk.push_back(walked.cpuSeconds);
    ratio.push_back(last.cpuSeconds / walked.cpuSeconds);
  }
  const Usage tenth = runProcess({vrel2fix, small, text, "1"});
  const double seconds = median(conversion);
  std::printf("recording                         %8lld MiB, %.0f packets in 4 logical streams\n",
              static_cast<long long>(mebibytes), packets);
  std::printf("vrel2fix, whole conversion        %8.3f s CPU   %7.0f MB/s  %9.0f packets/s\n", seconds,
              static_cast<double>(mebibytes * kMebibyte) / 1e6 / seconds, packets / seconds);
  std::printf("bare packet walk                  %8.3f s CPU   %7.0f MB/s  %9.0f packets/s\n", median(walk),
              static_cast<double>(mebibytes * kMebibyte) / 1e6 / median(walk), packets / median(walk));
  std::printf("ratio, median of %d pairs          %8.2f\n", kRuns, median(ratio));
  std::printf("peak memory of vrel2fix           %8.2f MiB;  %.2f MiB for a recording a tenth of the size\n",
              last.peakMebibytes, tenth.peakMebibytes);
  for (const Bench::Figure& figure : {Bench::Figure{"vrel2fix, whole conversion", seconds, "s"},
                                      {"bare packet walk", median(walk), "s"},
                                      {"conversion against the bare packet walk", median(ratio), "times", 4},
                                      {"peak memory of vrel2fix", last.peakMebibytes, "MiB"},
                                      {"peak memory for a tenth of the recording", tenth.peakMebibytes, "MiB"}}) {
    Bench::note("conversion", figure);
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string_view(argv[1]) == "--walk") return walkPackets(argv[2]);
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: %s VREL2FIX FOLDER [MEBIBYTES]\n", argv[0]);
    return 2;
  }
  return measure("/proc/self/exe", argv[1], argv[2], argc == 4 ? std::atoll(argv[3]) : 512);
}
