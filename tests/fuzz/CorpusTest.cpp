// What fuzzing found once: each input in fuzz/corpus is read again by its target, which aborts where its promise does
// not hold.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "support/Command.h"

#define FUZZ_TARGET(name) extern "C" int run##name(const std::uint8_t* data, std::size_t size);
#include "FuzzTargets.def"
#undef FUZZ_TARGET

/// Only libFuzzer changes inputs.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* /*data*/, std::size_t size, std::size_t /*maxSize*/) {
  return size;
}

namespace Kvex {
namespace {

struct FuzzTarget {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

constexpr FuzzTarget kTargets[] = {
#define FUZZ_TARGET(name) {#name, run##name},
#include "FuzzTargets.def"
#undef FUZZ_TARGET
};

/// The input that is being read, for whom the program ends in it.
std::string inputPath;

extern "C" void nameInput(int /*signal*/) {
  if (write(STDERR_FILENO, inputPath.data(), inputPath.size()) < 0) return;
}

class CorpusTest : public testing::TestWithParam<FuzzTarget> {};

TEST_P(CorpusTest, KeepsItsPromises) {
  std::vector<std::filesystem::path> inputs;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(KVEX_CORPUS "/") + GetParam().name)) {
    inputs.push_back(entry.path());
  }
  std::ranges::sort(inputs);
  EXPECT_FALSE(inputs.empty());
  const auto handler = std::signal(SIGABRT, nameInput);
  for (const std::filesystem::path& input : inputs) {
    inputPath = "The input is " + input.string() + '\n';
    const std::string bytes = Support::contentsOf(input.string());
    // A copy without room behind it, so that a read beyond its end is seen.
    const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
    GetParam().run(data.data(), data.size());
  }
  std::signal(SIGABRT, handler);
}

INSTANTIATE_TEST_SUITE_P(Targets, CorpusTest, testing::ValuesIn(kTargets),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
}  // namespace Kvex
