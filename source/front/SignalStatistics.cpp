#include "front/SignalStatistics.h"

#include <bit>

#include "front/NativeWalk.h"
#include "front/Tally.h"

namespace Kvex::Front {

namespace {

template <class T>
void addUsable(Statistics& tally, T number, Nano stamp, std::uint8_t flags) {
  const Value value(number, stamp, flags);
  if (tally.usable++ == 0) {
    tally.first = value;
  } else if (!same(tally.last.get<T>(), number)) {
    ++tally.changes;
  }
  tally.last = value;
  if (!isNumber(number)) return;
  if (tally.smallest.type() == ValueType::None || number < tally.smallest.get<T>()) tally.smallest = value;
  if (tally.largest.type() == ValueType::None || number > tally.largest.get<T>()) tally.largest = value;
}

/// Adds the samples of a block.
void addBlock(Statistics& tally, const NativeWalk& walk, std::size_t element) {
  const std::uint64_t steps = walk.stepsOf(element);
  if (steps == 0) return;
  const Sto::NativeReader& samples = walk.samples();
  if (tally.samples == 0) tally.firstTime = walk.time(static_cast<std::size_t>(std::countr_zero(steps)));
  tally.lastTime = walk.time(static_cast<std::size_t>(std::bit_width(steps) - 1));
  tally.samples += static_cast<std::uint64_t>(std::popcount(steps));
  Lib::withType(tally.signal.type(), [&](auto tag) {
    using T = typename decltype(tag)::Type;
    forEachStep(steps & samples.usableSamples(element), [&](std::size_t step) {
      addUsable(tally, samples.value<T>(element, step), samples.stamp(element, step), samples.flags(element, step));
    });
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
    NativeWalk walk(reading, part.signals, NativeWalk::Detail::FlagsAndStamp);
    while (walk.nextBlock()) {
      for (std::size_t asked = 0; asked < part.signals.size(); ++asked) {
        addBlock(tallies[part.places[asked]], walk, walk.elementOf(asked));
      }
    }
  }
  for (Statistics& tally : tallies) settleRate(tally);
  return tallies;
}

}  // namespace Kvex::Front
