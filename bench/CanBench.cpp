// How fast a recorded CAN bus is taken apart: every signal of every frame, against only walking the frames.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "can/CanDecoder.h"
#include "synth/CanBus.h"

namespace Kvex {

namespace {

/// Some seconds of a vehicle bus in memory.
class BusRecording {
 public:
  BusRecording() {
    constexpr int kPackets = 10000;
    Synth::CanBus bus(1'400'000'000'000'000'000);
    for (int count = 0; count < kPackets; ++count) {
      const auto packet = bus.next();
      packets_.emplace_back(packet.begin(), packet.end());
    }
  }

  template <class Visitor>
  void forEachPacket(Visitor&& visitor) const {
    for (const auto& packet : packets_) visitor(Lib::ByteView(packet));
  }

  /// Values of one round: the signals of all frames that the database knows.
  std::int64_t valueCount(const Can::CanDatabase& database) const {
    std::int64_t count = 0;
    forEachPacket([&](Lib::ByteView packet) {
      Can::forEachFrame(packet, [&](std::uint32_t id, Lib::ByteView) {
        if (const Can::CanMessage* message = database.find(id)) count += message->signalCount;
      });
    });
    return count;
  }

 private:
  std::vector<std::vector<std::uint8_t>> packets_;
};

/// Only the frames: their ids and lengths are looked at.
std::int64_t walkFrames(const BusRecording& bus) {
  std::int64_t frames = 0;
  bus.forEachPacket([&](Lib::ByteView packet) {
    Can::forEachFrame(packet, [&](std::uint32_t id, Lib::ByteView data) {
      benchmark::DoNotOptimize(id);
      benchmark::DoNotOptimize(data);
      ++frames;
    });
  });
  return frames;
}

/// All signals of all frames, packet by packet.
void extractSignals(const BusRecording& bus, Can::CanDecoder& decoder, std::vector<Can::CanField>& fields) {
  Lib::Nano time = 0;
  bus.forEachPacket([&](Lib::ByteView packet) {
    decoder.decode(packet, ++time, fields);
    decoder.extract(fields);
  });
  benchmark::DoNotOptimize(fields.data());
  benchmark::ClobberMemory();
}

/// Frames as a walk takes them while nobody looks at the signals.
void keepNewestFrames(benchmark::State& state) {
  const BusRecording bus;
  Can::CanDecoder decoder{Can::CanDatabase(Synth::CanBus::database())};
  std::vector<Can::CanField> fields = decoder.emptyFields();
  for (auto _ : state) {
    bus.forEachPacket([&](Lib::ByteView packet) { decoder.decode(packet, 1, fields); });
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * walkFrames(bus));
}

/// The time is the processor time of the extraction; "perWalk" is how many times the walk of the same frames it takes.
void extractAllSignals(benchmark::State& state) {
  const BusRecording bus;
  Can::CanDecoder decoder{Can::CanDatabase(Synth::CanBus::database())};
  std::vector<Can::CanField> fields = decoder.emptyFields();
  std::clock_t walking = 0;
  std::clock_t extracting = 0;
  std::int64_t frames = 0;
  for (auto _ : state) {
    const std::clock_t begin = std::clock();
    frames += walkFrames(bus);
    const std::clock_t middle = std::clock();
    extractSignals(bus, decoder, fields);
    const std::clock_t end = std::clock();
    walking += middle - begin;
    extracting += end - middle;
    state.SetIterationTime(static_cast<double>(end - middle) / CLOCKS_PER_SEC);
  }
  const std::int64_t values = bus.valueCount(decoder.database()) * static_cast<std::int64_t>(state.iterations());
  state.SetItemsProcessed(values);
  state.counters["valuesPerFrame"] = static_cast<double>(values) / static_cast<double>(frames);
  state.counters["perWalk"] = static_cast<double>(extracting) / static_cast<double>(walking);
}

void readDatabase(benchmark::State& state) {
  const std::string text = Synth::CanBus::database();
  for (auto _ : state) benchmark::DoNotOptimize(Can::CanDatabase(text));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

BENCHMARK(extractAllSignals)->UseManualTime();
BENCHMARK(keepNewestFrames);
BENCHMARK(readDatabase);

}  // namespace

}  // namespace Kvex
