#include "store/NativeReader.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <tuple>
#include <utility>

namespace Kvex::Sto {

namespace {

// A field is looked at whatever its type: all types have the same layout, and a value's bytes fill up to a word. Flags
// and the mark of a write are read as one little-endian number, so that a field that has not changed is passed by after
// one comparison.
constexpr std::size_t kStampOffset = 0;
constexpr std::size_t kStateOffset = 8;
constexpr std::size_t kWrittenOffset = kStateOffset + 1;
constexpr std::size_t kValueOffset = 24;
constexpr std::size_t kFieldBytes = kValueOffset + sizeof(std::uint64_t);
constexpr std::uint16_t kFlagBits = 0xFF;
constexpr std::uint16_t kWrittenBit = 0x100;

/// Blocks between two looks at which signals are written together.
constexpr std::uint32_t kBlocksPerStrips = 16;
/// A longer strip of scalars would be looked at element by element too often.
constexpr std::size_t kMaxStripScalars = 16;

template <class T>
constexpr bool kHasLayout = sizeof(Lib::NavField<T>) == kFieldBytes&& offsetof(Lib::NavField<T>, stamp) ==
                            kStampOffset&& offsetof(Lib::NavField<T>,
                                                    flags) == kStateOffset&& offsetof(Lib::NavField<T>, written) ==
                            kWrittenOffset&& offsetof(Lib::NavField<T>, value) == kValueOffset;
static_assert(!Lib::anyType([](auto tag) { return !kHasLayout<typename decltype(tag)::Type>; }));

std::uint16_t stateOf(const std::byte* field) {
  std::uint16_t state;
  std::memcpy(&state, field + kStateOffset, sizeof state);
  return state;
}

constexpr bool usableState(std::uint16_t state) {
  return Lib::usable(static_cast<std::uint8_t>(state));
}

}  // namespace

NativeReader::NativeReader(Stream& stream, StreamWalker& walker, const std::vector<const SignalRow*>& rows,
                           Detail detail, const std::atomic<bool>& cancel)
    : stream_(stream), walker_(walker), cancel_(cancel), detail_(detail) {
  stream_.want(rows);
  if (walker_.canWalk()) walker_.restart();
  layOut(rows);
}

/// Elements are laid out group by group, in a group the scalars first, and then as they lie in the record.
void NativeReader::layOut(const std::vector<const SignalRow*>& rows) {
  std::vector<std::size_t> order(rows.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  const void* record = stream_.liveRecord();
  std::ranges::sort(order, {}, [&](std::size_t i) {
    const SignalRow& row = *rows[i];
    return std::tuple(row.message, row.isArray, row.accessor(record, row.blockIndex), i);
  });
  firstElement_.resize(rows.size());
  groups_.resize(1);
  for (const std::size_t place : order) {
    const SignalRow& row = *rows[place];
    const std::size_t first = fields_.size();
    firstElement_[place] = first;
    Lib::withType(row.valueType, [&](auto tag) {
      // The record is the Stream's own, which a row may only look at; the mark of a write is taken back here.
      auto* fields =
          const_cast<Lib::NavField<typename decltype(tag)::Type>*>(row.fields<typename decltype(tag)::Type>(record));
      for (std::uint32_t element = 0; element < row.count; ++element) {
        fields[element].written = false;
        fields_.push_back(reinterpret_cast<std::byte*>(fields + element));
        knownFlags_.push_back(fields[element].flags);
        types_.push_back(row.valueType);
      }
    });
    const auto groupIndex = static_cast<std::size_t>(row.message + 1);
    if (groupIndex >= groups_.size()) groups_.resize(groupIndex + 1);
    Group& group = groups_[groupIndex];
    if (row.isArray) {
      group.arrays.push_back({first, fields_.size()});
    } else {
      if (group.scalars.begin == group.scalars.end) group.scalars.begin = first;
      group.scalars.end = fields_.size();
    }
  }
  const std::size_t elements = fields_.size();
  samples_.resize(elements);
  usable_.resize(elements);
  // Rows at a multiple of a page would share few lines of the processor's cache.
  rowWords_ = elements | 8;
  const std::size_t places = rowWords_ * kBlockSteps;
  values_.resize(places);
  if (detail_ != Detail::Value) stamps_.resize(places);
  if (detail_ == Detail::FlagsAndStamp) flags_.resize(places);
}

bool NativeReader::advance() {
  if (!inPacket_) {
    if (!walker_.canWalk() || cancel_.load(std::memory_order_relaxed) || !walker_.nextPacket(packet_)) return false;
    position_ = 0;
  }
  position_ = stream_.takeStep(packet_, position_);
  inPacket_ = position_ < packet_.size();
  walker_.followTime();
  return true;
}

/// Cuts a group into strips, by the samples of the last block.
void NativeReader::layStrips(Group& group) {
  std::vector<Strip>& strips = group.strips;
  strips.clear();
  for (std::size_t element = group.scalars.begin; element < group.scalars.end; ++element) {
    const bool goesOn = !strips.empty() && strips.back().count < kMaxStripScalars &&
                        strips.back().fields + strips.back().count * kFieldBytes == fields_[element] &&
                        samples_[strips.back().element] == samples_[element];
    if (goesOn) {
      ++strips.back().count;
    } else {
      strips.push_back({fields_[element], element, 1, false});
    }
  }
  for (const Range& array : group.arrays) {
    strips.push_back({fields_[array.begin], array.begin, array.end - array.begin, true});
  }
}

bool NativeReader::readBlock() {
  if (blocks_++ % kBlocksPerStrips <= 1) {
    for (Group& group : groups_) {
      if (group.steps != 0 || group.strips.empty()) layStrips(group);
    }
  }
  for (Group& group : groups_) group.steps = 0;
  std::ranges::fill(samples_, 0);
  std::ranges::fill(usable_, 0);
  for (steps_ = 0; steps_ < kBlockSteps && advance(); ++steps_) takeStep();
  for (Group& group : groups_) std::ranges::for_each(group.strips, [&](Strip& strip) { enterWritten(strip); });
  return steps_ > 0;
}

void NativeReader::takeStep() {
  times_[steps_] = walker_.clock();
  takeGroup(groups_[0]);
  const std::int32_t message = stream_.stepMessage();
  if (message == SignalRow::kAnyMessage) {
    for (std::size_t group = 1; group < groups_.size(); ++group) takeGroup(groups_[group]);
  } else if (message >= 0 && static_cast<std::size_t>(message) + 1 < groups_.size()) {
    takeGroup(groups_[static_cast<std::size_t>(message) + 1]);
  }
}

namespace {

/// How the states of some fields differ from the flags that they had, the mark of a write included: bits that any
/// differs in, and bits that all differ in.
struct Changes {
  std::uint32_t any = 0;
  std::uint32_t all = ~std::uint32_t{0};

  void add(const std::byte* field, std::uint32_t flags) {
    std::uint32_t state;  // with the padding behind it: nothing need be cut off for each field
    std::memcpy(&state, field + kStateOffset, sizeof state);
    any |= state ^ flags;
    all &= state ^ flags;
  }
  bool none() const { return (any & (kFlagBits | kWrittenBit)) == 0; }
  bool allWritten() const { return (any & kFlagBits) == 0 && (all & kWrittenBit) != 0; }
};

inline Changes changesOf(const std::byte* field, const std::uint32_t* flags, std::size_t count) {
  Changes changes;
  for (; count >= 4; count -= 4, field += 4 * kFieldBytes, flags += 4) {
    for (std::size_t i = 0; i < 4; ++i) changes.add(field + i * kFieldBytes, flags[i]);
  }
  for (; count > 0; --count, field += kFieldBytes, ++flags) changes.add(field, *flags);
  return changes;
}

}  // namespace

void NativeReader::takeGroup(Group& group) {
  group.steps |= std::uint64_t{1} << steps_;
  for (Strip& strip : group.strips) {
    const Changes changes = changesOf(strip.fields, &knownFlags_[strip.element], strip.count);
    if (changes.none()) continue;
    if (changes.allWritten()) {
      takeWritten(strip);
    } else {
      takeChanged(strip);
    }
  }
}

/// All elements were written, and have the flags that they had.
inline void NativeReader::takeWritten(Strip& strip) {
  strip.written |= std::uint64_t{1} << steps_;
  switch (detail_) {
    case Detail::Value:
      return keepFields<Detail::Value>(strip);
    case Detail::ValueAndStamp:
      return keepFields<Detail::ValueAndStamp>(strip);
    case Detail::FlagsAndStamp:
      return keepFields<Detail::FlagsAndStamp>(strip);
  }
}

template <NativeReader::Detail kept>
void NativeReader::keepFields(const Strip& strip) {
  // A write to a field could change any object, as the compiler sees it: so these are at hand, and not read anew.
  std::byte* const fields = strip.fields;
  const std::size_t count = strip.count;
  const std::size_t to = place(strip.element, steps_);
  std::uint64_t* const values = values_.data() + to;
  // What is not kept has no room.
  [[maybe_unused]] Nano* const stamps = kept != Detail::Value ? stamps_.data() + to : nullptr;
  [[maybe_unused]] std::uint8_t* const flags = kept == Detail::FlagsAndStamp ? flags_.data() + to : nullptr;
  for (std::size_t i = 0; i < count; ++i) {
    std::byte* const field = fields + i * kFieldBytes;
    std::memcpy(values + i, field + kValueOffset, sizeof *values);
    if constexpr (kept != Detail::Value) std::memcpy(stamps + i, field + kStampOffset, sizeof *stamps);
    if constexpr (kept == Detail::FlagsAndStamp) flags[i] = static_cast<std::uint8_t>(field[kStateOffset]);
    field[kWrittenOffset] = std::byte{0};
  }
}

void NativeReader::takeChanged(Strip& strip) {
  enterWritten(strip);
  const std::size_t end = strip.element + strip.count;
  if (!strip.isArray) {
    for (std::size_t element = strip.element; element < end; ++element) {
      if (takeState(element)) keepSample(element);
    }
    return;
  }
  bool sampled = false;
  for (std::size_t element = strip.element; element < end; ++element) sampled |= takeState(element);
  for (std::size_t element = strip.element; sampled && element < end; ++element) keepSample(element);
}

/// Takes over the state of a field. Gives whether it makes a sample.
inline bool NativeReader::takeState(std::size_t element) {
  std::byte* const field = fields_[element];
  const std::uint16_t now = stateOf(field);
  const auto before = static_cast<std::uint16_t>(knownFlags_[element]);
  if (now == before) return false;
  knownFlags_[element] = now & kFlagBits;
  field[kWrittenOffset] = std::byte{0};
  return now > kFlagBits || (usableState(before) && !usableState(now));
}

inline void NativeReader::keepSample(std::size_t element) {
  const auto state = static_cast<std::uint16_t>(knownFlags_[element]);
  if ((state & Lib::Flag::kUntimed) != 0) return;
  samples_[element] |= std::uint64_t{1} << steps_;
  usable_[element] |= std::uint64_t{usableState(state)} << steps_;
  keepField(fields_[element], place(element, steps_));
}

void NativeReader::keepField(const std::byte* field, std::size_t place) {
  std::memcpy(&values_[place], field + kValueOffset, sizeof values_[place]);
  if (detail_ != Detail::Value) std::memcpy(&stamps_[place], field + kStampOffset, sizeof stamps_[place]);
  if (detail_ == Detail::FlagsAndStamp) flags_[place] = static_cast<std::uint8_t>(stateOf(field));
}

/// Before its flags change and at the end of a block, what was written to a strip becomes samples of its elements.
void NativeReader::enterWritten(Strip& strip) {
  const std::uint64_t written = std::exchange(strip.written, 0);
  if (written == 0) return;
  for (std::size_t element = strip.element; element < strip.element + strip.count; ++element) {
    const auto state = static_cast<std::uint16_t>(knownFlags_[element]);
    if ((state & Lib::Flag::kUntimed) != 0) continue;
    samples_[element] |= written;
    if (usableState(state)) usable_[element] |= written;
  }
}

namespace {

// Two of a kind that the processor handles at once.
using Doubles = double __attribute__((vector_size(16)));
using Words = std::int64_t __attribute__((vector_size(16)));

}  // namespace

void NativeReader::tally(std::uint64_t steps, std::vector<SampleTally>& tallies) const {
  for (std::size_t element = 0; element < elements();) {
    const std::uint64_t taken = usableIn(element, steps);
    if (taken == 0) {
      ++element;
      continue;
    }
    std::size_t alike = 0;
    while (alike < 4 && element + alike < elements() && types_[element + alike] == Lib::ValueType::Double &&
           tallies[element + alike].hasNumber && usableIn(element + alike, steps) == taken) {
      ++alike;
    }
    if (alike == 4) {
      tallyDoubles<4>(element, taken, &tallies[element]);
      element += 4;
    } else if (alike >= 2) {
      tallyDoubles<2>(element, taken, &tallies[element]);
      element += 2;
    } else {
      tallyEach(element, taken, tallies[element]);
      ++element;
    }
  }
}

void NativeReader::tallyEach(std::size_t element, std::uint64_t steps, SampleTally& tally) const {
  Lib::withType(types_[element], [&](auto tag) {
    forEachStep(steps, [&](std::size_t step) {
      const std::size_t at = place(element, step);
      tally.add<typename decltype(tag)::Type>({values_[at], stamps_[at]});
    });
  });
}

/// Adds the same steps of some neighbours that were numbers before. A block rarely has values that are no numbers:
/// these are added one by one.
template <std::size_t kLanes>
void NativeReader::tallyDoubles(std::size_t element, std::uint64_t steps, SampleTally* tallies) const {
  const auto valueOf = SampleTally::valueOf<double>;
  constexpr std::size_t kPairs = kLanes / 2;
  std::array<Doubles, kPairs> smallest;
  std::array<Doubles, kPairs> largest;
  std::array<Doubles, kPairs> last;
  std::array<Words, kPairs> changes{};
  std::array<Words, kPairs> noNumbers{};
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    smallest[lane / 2][lane % 2] = valueOf(tallies[lane].smallest.bits);
    largest[lane / 2][lane % 2] = valueOf(tallies[lane].largest.bits);
    last[lane / 2][lane % 2] = valueOf(tallies[lane].last.bits);
  }
  for (std::size_t pair = 0; pair < kPairs; ++pair) noNumbers[pair] = last[pair] != last[pair];
  forEachStep(steps, [&](std::size_t step) {
    for (std::size_t pair = 0; pair < kPairs; ++pair) {
      Doubles values;
      std::memcpy(&values, &values_[place(element + 2 * pair, step)], sizeof values);
      smallest[pair] = values < smallest[pair] ? values : smallest[pair];
      largest[pair] = values > largest[pair] ? values : largest[pair];
      changes[pair] -= values != last[pair];
      noNumbers[pair] |= values != values;
      last[pair] = values;
    }
  });
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    SampleTally& tally = tallies[lane];
    if (noNumbers[lane / 2][lane % 2] != 0) {
      tallyEach(element + lane, steps, tally);
      continue;
    }
    const auto sampleAt = [&](std::size_t step) {
      const std::size_t at = place(element + lane, step);
      return SampleTally::Stamped{values_[at], stamps_[at]};
    };
    const auto firstOf = [&](double sought) {
      auto step = static_cast<std::size_t>(std::countr_zero(steps));
      while ((steps >> step & 1) == 0 || valueOf(sampleAt(step).bits) != sought) ++step;
      return sampleAt(step);
    };
    if (smallest[lane / 2][lane % 2] < valueOf(tally.smallest.bits))
      tally.smallest = firstOf(smallest[lane / 2][lane % 2]);
    if (largest[lane / 2][lane % 2] > valueOf(tally.largest.bits)) tally.largest = firstOf(largest[lane / 2][lane % 2]);
    tally.changes += static_cast<std::uint64_t>(changes[lane / 2][lane % 2]);
    tally.last = sampleAt(static_cast<std::size_t>(std::bit_width(steps) - 1));
  }
}

}  // namespace Kvex::Sto
