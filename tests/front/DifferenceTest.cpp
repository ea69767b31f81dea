// In what two recordings differ.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kvex/Difference.h>
#include <kvex/File.h>
#include <sstream>

#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/RecordingWriter.h"

namespace Kvex {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Testing::TempFile;

constexpr Nano kStart = 1'384'035'200'000'000'000;

/// A recording of one stream with two signals, of which "Gain" never changes.
struct Made {
  std::string unit = "m";
  std::string signal = "Way";
  std::uint32_t gain = 5;
  std::uint32_t seconds = 10;
  bool gainChanges = false;
  bool second = false;  ///< A second stream.
};

std::string make(const Made& made) {
  Synth::ZintDefinition definition;
  definition.signals = {{.id = 1, .name = "Nano", .bitOffset = 0, .bitSize = 64, .base = "S"},
                        {.id = 2, .name = made.signal, .unit = made.unit, .bitOffset = 64, .bitSize = 32, .base = "U"},
                        {.id = 3, .name = "Gain", .bitOffset = 96, .bitSize = 32, .base = "U"}};
  definition.messages = {{.id = 1, .signals = {1, 2, 3}}};
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  std::vector<Com::LogicalWriter*> streams;
  for (std::uint32_t serial = 1; serial <= (made.second ? 2U : 1U); ++serial) {
    streams.push_back(&writer.addStream(
        {.serial = serial, .primary = Com::primaryText("[Kvex-Zint]", 1), .headers = {definition.headerPacket()}}));
  }
  for (Com::LogicalWriter* stream : streams) stream->writeHeader();
  for (std::uint32_t i = 0; i <= made.seconds; ++i) {
    Synth::ZintPacket packet(1, 16);
    packet.setBits(0, 64, static_cast<std::uint64_t>(kStart + i * kNanosPerSecond));
    packet.setBits(64, 32, i);
    packet.setBits(96, 32, made.gain + (made.gainChanges && i == 3 ? 1 : 0));
    for (Com::LogicalWriter* stream : streams) stream->add({packet.bytes().begin(), packet.bytes().end()});
  }
  writer.end();
  return out.str();
}

/// "setting Gain: 5 | 7".
std::vector<std::string> differencesOf(const Made& one, const Made& other) {
  const TempFile firstPath("differ-one.vrel", make(one));
  const TempFile secondPath("differ-other.vrel", make(other));
  File first(firstPath.path());
  File second(secondPath.path());
  std::vector<std::string> texts;
  for (const Difference& d : differences(first, second)) {
    texts.push_back(std::string(nameOf(d.kind)) + ' ' + d.subject + ": " + d.before.value_or("-") + " | " +
                    d.after.value_or("-"));
  }
  return texts;
}

TEST(DifferenceTest, TellsInWhatRecordingsDiffer) {
  EXPECT_THAT(differencesOf({}, {}), IsEmpty());
  EXPECT_THAT(differencesOf({}, {.gain = 7}), ElementsAre("setting Gain: 5 | 7"));
  EXPECT_THAT(differencesOf({.gainChanges = true}, {.gain = 7}), IsEmpty()) << "what changes is no setting";
  EXPECT_THAT(differencesOf({}, {.unit = "km"}), ElementsAre(testing::StartsWith("signal Way unit: m | km")));
  EXPECT_THAT(differencesOf({}, {.signal = "Road"}),
              ElementsAre(testing::StartsWith("signal Way: "), testing::StartsWith("signal Road: - | ")));
  EXPECT_THAT(differencesOf({}, {.seconds = 12}),
              ElementsAre(testing::AllOf(testing::StartsWith("span "), testing::HasSubstr("(10 s) | "),
                                         testing::EndsWith("(12 s)"))));
  EXPECT_THAT(differencesOf({}, {.second = true}), ElementsAre(testing::StartsWith("stream Zint")));
}

TEST(DifferenceTest, AFileDoesNotDifferFromItself) {
  for (const char* name : {"can_fd_11.vrel", "range_recording_11.vrel", "quon_mode_mix_11.quon"}) {
    File first(Support::dataPath(name));
    File second(Support::dataPath(name));
    EXPECT_THAT(differences(first, second), IsEmpty()) << name;
  }
}

}  // namespace
}  // namespace Kvex
