#include <bit>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

#include "support/Golden.h"
#include "support/StoreReading.h"
#include "synth/CanPacket.h"
#include "synth/RecordingWriter.h"

namespace Kvex::Sto {
namespace {

using Testing::StoreReading;
using Testing::TempFile;

std::vector<SignalListing> signalsOf(const DataStore& store, std::uint32_t id) {
  std::vector<SignalListing> signals;
  store.visitStream(id, [&](const Stream& stream, const Resource&) { signals = stream.namedSignals(); });
  return signals;
}

std::string countRecording(std::uint32_t packets) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream({.serial = 1,
                                                 .primary = Com::primaryText("[Kvex-Zint]", 1),
                                                 .headers = {Testing::countDefinition().headerPacket()}});
  stream.writeHeader();
  for (std::uint32_t i = 0; i < packets; ++i) stream.add(Testing::countPacket(1000 + i, i));
  writer.end();
  return out.str();
}

TEST(NativeStepsTest, BlocksHoldEveryPacketOnce) {
  for (const std::uint32_t packets : {1U, 63U, 64U, 65U, 200U}) {
    const TempFile file("blocks.vrel", countRecording(packets));
    StoreReading reading(file.path());
    const std::vector<SignalListing> signals = signalsOf(reading.store, 0);
    for (int round = 0; round < 2; ++round) {
      const auto reader = reading.store.openNative(0, signals, NativeReader::Detail::Value);
      std::uint32_t count = 0;
      while (reader->readBlock()) {
        for (std::size_t step = 0; step < reader->times().size(); ++step, ++count) {
          ASSERT_EQ(reader->times()[step], 1000 + count);
          ASSERT_EQ(reader->value<std::uint32_t>(reader->firstElement(1), step), count);
        }
        EXPECT_EQ(static_cast<std::size_t>(std::popcount(reader->samples(reader->firstElement(1)))),
                  reader->times().size());
      }
      EXPECT_EQ(count, packets) << "round " << round;
    }
  }
}

TEST(NativeStepsTest, SignalOfSeveralMessagesIsReadFromEach) {
  Synth::ZintDefinition definition;
  definition.signals = {{.id = 1, .name = "Nano", .bitOffset = 0, .bitSize = 64, .base = "S"},
                        {.id = 2, .name = "Shared", .bitOffset = 64, .bitSize = 32, .base = "U"},
                        {.id = 3, .name = "Own", .bitOffset = 96, .bitSize = 32, .base = "U"}};
  definition.messages = {{.id = 1, .signals = {1, 2}}, {.id = 2, .signals = {1, 2, 3}}};
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream = writer.addStream(
      {.serial = 1, .primary = Com::primaryText("[Kvex-Zint]", 1), .headers = {definition.headerPacket()}});
  stream.writeHeader();
  for (const std::uint16_t message : {1, 2, 2, 1, 7}) {  // the last one is not defined
    Synth::ZintPacket packet(message, 16);
    packet.setBits(0, 64, 100U + message);
    stream.add({packet.bytes().begin(), packet.bytes().end()});
  }
  writer.end();
  const TempFile file("shared.vrel", out.str());
  StoreReading reading(file.path());
  const std::vector<SignalListing> signals = signalsOf(reading.store, 0);
  const auto reader = reading.store.openNative(0, signals, NativeReader::Detail::Value);
  ASSERT_TRUE(reader->readBlock());
  std::map<std::string, std::uint64_t> samples;
  for (std::size_t row = 0; row < signals.size(); ++row) {
    samples[signals[row].name] = reader->samples(reader->firstElement(row));
  }
  EXPECT_EQ(samples["Nano"], 0b1111U);
  EXPECT_EQ(samples["Shared"], 0b1111U);
  EXPECT_EQ(samples["Own"], 0b0110U);
}

TEST(NativeStepsTest, CanTimeAndEachFrameAreSteps) {
  std::ostringstream out;
  Synth::RecordingWriter writer(out);
  Com::LogicalWriter& stream =
      writer.addStream({.serial = 1,
                        .primary = Com::primaryText("[Kvex-Can]", 1),
                        .headers = {"(Kvex-Can-Dbc)BO_ 1 A: 8 X\n SG_ One : 0|8@1+ (1,0) [0|1] \"\" X\n"
                                    "BO_ 2 B: 8 X\n SG_ Two : 0|8@1+ (1,0) [0|1] \"\" X\n"}});
  stream.writeHeader();
  constexpr Nano kTime = 1'400'000'000'000'000'000;
  Synth::CanPacket packet(kTime);
  for (const std::uint32_t id : {1U, 2U, 9U, 1U}) packet.addFrame(id, std::vector<std::uint8_t>(8, 5));
  stream.add({packet.bytes().begin(), packet.bytes().end()});
  writer.end();
  const TempFile file("frames.vrel", out.str());
  StoreReading reading(file.path());
  const std::vector<SignalListing> signals = signalsOf(reading.store, 0);
  const auto reader = reading.store.openNative(0, signals, NativeReader::Detail::Value);
  ASSERT_TRUE(reader->readBlock());
  EXPECT_EQ(reader->times().size(), 5U) << "the time, and four frames";
  const std::map<std::string, std::uint64_t> expected = {{"Nano", 0b00001}, {"One", 0b10010}, {"Two", 0b00100}};
  for (std::size_t row = 0; row < signals.size(); ++row) {
    const auto known = expected.find(signals[row].name);
    if (known != expected.end()) {
      EXPECT_EQ(reader->samples(reader->firstElement(row)), known->second) << known->first;
    }
  }
  for (const Nano time : reader->times()) EXPECT_EQ(time, kTime);
}

/// The last sample of each scalar signal up to and with the step at which the clock first reaches a time.
class NativeReaderTest : public testing::TestWithParam<const char*> {};

TEST_P(NativeReaderTest, LastSampleIsTheValueOfTheGrid) {
  StoreReading reading(Support::dataPath(GetParam()));
  const Nano start = reading.store.streamInfo(0).startTime;
  const Nano end = reading.store.streamInfo(0).endTime;
  const Nano time = start + (end - start) / 3;
  std::vector<SignalListing> signals = signalsOf(reading.store, 0);
  std::erase_if(signals, [](const SignalListing& signal) { return signal.isArray; });

  std::vector<std::optional<Sample>> newest(signals.size());
  {
    const auto reader = reading.store.openNative(0, signals, NativeReader::Detail::FlagsAndStamp);
    bool reached = false;
    while (!reached && reader->readBlock()) {
      for (std::size_t step = 0; step < reader->times().size() && !reached; ++step) {
        for (std::size_t row = 0; row < signals.size(); ++row) {
          const std::size_t element = reader->firstElement(row);
          if ((reader->samples(element) >> step & 1) == 0) continue;
          Sample& sample = newest[row].emplace();
          Lib::withType(signals[row].valueType,
                        [&](auto tag) { sample.set(reader->value<typename decltype(tag)::Type>(element, step)); });
          sample.flags = reader->flags(element, step);
          sample.time = reader->stamp(element, step);
        }
        reached = reader->times()[step] >= time;
      }
    }
    ASSERT_TRUE(reached);
  }
  for (const SignalListing& signal : signals) {
    EXPECT_EQ(reading.store.subscribe(kDirectMode, signal), StoreStatus::Success);
    EXPECT_EQ(reading.store.addToQuery(reading.query, kDirectMode, signal), StoreStatus::Success);
  }
  EXPECT_EQ(reading.store.seekAll(time), StoreStatus::Success);
  const std::vector<Sample> grid = reading.read(time);
  std::size_t held = 0;
  for (std::size_t row = 0; row < signals.size(); ++row) {
    if (!grid[row].usable() || (grid[row].flags & Lib::Flag::kUntimed) != 0 || !newest[row]) continue;
    ++held;
    EXPECT_EQ(newest[row]->value, grid[row].value) << signals[row].name;
    EXPECT_EQ(newest[row]->time, grid[row].time) << signals[row].name;
  }
  EXPECT_GT(held, 2U);
}

INSTANTIATE_TEST_SUITE_P(Files, NativeReaderTest,
                         testing::Values("zint_plain_11.vrel", "zint_damaged_11.vrel", "quon_mode_mix_11.quon",
                                         "dask_mode_mix_11.dask", "yeld_chase2_lanes_11.yeld"),
                         [](const testing::TestParamInfo<const char*>& param) {
                           const std::string name = param.param;
                           return name.substr(0, name.rfind('.'));
                         });

}  // namespace
}  // namespace Kvex::Sto
