// Writes the recordings that the pages are tried with: write_runs FOLDER

#include <filesystem>
#include <fstream>
#include <iostream>

#include "support/OddRuns.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: write_runs FOLDER\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  for (const Kvex::OddRun& run : Kvex::oddRuns()) {
    std::ofstream(folder / run.name, std::ios::binary) << run.bytes;
  }
  return 0;
}
