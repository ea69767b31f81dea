#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "store/ProgressRing.h"

namespace Kvex::Sto {
namespace {

TEST(ProgressRingTest, KeepsRecordsInOrderAndLosesWhatHasNoRoom) {
  ProgressRing ring(5);  // room for three
  EXPECT_FALSE(ring.take());
  EXPECT_TRUE(ring.report(-1, Phase::Seek, -7.0));
  EXPECT_TRUE(ring.report(-1, Phase::Seek, -7.0));  // repeats the last one: not written
  EXPECT_TRUE(ring.report(2, Phase::SecondPass, 12.5));
  EXPECT_TRUE(ring.report(2, Phase::SecondPass, 700.0));
  EXPECT_FALSE(ring.report(2, Phase::SecondPass, 1.0));
  EXPECT_TRUE(ring.report(2, Phase::SecondPass, 1.0));  // lost, but noted as the last
  const struct {
    std::int32_t resource;
    Phase phase;
    float percent;
  } records[] = {{-1, Phase::Seek, 0.0F}, {2, Phase::SecondPass, 12.5F}, {2, Phase::SecondPass, 100.0F}};
  for (const auto& expected : records) {
    const auto record = ring.take();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->resource, expected.resource);
    EXPECT_EQ(record->phase, expected.phase);
    EXPECT_EQ(record->percent, expected.percent);
  }
  EXPECT_FALSE(ring.take());
  ProgressRing wide(10);
  for (const int phase : {0, 1, 9, 10, 11, 700}) wide.report(0, static_cast<Phase>(phase), 1);
  for (const int phase : {0, 1, 9, 10, 0, 0}) EXPECT_EQ(wide.take()->phase, static_cast<Phase>(phase));
  for (const std::uint32_t bits : {0U, 3U}) EXPECT_FALSE(ProgressRing(bits).report(1, Phase::Seek, 1.0));
}

TEST(ProgressRingTest, OneThreadReadsWhileAnotherWrites) {
  ProgressRing ring(6);
  constexpr int kReports = 100'000;
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 1; i <= kReports; ++i) ring.report(i, Phase::Seek, i % 100);  // most find no room
    done = true;
  });
  int last = 0;
  while (!done) {
    const auto record = ring.take();
    if (!record) continue;
    EXPECT_GT(record->resource, last);
    EXPECT_EQ(record->percent, static_cast<float>(record->resource % 100));
    last = record->resource;
  }
  writer.join();
}

}  // namespace
}  // namespace Kvex::Sto
