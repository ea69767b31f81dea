#include "range/RangeTimeState.h"

#include "library/Wrapping.h"

namespace Kvex::Rng {

namespace {

constexpr std::size_t kMillisecondsOffset = 4;
constexpr Nano kNanosPerMilli = 1'000'000;
/// A fall of the millisecond word from above to below this is a new minute.
constexpr std::int32_t kRollover = 2000;

/// Time of a millisecond word; wild minute counts wrap.
Nano clockTime(std::int32_t minute, std::int32_t milliseconds) {
  return Lib::wrappingAdd(Lib::wrappingMultiply(minute, 60 * Lib::kNanosPerSecond), milliseconds * kNanosPerMilli);
}

}  // namespace

void TimeReferences::set(Nano time, Nano back) {
  first = time;
  start = Lib::wrappingSubtract(time, back);
  const Nano fraction = start % Lib::kNanosPerSecond;
  origin = Lib::wrappingSubtract(start, fraction < 0 ? fraction + Lib::kNanosPerSecond : fraction);
}

bool RangeTimeState::beginsCycle(std::size_t pair) {
  const bool repeated = seen_[pair];
  if (repeated) seen_.reset();
  seen_.set(pair);
  return repeated;
}

void RangeTimeState::countPacket(std::size_t pair) {
  packets_.previous = packets_.count++;
  cycles_.previous = cycles_.count;
  if (beginsCycle(pair)) ++cycles_.count;
}

void RangeTimeState::uncountPacket() {
  packets_.takeBack();
  cycles_.takeBack();
}

Nano RangeTimeState::countedBack() const {
  return kCyclePeriod * cycles_.count;
}

std::optional<Nano> RangeTimeState::advance(std::uint16_t milliseconds) {
  if (milliseconds == kNoMilliseconds) return std::nullopt;
  if (milliseconds < kRollover && milliseconds_ > kRollover && minute_ >= 0) {
    // Past the largest count the minute turns unknown.
    minute_ = minute_ == INT32_MAX ? -1 : minute_ + 1;
  }
  milliseconds_ = milliseconds;
  if (minute_ < 0) return std::nullopt;
  return clockTime(minute_, milliseconds_);
}

bool RangeTimeState::scan(const PacketHead& head, ByteView packet) {
  if (head.isTimed()) {
    if (!scan_.references.known()) {
      countPacket(head.pair());
      if (const std::optional<Nano> time = advance(packet.u16(kMillisecondsOffset))) {
        uncountPacket();
        scan_.references.set(*time, countedBack());
        scan_.firstMilliseconds = milliseconds_;
        scan_.firstMinute = minute_;
      }
    }
    const ByteView data = packet.from(head.channelOffset + 1);
    switch (packet.u8(head.channelOffset)) {
      case 0:
        setMinute(data.s32(0));
        break;
      case 7:
        if (!scan_.utcOffset && data.s16(0) != INT16_MIN) scan_.utcOffset = data.s16(0);
        break;
      default:
        break;
    }
  }
  if (scan_.references.known() && scan_.utcOffset) mode_ = Mode::BackFill;
  return !scanning();
}

Nano RangeTimeState::backFill(std::size_t pair) {
  const Nano time = Lib::wrappingSubtract(references_.first, countedBack());
  --packets_.count;
  if (beginsCycle(pair)) --cycles_.count;
  if (packets_.count <= 0) {
    minute_ = scan_.firstMinute;
    milliseconds_ = scan_.firstMilliseconds;
    mode_ = Mode::Referenced;
  }
  return time;
}

std::optional<Nano> RangeTimeState::timeOf(const PacketHead& head, ByteView packet) {
  if (mode_ == Mode::BackFill) return backFill(head.pair());
  if (!references_.known()) countPacket(head.pair());
  const std::optional<Nano> time = advance(packet.u16(kMillisecondsOffset));
  if (time && mode_ == Mode::Searching && !references_.known()) {
    uncountPacket();
    references_.set(*time, countedBack());
    mode_ = Mode::Running;
  }
  return time;
}

void RangeTimeState::reset() {
  milliseconds_ = -1;
  minute_ = -1;
  seen_.set();
  references_ = scan_.references;
  if (references_.known()) {
    cycles_.count = cycles_.scanned;
    packets_.count = packets_.scanned;
    mode_ = Mode::BackFill;
  } else {
    cycles_ = {};
    packets_ = {};
    mode_ = Mode::Searching;
  }
}

}  // namespace Kvex::Rng
