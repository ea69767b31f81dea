// Whatever way a client goes about it, a value at a time is the same: with few signals subscribed or all, read by one
// walk from the start, or sought in the midst of the file.

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>
#include <tuple>

#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/DemoRecording.h"

namespace Kvex::Sto {
namespace {

using Testing::StoreReading;
using Testing::TempFile;

constexpr int kSteps = 60;

/// A column that is found again in another query.
using ColumnKey = std::tuple<std::int32_t, std::string, ValueType, bool, std::uint32_t>;

ColumnKey keyOf(const SignalQuery& query, const QueryColumn& column) {
  const SignalListing& signal = query.listings()[column.listingIndex];
  return {signal.streamId, signal.name, signal.valueType, signal.isArray, column.element};
}

bool agree(const Sample& a, const Sample& b) {
  if (a.flags != b.flags || a.type != b.type) return false;
  // What was never written has no stamp and no value to speak of.
  constexpr int kNoValue = Lib::Flag::kNeverWritten | Lib::Flag::kNotAvailable;
  return (a.flags & kNoValue) != 0 || (a.time == b.time && a.value == b.value);
}

/// One walk with everything subscribed; other walks are held against it.
class Whole {
 public:
  explicit Whole(const std::string& path) : reading_(path) {
    reading_.subscribeAll();
    samples_ = reading_.walk(kSteps);
    reading_.store.startTime(start_);
    reading_.store.endTime(end_);
    for (std::size_t i = 0; i < width(); ++i) places_[keyOf(reading_.query, reading_.query.columns()[i])] = i;
  }

  Lib::Nano timeOf(int step) const { return start_ + (end_ - start_) / kSteps * step; }

  /// Seeks to a step, reads all that follow, and names the first value that differs from the whole.
  std::string differenceFrom(StoreReading& other, int firstStep) const {
    other.store.seekAll(timeOf(firstStep));
    for (int step = firstStep; step <= kSteps; ++step) {
      const std::vector<Sample> samples = other.read(timeOf(step));
      for (std::size_t i = 0; i < samples.size(); ++i) {
        const ColumnKey key = keyOf(other.query, other.query.columns()[i]);
        if (agree(samples[i], samples_[static_cast<std::size_t>(step) * width() + places_.at(key)])) continue;
        return std::to_string(std::get<0>(key)) + ":" + std::get<1>(key) + " at step " + std::to_string(step);
      }
    }
    return {};
  }

 private:
  std::size_t width() const { return reading_.query.columns().size(); }

  StoreReading reading_;
  std::vector<Sample> samples_;  ///< Step after step.
  std::map<ColumnKey, std::size_t> places_;
  Lib::Nano start_ = 0;
  Lib::Nano end_ = 0;
};

void expectWalksAgree(const std::string& path) {
  const Whole whole(path);
  std::mt19937_64 random(1);
  for (const std::uint64_t oneIn : {2, 20, 20, 200, 200, 200, 200}) {
    StoreReading few(path);
    few.subscribeIf([&](const SignalListing&) { return random() % oneIn == 0; });
    EXPECT_EQ(whole.differenceFrom(few, 0), "") << "one signal in " << oneIn;
    EXPECT_EQ(whole.differenceFrom(few, kSteps / 2), "") << "one signal in " << oneIn << ", from the midst";
    EXPECT_EQ(whole.differenceFrom(few, kSteps / 3), "") << "one signal in " << oneIn << ", back again";
  }
}

TEST(WalksAgreeTest, InKnownFiles) {
  for (const char* name : {"zint_wild_11.vrel", "zint_damaged_11.vrel", "can_joined_11.vrel", "nav_recording_11.vrel",
                           "quon_mode_mix_11.quon", "quon_triggers_11.quon", "dask_mode_mix_11.dask",
                           "yeld_chase3_marks_11.yeld", "range_file_11.yeld", "range_recording_11.vrel"}) {
    SCOPED_TRACE(name);
    expectWalksAgree(Support::dataPath(name));
  }
}

TEST(WalksAgreeTest, InDemonstrationsWithDamage) {
  std::mt19937_64 random(1);
  for (const std::string extension : {".quon", ".dask", ".yeld"}) {
    SCOPED_TRACE(extension);
    std::string bytes;
    const Synth::BarePackets next = Synth::bareDemo(extension, random(), 20 * Lib::kNanosPerSecond);
    for (auto packet = next(); !packet.empty(); packet = next()) {
      const std::size_t lost = random() % 50 == 0 ? random() % packet.size() : 0;
      bytes.append(packet.begin() + static_cast<std::ptrdiff_t>(lost), packet.end());
    }
    const TempFile file("damaged" + extension, bytes);
    expectWalksAgree(file.path());
  }
}

}  // namespace
}  // namespace Kvex::Sto
