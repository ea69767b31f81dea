#include "range/RangeTimeState.h"

#include "library/Wrapping.h"

namespace Kvex::Rng {

namespace {

constexpr std::size_t kMillisecondsOffset = 4;
/// The references where the first timed packet has this time and lies `back` behind the start.
TimeReferences referencesAt(Nano first, Nano back) {
  const Nano start = Lib::wrappingSubtract(first, back);
  const Nano fraction = start % Lib::kNanosPerSecond;
  const Nano origin = Lib::wrappingSubtract(start, fraction < 0 ? fraction + Lib::kNanosPerSecond : fraction);
  return {.origin = origin, .start = start, .first = first};
}

}  // namespace

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

bool RangeTimeState::scan(const PacketHead& head, ByteView packet) {
  if (head.isTimed()) {
    if (!scan_.references.known()) {
      countPacket(head.pair());
      if (const std::optional<Nano> time = clock_.advance(packet.u16(kMillisecondsOffset))) {
        uncountPacket();
        scan_.references = referencesAt(*time, countedBack());
        scan_.firstClock = clock_;
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
  if (scan_.references.known() && scan_.utcOffset) mode_ = TimeMode::BackFilling;
  return !scanning();
}

Nano RangeTimeState::backFill(std::size_t pair) {
  const Nano time = Lib::wrappingSubtract(references_.first, countedBack());
  --packets_.count;
  if (beginsCycle(pair)) --cycles_.count;
  if (packets_.count <= 0) {
    clock_ = scan_.firstClock;
    mode_ = TimeMode::Filled;
  }
  return time;
}

std::optional<Nano> RangeTimeState::timeOf(const PacketHead& head, ByteView packet) {
  if (mode_ == TimeMode::BackFilling) return backFill(head.pair());
  if (!references_.known()) countPacket(head.pair());
  const std::optional<Nano> time = clock_.advance(packet.u16(kMillisecondsOffset));
  if (time && mode_ == TimeMode::Searching && !references_.known()) {
    uncountPacket();
    references_ = referencesAt(*time, countedBack());
    mode_ = TimeMode::Running;
  }
  return time;
}

void RangeTimeState::reset() {
  clock_ = {};
  seen_.set();
  references_ = scan_.references;
  if (references_.known()) {
    cycles_.count = cycles_.scanned;
    packets_.count = packets_.scanned;
    mode_ = TimeMode::BackFilling;
  } else {
    cycles_ = {};
    packets_ = {};
    mode_ = TimeMode::Searching;
  }
}

}  // namespace Kvex::Rng
