// Files that are built to cost their reader much: the work they make is counted, and grows no faster than they do.

#include <fstream>
#include <gtest/gtest.h>
#include <kvex/Error.h>
#include <kvex/File.h>
#include <string>

#include "support/Allocations.h"
#include "support/HostileFiles.h"
#include "support/StoreReading.h"

#ifdef KVEX_COUNTS_ALLOCATIONS

namespace Kvex {
namespace {

/// What reading a file came to.
struct Work {
  std::uint64_t bytesRead = 0;
  std::uint64_t allocations = 0;
  std::uint64_t peakBytes = 0;  ///< Beyond what was allocated before.
};

/// Bytes that this program has read by system calls.
std::uint64_t bytesReadSoFar() {
  std::ifstream counters("/proc/self/io");
  std::string key;
  std::uint64_t value = 0;
  counters >> key >> value;
  return value;
}

/// As `vrel check` and `vrel export --native` do.
void readAll(const std::string& path) try {
  File file(path);
  file.damage();
  std::vector<Signal> timed;
  for (const Stream& stream : file.streams()) {
    if (stream.hasTime()) timed.insert(timed.end(), stream.signals().begin(), stream.signals().end());
  }
  if (timed.empty()) return;
  for (const Batch& batch : file.nativeTables(timed)) EXPECT_GT(batch.rows(), 0U);
} catch (const Error& error) {
  EXPECT_FALSE(error.reason().empty());
}

Work workOf(const Testing::HostileFile& hostile, std::size_t size) {
  const Testing::TempFile file(std::string("hostile") + hostile.extension, hostile.bytes(size));
  const Work before{bytesReadSoFar(), Testing::allocations(), Testing::allocatedBytes()};
  Testing::restartPeak();
  readAll(file.path());
  return {bytesReadSoFar() - before.bytesRead, Testing::allocations() - before.allocations,
          Testing::peakBytes() - before.peakBytes};
}

class HostileTest : public testing::TestWithParam<Testing::HostileFile> {};

TEST_P(HostileTest, WorkGrowsNoFasterThanTheFile) {
  constexpr std::size_t kSize = 150'000;
  constexpr std::size_t kTimes = 4;
  workOf(GetParam(), kSize);  // what is made once
  const Work small = workOf(GetParam(), kSize);
  const Work large = workOf(GetParam(), kTimes * kSize);
  constexpr std::uint64_t kPasses = 6;
  EXPECT_LE(large.bytesRead, kPasses * kTimes * kSize + (1U << 20));
  EXPECT_LE(large.allocations, kTimes * small.allocations + small.allocations / 2 + 1000);
  constexpr std::uint64_t kMemoryPerByte = 60;
  EXPECT_LE(large.peakBytes, kMemoryPerByte * kTimes * kSize + (20U << 20));
  EXPECT_LE(large.peakBytes, kTimes * small.peakBytes + small.peakBytes / 2);
}

INSTANTIATE_TEST_SUITE_P(Files, HostileTest, testing::ValuesIn(Testing::kHostileFiles), [](const auto& file) {
  std::string name = std::string(file.param.name) + " " + (file.param.extension + 1);
  std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
  return name;
});

}  // namespace
}  // namespace Kvex

#endif
