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

/// Blocks between two looks at which signals most steps write.
constexpr std::uint32_t kBlocksPerStrips = 16;
/// A longer strip of scalars would be looked at element by element too often.
constexpr std::size_t kMaxStripScalars = 16;
constexpr std::size_t kMaxIdle = 32;

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
        expected_.push_back(fields[element].flags);
        if (detail_ == Detail::Tally) tally_.addElement(row.valueType);
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
  if (detail_ == Detail::Tally) return;
  values_.resize(elements * kLine);
  if (detail_ == Detail::Value) return;
  flags_.resize(elements * kLine);
  stamps_.resize(elements * kLine);
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
  const auto busy = [&](std::uint64_t samples) { return 2 * std::popcount(samples) > std::popcount(group.steps); };
  std::vector<Strip>& strips = group.strips;
  strips.clear();
  for (std::size_t element = group.scalars.begin; element < group.scalars.end; ++element) {
    const bool isBusy = busy(samples_[element]);
    const bool goesOn =
        !strips.empty() && strips.back().busy == isBusy &&
        strips.back().count < (isBusy ? kMaxStripScalars : kMaxIdle) &&
        strips.back().fields + strips.back().count * kFieldBytes == fields_[element] &&
        (detail_ != Detail::Tally || !isBusy || tally_.type(strips.back().element) == tally_.type(element));
    if (goesOn) {
      ++strips.back().count;
    } else {
      strips.push_back({fields_[element], element, 1, false, isBusy});
    }
  }
  for (const Range& array : group.arrays) {
    std::uint64_t all = ~std::uint64_t{0};
    for (std::size_t element = array.begin; element < array.end; ++element) all &= samples_[element];
    strips.push_back({fields_[array.begin], array.begin, array.end - array.begin, true, busy(all)});
  }
  for (const Strip& strip : strips) {
    for (std::size_t element = strip.element; element < strip.element + strip.count; ++element) {
      expected_[element] &= kFlagBits;
      if (strip.busy) expected_[element] |= kWrittenBit;
    }
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
  const Nano time = walker_.clock();
  times_[steps_] = time;
  tallied_ = time >= tallyStart_ && (time < tallyEnd_ || tallyEnd_ == INT64_MAX);
  takeGroup(groups_[0]);
  const std::int32_t message = stream_.stepMessage();
  if (message == SignalRow::kAnyMessage) {
    for (std::size_t group = 1; group < groups_.size(); ++group) takeGroup(groups_[group]);
  } else if (message >= 0 && static_cast<std::size_t>(message) + 1 < groups_.size()) {
    takeGroup(groups_[static_cast<std::size_t>(message) + 1]);
  }
}

namespace {

inline std::uint32_t changeOf(const std::byte* field, std::uint32_t expected) {
  std::uint32_t state;  // with the padding behind it: nothing need be cut off for each field
  std::memcpy(&state, field + kStateOffset, sizeof state);
  return state ^ expected;
}

/// Whether all of some fields are in the states expected.
inline bool areExpected(const std::byte* field, const std::uint32_t* expected, std::size_t count) {
  std::uint32_t change = 0;
  for (; count >= 8; count -= 8, field += 8 * kFieldBytes, expected += 8) {
    change |= changeOf(field, expected[0]) | changeOf(field + kFieldBytes, expected[1]) |
              changeOf(field + 2 * kFieldBytes, expected[2]) | changeOf(field + 3 * kFieldBytes, expected[3]);
    change |= changeOf(field + 4 * kFieldBytes, expected[4]) | changeOf(field + 5 * kFieldBytes, expected[5]) |
              changeOf(field + 6 * kFieldBytes, expected[6]) | changeOf(field + 7 * kFieldBytes, expected[7]);
  }
  for (; count > 0; --count, field += kFieldBytes, ++expected) change |= changeOf(field, *expected);
  return (change & (kFlagBits | kWrittenBit)) == 0;
}

}  // namespace

void NativeReader::takeGroup(Group& group) {
  group.steps |= std::uint64_t{1} << steps_;
  for (Strip& strip : group.strips) {
    if (!areExpected(strip.fields, &expected_[strip.element], strip.count)) {
      takeChanged(strip);
    } else if (strip.busy) {
      takeWritten(strip);
    }
  }
}

/// All elements were written, and have the flags that they had.
inline void NativeReader::takeWritten(Strip& strip) {
  strip.written |= std::uint64_t{1} << steps_;
  if (detail_ == Detail::Tally) return takeTallied(strip);
  std::byte* field = strip.fields;
  std::size_t to = place(strip.element, steps_);
  if (detail_ == Detail::Value) {
    const std::size_t count = strip.count;
    // A write to a field could change any object, as the compiler sees it: so this is at hand, and not read anew.
    std::uint64_t* const values = values_.data();
    for (std::size_t i = 0; i < count; ++i, field += kFieldBytes, to += kLine) {
      field[kWrittenOffset] = std::byte{0};
      std::memcpy(&values[to], field + kValueOffset, sizeof *values);
    }
    return;
  }
  for (std::size_t i = 0; i < strip.count; ++i, field += kFieldBytes, to += kLine) {
    field[kWrittenOffset] = std::byte{0};
    keepField(field, to);
  }
}

void NativeReader::takeTallied(Strip& strip) {
  const bool steady = strip.steady && tallied_;
  bool allSteady = tallied_;
  Lib::withType(tally_.type(strip.element), [&](auto tag) {
    auto* const fields = reinterpret_cast<Lib::NavField<typename decltype(tag)::Type>*>(strip.fields);
    if (steady) return tally_.addWritten(strip.element, fields, strip.count);
    for (std::size_t i = 0; i < strip.count; ++i) {
      fields[i].written = false;
      const bool taken = tallied_ && fields[i].flags == 0;
      if (taken) tally_.add(strip.element + i, fields[i]);
      allSteady = allSteady && taken && tally_.hasNumber(strip.element + i);
    }
  });
  if (tallied_) strip.steady = allSteady;
}

void NativeReader::takeChanged(Strip& strip) {
  strip.steady = false;
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
  const auto before = static_cast<std::uint16_t>(expected_[element] & kFlagBits);
  if (now == before) return false;
  expected_[element] = static_cast<std::uint16_t>((expected_[element] & kWrittenBit) | (now & kFlagBits));
  field[kWrittenOffset] = std::byte{0};
  return now > kFlagBits || (usableState(before) && !usableState(now));
}

inline void NativeReader::keepSample(std::size_t element) {
  const auto state = static_cast<std::uint16_t>(expected_[element]);
  if ((state & Lib::Flag::kUntimed) != 0) return;
  samples_[element] |= std::uint64_t{1} << steps_;
  usable_[element] |= std::uint64_t{usableState(state)} << steps_;
  if (detail_ != Detail::Tally) return keepField(fields_[element], place(element, steps_));
  if (!tallied_ || !usableState(static_cast<std::uint16_t>(state & kFlagBits))) return;
  Lib::withType(tally_.type(element), [&](auto tag) {
    tally_.add(element, *reinterpret_cast<const Lib::NavField<typename decltype(tag)::Type>*>(fields_[element]));
  });
}

void NativeReader::keepField(const std::byte* field, std::size_t place) {
  std::memcpy(&values_[place], field + kValueOffset, sizeof values_[place]);
  if (detail_ == Detail::Value) return;
  flags_[place] = static_cast<std::uint8_t>(stateOf(field));
  std::memcpy(&stamps_[place], field + kStampOffset, sizeof stamps_[place]);
}

/// Before its flags change and at the end of a block, what was written to a strip becomes samples of its elements.
void NativeReader::enterWritten(Strip& strip) {
  const std::uint64_t written = std::exchange(strip.written, 0);
  if (written == 0) return;
  for (std::size_t element = strip.element; element < strip.element + strip.count; ++element) {
    const auto state = static_cast<std::uint16_t>(expected_[element]);
    if ((state & Lib::Flag::kUntimed) != 0) continue;
    samples_[element] |= written;
    if (usableState(state)) usable_[element] |= written;
  }
}

}  // namespace Kvex::Sto
