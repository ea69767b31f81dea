#include "store/NativeReader.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <tuple>

namespace Kvex::Sto {

namespace {

// A field is looked at whatever its type: all types have the same layout, and a value's bytes fill up to a word. Flags
// and the mark of a write are read as one little-endian number, so that a field that has not changed is passed by after
// one comparison.
constexpr std::size_t kStampOffset = 0;
constexpr std::size_t kStateOffset = 8;
constexpr std::size_t kWrittenOffset = kStateOffset + 1;
constexpr std::size_t kValueOffset = 24;
constexpr std::uint16_t kFlagBits = 0xFF;

/// Blocks between two looks at which signals have samples in most steps.
constexpr std::uint32_t kBlocksPerSorting = 16;

template <class T>
constexpr bool kHasLayout = sizeof(Lib::NavField<T>) == kValueOffset + sizeof(std::uint64_t) &&
                            offsetof(Lib::NavField<T>, stamp) == kStampOffset&& offsetof(Lib::NavField<T>, flags) ==
                                kStateOffset&& offsetof(Lib::NavField<T>, written) ==
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
        states_.push_back(fields[element].flags);
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
  stride_ = elements;
  samples_.resize(elements);
  usable_.resize(elements);
  values_.resize(elements * kBlockSteps);
  if (detail_ == Detail::Value) return;
  flags_.resize(elements * kBlockSteps);
  stamps_.resize(elements * kBlockSteps);
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

void NativeReader::sortScalars() {
  for (Group& group : groups_) {
    group.busy.clear();
    group.quiet.clear();
    for (std::size_t element = group.scalars.begin; element < group.scalars.end; ++element) {
      const bool busy = 2 * static_cast<std::size_t>(std::popcount(samples_[element])) > steps_;
      (busy ? group.busy : group.quiet).push_back(static_cast<std::uint32_t>(element));
    }
  }
}

bool NativeReader::readBlock() {
  if (blocks_++ % kBlocksPerSorting <= 1) sortScalars();
  std::ranges::fill(samples_, 0);
  std::ranges::fill(usable_, 0);
  for (steps_ = 0; steps_ < kBlockSteps && advance(); ++steps_) takeStep();
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

void NativeReader::takeGroup(const Group& group) {
  const Block block{fields_.data(), states_.data(), samples_.data(), usable_.data(), &values_[place(0, steps_)],
                    steps_};
  for (const std::uint32_t element : group.busy) {
    if (takeState(block.fields[element], block.states[element])) [[likely]]
      keepSample(block, element);
  }
  for (const std::uint32_t element : group.quiet) {
    if (takeState(block.fields[element], block.states[element])) [[unlikely]]
      keepSample(block, element);
  }
  for (const Range& array : group.arrays) {
    bool sampled = false;
    for (std::size_t element = array.begin; element < array.end; ++element) {
      sampled |= takeState(block.fields[element], block.states[element]);
    }
    for (std::size_t element = array.begin; sampled && element < array.end; ++element) keepSample(block, element);
  }
}

/// Takes over the state of a field. Gives whether it makes a sample.
inline bool NativeReader::takeState(std::byte* field, std::uint16_t& state) {
  const std::uint16_t now = stateOf(field);
  const std::uint16_t before = state;
  if (now == before) return false;
  state = now & kFlagBits;
  field[kWrittenOffset] = std::byte{0};
  return now > kFlagBits || (usableState(before) && !usableState(now));
}

inline void NativeReader::keepSample(const Block& block, std::size_t element) {
  const std::byte* const field = block.fields[element];
  const std::uint16_t state = block.states[element];
  if ((state & Lib::Flag::kUntimed) != 0) return;
  block.samples[element] |= std::uint64_t{1} << block.step;
  block.usable[element] |= std::uint64_t{usableState(state)} << block.step;
  std::memcpy(&block.values[element], field + kValueOffset, sizeof block.values[element]);
  if (detail_ == Detail::FlagsAndStamp) keepDetail(field, place(element, block.step));
}

void NativeReader::keepDetail(const std::byte* field, std::size_t place) {
  flags_[place] = static_cast<std::uint8_t>(stateOf(field));
  std::memcpy(&stamps_[place], field + kStampOffset, sizeof stamps_[place]);
}

}  // namespace Kvex::Sto
