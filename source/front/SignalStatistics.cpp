#include "front/SignalStatistics.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <functional>
#include <future>

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

/// Walks through a stream.
void tallyPart(Reading& reading, const StreamPart& part, std::vector<Statistics>& tallies) {
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

/// The work as it is shared among threads, what takes longest first. A stream stays whole: what a status packet says
/// may be read only where a signal of its group is asked for, and must not depend on the number of threads.
std::vector<StreamPart> partsFor(const Reading& reading, const std::vector<Signal>& elements) {
  std::vector<StreamPart> parts = partsByStream(elements);
  if (reading.options().threads > 1) {
    std::ranges::stable_sort(parts, std::greater(), [](const StreamPart& part) { return part.signals.size(); });
  }
  return parts;
}

/// Another reading of the same file, for a thread of its own. Throws `Unreadable` for a file that is another one now.
std::shared_ptr<OpenedFile> openAgain(const OpenedFile& file, std::stop_token stop) {
  auto again = std::make_shared<OpenedFile>(file.path, OpenOptions{.stop = std::move(stop)});
  const bool same = std::ranges::equal(file.signals, again->signals, {}, &Signal::name, &Signal::name) &&
                    std::ranges::equal(file.signals, again->signals, {}, &Signal::stream, &Signal::stream);
  if (!same) throw Error(ErrorCode::Unreadable, "the file was changed while it was read", file.path);
  return again;
}

/// Tallies the parts, each in the next thread that is free. `tallies` has places of their own for the parts.
void tallyParts(Reading& reading, const std::vector<StreamPart>& parts, std::vector<Statistics>& tallies) {
  std::atomic<std::size_t> next = 0;
  const auto tallyNext = [&](Reading& own) {
    for (std::size_t part = next++; part < parts.size(); part = next++) tallyPart(own, parts[part], tallies);
  };
  ReadOptions silent = reading.options();
  silent.progress = nullptr;
  // Whatever ends this early waits for the threads, which stop after the part that they are at.
  std::vector<std::future<void>> others;
  while (others.size() + 1 < std::min<std::size_t>(silent.threads, parts.size())) {
    others.push_back(std::async(std::launch::async, [&] {
      Reading own(openAgain(reading.file(), silent.stop), silent);
      tallyNext(own);
    }));
  }
  try {
    tallyNext(reading);
    for (std::future<void>& other : others) other.get();
  } catch (...) {
    next = parts.size();
    throw;
  }
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
  tallyParts(reading, partsFor(reading, elements), tallies);
  for (Statistics& tally : tallies) settleRate(tally);
  return tallies;
}

}  // namespace Kvex::Front
