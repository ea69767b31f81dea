#include "front/SignalStatistics.h"

#include <bit>

#include "front/NativeWalk.h"
#include "store/SampleTally.h"

namespace Kvex::Front {

namespace {

/// Adds the samples of a block.
void addBlock(Statistics& statistics, const NativeWalk& walk, std::size_t element) {
  const std::uint64_t steps = walk.stepsOf(element);
  if (steps == 0) return;
  if (statistics.samples == 0) statistics.firstTime = walk.time(static_cast<std::size_t>(std::countr_zero(steps)));
  statistics.lastTime = walk.time(static_cast<std::size_t>(std::bit_width(steps) - 1));
  statistics.samples += static_cast<std::uint64_t>(std::popcount(steps));
  statistics.usable += static_cast<std::uint64_t>(std::popcount(steps & walk.samples().usableSamples(element)));
}

/// Takes over what the usable samples came to. A usable sample has no flags: one without a real stamp is no sample.
void addTally(Statistics& statistics, const Sto::SampleTally& tally, Lib::ValueType type) {
  if (!tally.hasAny) return;
  Lib::withType(type, [&](auto tag) {
    using T = typename decltype(tag)::Type;
    const auto valueOf = [](Sto::SampleTally::Stamped stamped) {
      return Value(Sto::SampleTally::valueOf<T>(stamped.bits), stamped.stamp);
    };
    statistics.first = valueOf(tally.first);
    statistics.last = valueOf(tally.last);
    statistics.changes = tally.changes;
    if (!tally.hasNumber) return;
    statistics.smallest = valueOf(tally.smallest);
    statistics.largest = valueOf(tally.largest);
  });
}

void settleRate(Statistics& tally) {
  // Times have more digits than a double; their difference may not fit into 64 bits.
  __extension__ using Wide = __int128;
  const double seconds = static_cast<double>(static_cast<Wide>(tally.lastTime) - tally.firstTime) * 1e-9;
  if (tally.samples >= 2 && seconds > 0) tally.rate = static_cast<double>(tally.samples - 1) / seconds;
}

}  // namespace

std::vector<Signal> elementsOf(const std::vector<Signal>& signals) {
  std::vector<Signal> elements;
  for (const Signal& signal : signals) {
    if (!signal.isArray()) elements.push_back(signal);
    for (std::uint32_t element = 0; signal.isArray() && element < signal.count(); ++element) {
      elements.push_back(signal.at(element));
    }
  }
  return elements;
}

std::vector<Statistics> readStatistics(Reading& reading, const std::vector<Signal>& elements) {
  std::vector<Statistics> tallies;
  tallies.reserve(elements.size());
  for (const Signal& element : elements) tallies.push_back({.signal = element});
  for (const StreamPart& part : partsByStream(elements)) {
    NativeWalk walk(reading, part.signals, NativeWalk::Detail::ValueAndStamp);
    std::vector<Sto::SampleTally> samples(walk.samples().elements());
    while (walk.nextBlock()) {
      walk.samples().tally(walk.steps(), samples);
      for (std::size_t asked = 0; asked < part.signals.size(); ++asked) {
        addBlock(tallies[part.places[asked]], walk, walk.elementOf(asked));
      }
    }
    for (std::size_t asked = 0; asked < part.signals.size(); ++asked) {
      const std::size_t element = walk.elementOf(asked);
      addTally(tallies[part.places[asked]], samples[element], walk.samples().type(element));
    }
  }
  for (Statistics& tally : tallies) settleRate(tally);
  return tallies;
}

}  // namespace Kvex::Front
