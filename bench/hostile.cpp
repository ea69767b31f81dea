// What files cost that are built to cost much: processor time for a megabyte and peak memory of commands, each in a
// process of its own.
//
//   hostile_benchmark VREL FOLDER [MEGABYTES [NAME]]

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "Figures.h"
#include "support/HostileFiles.h"

namespace {

using namespace Kvex;

constexpr int kLongest = 60;  // seconds
constexpr rlim_t kMostMemory = std::uint64_t{4} << 30;

struct Usage {
  double seconds = 0;
  double mebibytes = 0;
  bool ended = false;  ///< By itself.
};

Usage run(const std::vector<std::string>& command) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit time{kLongest, kLongest};
    const rlimit memory{kMostMemory, kMostMemory};
    setrlimit(RLIMIT_CPU, &time);
    setrlimit(RLIMIT_AS, &memory);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage counted{};
  wait4(child, &status, 0, &counted);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return {.seconds = seconds(counted.ru_utime) + seconds(counted.ru_stime),
          .mebibytes = static_cast<double>(counted.ru_maxrss) / 1024,
          .ended = WIFEXITED(status) && WEXITSTATUS(status) != 127};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s VREL FOLDER [MEGABYTES [NAME]]\n", argv[0]);
    return 2;
  }
  const std::string vrel = argv[1];
  const auto size = static_cast<std::size_t>((argc > 3 ? std::atof(argv[3]) : 4) * 1e6);
  const std::string_view only = argc > 4 ? argv[4] : "";
  const std::array<std::vector<std::string>, 3> commands = {{{"info"}, {"check"}, {"export", "--native"}}};
  std::printf("%-44s %8s", "seconds for a megabyte, and MiB at the peak", "MB");
  for (const auto& command : commands) std::printf("%18s", command.front().c_str());
  std::printf("\n");
  for (const Testing::HostileFile& file : Testing::kHostileFiles) {
    if (!std::string_view(file.name).starts_with(only)) continue;
    const std::string path = std::string(argv[2]) + "/hostile" + file.extension;
    const std::string bytes = file.bytes(size);
    std::ofstream(path, std::ios::binary) << bytes;
    const double megabytes = static_cast<double>(bytes.size()) / 1e6;
    std::printf("%-6s %-37s %8.1f", file.extension, file.name, megabytes);
    for (const auto& command : commands) {
      std::vector<std::string> words{vrel, command.front(), path};
      words.insert(words.end(), command.begin() + 1, command.end());
      const Usage usage = run(words);
      std::printf(usage.ended ? "%10.3f%6.0fMi" : "%9.3f!%6.0fMi", usage.seconds / megabytes, usage.mebibytes);
      std::fflush(stdout);
      const std::string name = std::string(file.extension) + " " + file.name + ", " + command.front();
      Bench::note("hostile", {name, usage.seconds / megabytes, "s per MB"});
      Bench::note("hostile", {name + ", peak", usage.mebibytes, "MiB"});
    }
    std::printf("\n");
    unlink(path.c_str());
  }
  return 0;
}
