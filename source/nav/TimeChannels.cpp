#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

#include "library/Wrapping.h"
#include "nav/ChannelHandlers.h"

namespace Kvex::Nav {

using Lib::ByteView;
using Lib::Nano;
using Lib::wrappingAdd;
using Lib::wrappingMultiply;
using Lib::wrappingSubtract;

namespace {

constexpr Nano kMinute = 60 * Lib::kNanosPerSecond;
constexpr Nano kMillisecond = 1'000'000;

constexpr double inSeconds(Nano time) {
  return static_cast<double>(time) / 1e9;
}

/// The level of a trigger input: what is worked out from the times of its edges.
struct TriggerLevel {
  NavField<Nano> NavRecord::*rise;
  NavField<Nano> NavRecord::*fall;
  NavField<std::int32_t> NavRecord::*level;
  NavField<std::uint32_t> NavRecord::*count;
};

constexpr TriggerLevel kTrigger1{&NavRecord::Trig1RiseNano, &NavRecord::Trig1FallNano, &NavRecord::Trig1TranLevel,
                                 &NavRecord::Trig1TranUpdateCount};
constexpr TriggerLevel kTrigger2{&NavRecord::Trig2RiseNano, &NavRecord::Trig2FallNano, &NavRecord::Trig2TranLevel,
                                 &NavRecord::Trig2TranUpdateCount};

struct Event {
  NavField<Nano> NavRecord::*nano;
  NavField<double> NavRecord::*seconds;
  NavField<std::uint32_t> NavRecord::*count;
  const TriggerLevel* level;  ///< Of the input that the event is an edge of; none for an output.
};

/// In the order of `kEventChannels`.
constexpr std::array<Event, ChannelState::kEventCount> kEvents{{
    {&NavRecord::Trig1FallNano, &NavRecord::Trig1FallSeconds, &NavRecord::Trig1FallUpdateCount, &kTrigger1},
    {&NavRecord::Trig1RiseNano, &NavRecord::Trig1RiseSeconds, &NavRecord::Trig1RiseUpdateCount, &kTrigger1},
    {&NavRecord::DigitalOutNano, &NavRecord::DigitalOutSeconds, &NavRecord::DigitalOutUpdateCount, nullptr},
    {&NavRecord::Trig2FallNano, &NavRecord::Trig2FallSeconds, &NavRecord::Trig2FallUpdateCount, &kTrigger2},
    {&NavRecord::Trig2RiseNano, &NavRecord::Trig2RiseSeconds, &NavRecord::Trig2RiseUpdateCount, &kTrigger2},
    {&NavRecord::DigitalOut2Nano, &NavRecord::DigitalOut2Seconds, &NavRecord::DigitalOut2UpdateCount, nullptr},
}};

constexpr std::int32_t kHigh = 1;
constexpr std::int32_t kLow = -1;

/// A change of level: what it is now, the edges since the last change, and the time of the newest of them.
struct Transition {
  std::int32_t level;
  std::uint32_t edges;
  Nano time;
};

/// What the newest edges, each none where it never came, say about an input that went to `level` at `since`; a first
/// level, with no `since`, is worked out from the edges alone. None where nothing has changed.
std::optional<Transition> nextTransition(std::int32_t level, std::optional<Nano> since, std::optional<Nano> rise,
                                         std::optional<Nano> fall) {
  if (!since) {
    if (!rise && !fall) return std::nullopt;
    const bool isHigh = !fall || (rise && *rise > *fall);
    return Transition{isHigh ? kHigh : kLow, rise && fall ? 2U : 1U, isHigh ? *rise : *fall};
  }
  if (level != kHigh && level != kLow) return std::nullopt;
  const std::optional<Nano>& away = level == kHigh ? fall : rise;
  const std::optional<Nano>& back = level == kHigh ? rise : fall;
  if (!away || *away <= *since) return std::nullopt;
  if (back && *away <= *back) return Transition{level, 2, *back};
  return Transition{-level, 1, *away};
}

void updateLevel(NavState& state, const TriggerLevel& trigger) {
  const auto valueOf = [&](NavField<Nano> NavRecord::*member) {
    const NavField<Nano>& field = state.record.*member;
    return field.usable() ? std::optional(field.value) : std::nullopt;
  };
  NavField<std::int32_t>& level = state.record.*trigger.level;
  NavField<std::uint32_t>& count = state.record.*trigger.count;
  const std::optional<Nano> since = level.usable() ? std::optional(level.stamp) : std::nullopt;
  const auto transition = nextTransition(level.value, since, valueOf(trigger.rise), valueOf(trigger.fall));
  if (!transition) return;
  state.setField(level, transition->level);
  state.setField(count, count.value + transition->edges);
  level.stamp = count.stamp = transition->time;
}

/// Step of the wheel count: its rate, and the middle of the time that it was counted over. None for a first count and
/// for one that is not later than the last.
struct WheelStep {
  double frequency;
  Nano middle;
};

std::optional<WheelStep> stepWheel(std::optional<ChannelState::WheelCount>& last, const ChannelState::WheelCount& now) {
  std::optional<WheelStep> step;
  if (last && now.time > last->time) {
    const Nano span = wrappingSubtract(now.time, last->time);
    step = {(now.count - last->count) / inSeconds(span), wrappingSubtract(now.time, span / 2)};
  }
  last = now;
  return step;
}

/// The time whose place in its minute is known, in the minute that brings it nearest to the packet's time.
Nano nearestMinute(Nano packetTime, Nano intoMinute) {
  const Nano rounded = wrappingAdd(wrappingSubtract(packetTime, intoMinute), kMinute / 2) / kMinute;
  return wrappingAdd(rounded * kMinute, intoMinute);
}

}  // namespace

void readMinute(NavState& state, ByteView bytes) {
  constexpr std::uint8_t kFirstModeWithTime = 2;
  constexpr std::uint32_t kNoMinute = 0x00FFFFFF;
  if (state.record.InsNavMode.value >= kFirstModeWithTime && bytes.u32(0) != kNoMinute) {
    state.time.clock.minute = bytes.s32(0);
  }
}

void readEvent(NavState& state, ByteView bytes, std::size_t event) {
  const std::uint8_t number = bytes.u8(7);
  if (state.channels.eventNumbers[event] == number) return;
  state.channels.eventNumbers[event] = number;

  const Nano time =
      wrappingAdd(wrappingMultiply(bytes.s32(0), kMinute), bytes.u16(4) * kMillisecond + bytes.s8(6) * Nano{4000});
  const auto& [nano, seconds, countMember, level] = kEvents[event];
  state.setField(state.record.*nano, time);
  state.setField(state.record.*seconds, inSeconds(time));
  NavField<std::uint32_t>& count = state.record.*countMember;
  state.setField(count, count.value + 1);
  count.stamp = time;
  if (level != nullptr) updateLevel(state, *level);
  state.channels.newEvent = time;
}

void readWheelCount(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  if (!state.wants.WSpeedNano) {
    markNotAvailable(record.WSpeedNano, record.WSpeedCount, record.WSpeedTimeUnchanged, record.WSpeedFreq,
                     record.WSpeedSpeed, record.WSpeedVel, record.WSpeedNanoSeconds);
    return;
  }
  state.setField(record.WSpeedCount, bytes.s32(0));
  const std::uint16_t milliseconds = bytes.u16(4);
  if (milliseconds == 0xFFFF || !record.Nano.usable()) {
    markNotAvailable(record.WSpeedNano, record.WSpeedNanoSeconds);
  } else {
    state.setField(record.WSpeedNano, nearestMinute(record.Nano.value, milliseconds * kMillisecond));
    state.setField(record.WSpeedNanoSeconds, inSeconds(record.WSpeedNano.value));
  }
  if (bytes.u8(6) == 0xFF) {
    markNotAvailable(record.WSpeedTimeUnchanged);
  } else {
    state.setField(record.WSpeedTimeUnchanged, bytes.u8(6) * 0.1);
  }

  std::optional<WheelStep> step;
  if (record.WSpeedNano.usable()) {
    step = stepWheel(state.channels.wheel, {record.WSpeedNano.value, record.WSpeedCount.value});
    if (step) {
      state.setField(record.WSpeedFreq, step->frequency);
    } else {
      markNotAvailable(record.WSpeedFreq);
    }
  }
  if (record.WSpeedFreq.usable() && record.WSpeedScale.usable() && record.WSpeedScale.value != 0.0) {
    state.setField(record.WSpeedVel, record.WSpeedFreq.value / record.WSpeedScale.value);
    state.setField(record.WSpeedSpeed, std::fabs(record.WSpeedVel.value));
  } else {
    markNotAvailable(record.WSpeedVel, record.WSpeedSpeed);
  }
  if (!step || step->middle <= 0) return;
  for (NavField<double>* field : {&record.WSpeedVel, &record.WSpeedSpeed, &record.WSpeedFreq}) {
    if (field->usable()) field->stamp = step->middle;
  }
  record.WSpeedCount.stamp = record.WSpeedNano.value;
}

}  // namespace Kvex::Nav
