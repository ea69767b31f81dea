// The packets of a bare file between two times, whole and in order.

#include <gtest/gtest.h>

#include "support/Command.h"
#include "support/Packets.h"

namespace Kvex::Sto {
namespace {

using Testing::StoreReading;
using Testing::TempFile;

std::string sample(const char* name) {
  return std::string(KVEX_TEST_DATA "/") + name;
}

TEST(ExtractTest, WritesThePacketsOfTheSpan) {
  for (const char* name : {"quon_filters_normal_11.quon", "dask_mode_mix_11.dask", "range_file_11.yeld"}) {
    SCOPED_TRACE(name);
    StoreReading source(sample(name));
    const StreamInfo info = source.store.streamInfo(0);
    const Nano length = info.endTime - info.startTime;
    const TempFile out("extract" + info.resourceExtension, "what was there before");
    ASSERT_TRUE(source.store.extract(0, out.path(), info.startTime + length / 4, info.startTime + length / 2));

    const Testing::PacketsBySerial all = Testing::packetsOf(sample(name));
    const Testing::PacketsBySerial part = Testing::packetsOf(out.path());
    ASSERT_EQ(part.size(), all.size());
    for (const auto& [serial, packets] : part) {
      EXPECT_TRUE(Testing::isWithin(packets, all.at(serial))) << serial;
      EXPECT_NEAR(static_cast<double>(packets.size()), static_cast<double>(all.at(serial).size()) / 4,
                  static_cast<double>(all.at(serial).size()) / 10)
          << serial;
    }
    const std::string bytes = Support::contentsOf(out.path());
    EXPECT_NE(Support::contentsOf(sample(name)).find(bytes.substr(0, 50)), std::string::npos);

    ASSERT_TRUE(source.store.extract(0, out.path(), 0, INT64_MAX));
    for (const auto& [serial, packets] : Testing::packetsOf(out.path()))
      EXPECT_TRUE(packets == all.at(serial)) << serial;
    EXPECT_FALSE(source.store.extract(0, "/no/such/folder/x", 0, INT64_MAX));
    EXPECT_FALSE(source.store.extract(99, out.path(), 0, INT64_MAX));
  }
}

TEST(ExtractTest, IsNotForRecordings) {
  StoreReading source(sample("zint_plain_11.vrel"));
  const TempFile out("extract.vrel");
  EXPECT_FALSE(source.store.extract(0, out.path(), 0, INT64_MAX));
}

}  // namespace
}  // namespace Kvex::Sto
