// How long the native samples of some signals take to read, batch by batch: what Python is held against.
//
//   walk_benchmark FILE SIGNAL...

#include <chrono>
#include <cstdio>
#include <kvex/File.h>
#include <kvex/Reader.h>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "walk_benchmark FILE SIGNAL...\n");
    return 2;
  }
  Kvex::File file(argv[1]);
  const std::vector<std::string> names(argv + 2, argv + argc);
  std::vector<Kvex::Signal> signals;
  for (const std::string& name : names) signals.push_back(file.signal(name));
  for (int run = 0; run < 5; ++run) {
    const auto begin = std::chrono::steady_clock::now();
    std::size_t rows = 0;
    Kvex::Reader reader = file.native(signals);
    while (reader.next()) rows += reader.batch().rows();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%zu %.6f\n", rows, seconds.count());
  }
}
