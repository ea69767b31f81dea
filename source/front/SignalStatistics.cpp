#include "front/SignalStatistics.h"

#include "front/NativeWalk.h"
#include "front/Tally.h"

namespace Kvex::Front {

namespace {

template <class T>
void addSample(Statistics& tally, Nano time, const Lib::NavField<T>& field) {
  if (tally.samples++ == 0) tally.firstTime = time;
  tally.lastTime = time;
  if (!field.usable()) return;
  const Value value(field.value, field.stamp, field.flags);
  if (tally.usable++ == 0) {
    tally.first = value;
  } else if (!same(tally.last.get<T>(), field.value)) {
    ++tally.changes;
  }
  tally.last = value;
  if (!isNumber(field.value)) return;
  if (tally.smallest.type() == ValueType::None || field.value < tally.smallest.get<T>()) tally.smallest = value;
  if (tally.largest.type() == ValueType::None || field.value > tally.largest.get<T>()) tally.largest = value;
}

void settleRate(Statistics& tally) {
  const double seconds = (static_cast<double>(tally.lastTime) - static_cast<double>(tally.firstTime)) * 1e-9;
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
    NativeWalk walk(reading, part.signals);
    while (walk.step()) {
      walk.visit([&](std::span<const NativeWalk::Use> uses, const auto& fields) {
        for (const NativeWalk::Use& use : uses) {
          const auto& field = fields[use.element];
          if ((field.flags & Flag::kUntimed) == 0) addSample(tallies[part.places[use.asked]], walk.time(), field);
        }
      });
    }
  }
  for (Statistics& tally : tallies) settleRate(tally);
  return tallies;
}

}  // namespace Kvex::Front
