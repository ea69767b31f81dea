// Whether reading a file allocates for each packet.

#include <gtest/gtest.h>
#include <sstream>

#include "support/Allocations.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"
#include "synth/VehicleDrive.h"

#ifdef KVEX_COUNTS_ALLOCATIONS

namespace Kvex::Sto {
namespace {

using Testing::allocations;
using Testing::StoreReading;
using Testing::TempFile;

std::string drive(int packets) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 1,
                                                 .primary = Com::primaryText("[Kvex-Zint]", 1),
                                                 .headers = {Synth::VehicleDrive::definition().headerPacket()}});
  stream.writeHeader();
  Synth::VehicleDrive vehicle(0);
  for (int i = 0; i < packets; ++i) stream.add(vehicle.next());
  writer.end();
  return out.str();
}

struct Counts {
  std::uint64_t scan;
  std::uint64_t walk;
};

Counts count(const std::string& bytes) {
  const TempFile file("allocations.vrel", bytes);
  Counts counts{allocations(), 0};
  StoreReading reading(file.path());
  counts.scan = allocations() - counts.scan;
  reading.subscribeAll();
  std::vector<Lib::Sample> samples;
  Lib::Nano end = 0;
  reading.store.endTime(end);
  reading.store.seekAll(0);
  counts.walk = allocations();
  constexpr int kSteps = 100;
  for (int i = 0; i < kSteps; ++i) reading.store.readSamples(reading.query, end / kSteps * i, samples);
  counts.walk = allocations() - counts.walk;
  return counts;
}

TEST(AllocationTest, DoesNotGrowWithTheFile) {
  const Counts small = count(drive(20'000));
  const Counts large = count(drive(80'000));
  EXPECT_LE(large.scan, small.scan);
  EXPECT_LE(large.walk, small.walk);
  EXPECT_GT(small.scan, 0U);
}

}  // namespace
}  // namespace Kvex::Sto

#endif
