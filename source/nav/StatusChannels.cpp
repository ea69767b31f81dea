#include "nav/StatusChannels.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>
#include <utility>

#include "library/Wrapping.h"
#include "nav/ChannelHandlers.h"
#include "nav/ChannelRow.h"
#include "nav/ExtendedCount.h"

namespace Kvex::Nav {

using Lib::ByteView;

namespace {

// Rows of fields.

template <class T>
bool isWanted(const NavWantTree& wants, const RecordField<T>& target) {
  return wants.*target.want;
}
template <class T>
bool isWanted(const NavWantTree& wants, const ReceiverField<T>& target) {
  return wants.receivers[target.block].*target.want;
}
template <class T>
bool isWanted(const NavWantTree& wants, const PointField<T>& target) {
  return wants.points[target.block].*target.want;
}

/// The raw bits of a field.
struct RawBits {
  std::uint64_t bits;
  std::int64_t number;  ///< With their sign, where they have one.
};

constexpr std::uint64_t lowBits(unsigned width) {
  return ~std::uint64_t{0} >> (64 - width);
}

RawBits extract(const ChannelRow& row, std::uint64_t word) {
  const Form& form = row.form;
  std::uint64_t bits = word >> row.shift & lowBits(form.width);
  if (form.isInverted) bits ^= lowBits(form.width);
  const unsigned unused = 64U - form.width;
  const std::int64_t number =
      form.isSigned ? static_cast<std::int64_t>(bits << unused) >> unused : static_cast<std::int64_t>(bits);
  return {bits, number};
}

bool isMissing(const ChannelRow& row, const RawBits& raw, std::uint64_t word) {
  const unsigned width = row.form.width;
  switch (row.form.marker) {
    case Marker::None:
      return false;
    case Marker::Ones:
      return raw.bits == lowBits(width);
    case Marker::OnesOrZero:
      return raw.bits == lowBits(width) || raw.bits == 0;
    case Marker::TopBit:
      return raw.bits >> (width - 1) != 0;
    case Marker::TwoLowest:
      return raw.bits >> 1 == std::uint64_t{1} << (width - 2);
    case Marker::Stale:
      return (word >> (row.shift - 1) & 1) == 0;
  }
  return false;
}

bool isOpen(const Gate& gate, std::uint64_t word) {
  return (word >> 8 * gate.byte & 0xFF) < gate.limit;
}

/// The value that raw bits stand for; `previous` is the value before.
template <class T>
T valueOf(const Form& form, const RawBits& raw, std::uint64_t last, T previous) {
  if constexpr (std::is_same_v<T, bool>) {
    return raw.bits != 0;
  } else if constexpr (std::is_same_v<T, double>) {
    return static_cast<double>(raw.number) * form.scale + form.offset;
  } else {
    if constexpr (std::is_same_v<T, std::uint32_t>) {
      if (form.isCount && form.width == 8) return extend8(static_cast<std::uint8_t>(raw.bits), previous);
      if (form.isCount) return extend16(static_cast<std::uint16_t>(raw.bits), previous);
    }
    const std::int64_t value =
        Lib::wrappingAdd(Lib::wrappingMultiply(raw.number, static_cast<std::int64_t>(form.scale)),
                         static_cast<std::int64_t>(form.offset));
    return static_cast<T>(std::min(static_cast<std::uint64_t>(value), last));
  }
}

/// Returns whether another report can change the field, with the wants as they stand.
template <class T, class Block, class Wants>
bool decodeField(NavState& state, const ChannelRow& row, std::uint64_t word,
                 const BlockField<T, Block, Wants>& target) {
  NavField<T>& field = fieldOf(state.record, target);
  const auto set = [&](T value) {
    if constexpr (std::is_same_v<Block, NavRecord>) {
      state.setField(field, value);
    } else {
      state.setBlockField(field, value);
    }
  };
  const Form& form = row.form;
  if (form.unwanted != Unwanted::Decode && !isWanted(state.wants, target)) {
    if (form.unwanted == Unwanted::Keep) return false;
    const bool bearsTime = form.unwanted == Unwanted::ZeroAndMark;
    if (bearsTime) set(T{});
    markNotAvailable(field);
    return bearsTime;
  }
  if (!isOpen(form.gate, word)) {
    markNotAvailable(field);
    return true;
  }
  const RawBits raw = extract(row, word);
  if (!isMissing(row, raw, word)) {
    set(valueOf(form, raw, target.last, field.value));
    return true;
  }
  switch (form.missing) {
    case Missing::Mark:
      markNotAvailable(field);
      break;
    case Missing::Keep:
      break;
    case Missing::WriteAndMark:
      set(valueOf(form, raw, target.last, field.value));
      markNotAvailable(field);
      break;
    case Missing::Replace:
      set(static_cast<T>(form.replacement));
      break;
    case Missing::Unset:
      set(static_cast<T>(form.replacement));
      field.flags |= Lib::Flag::kNoValue;
      break;
  }
  return true;
}

void decodeRows(NavState& state, std::uint8_t channel, std::uint64_t word) {
  if (state.channels.idle[channel]) return;
  bool idle = true;
  for (const ChannelRow& row : channelRows(channel)) {
    if (!contains(row.form.protocols, state.protocol.self)) continue;
    idle &= !std::visit([&](const auto& target) { return decodeField(state, row, word, target); }, row.field);
  }
  state.channels.idle[channel] = idle;
}

// Dispatch.

using Handler = void (*)(NavState&, ByteView);

template <std::size_t Event>
void eventHandler(NavState& state, ByteView bytes) {
  readEvent(state, bytes, Event);
}

/// New innovations: with a time that has gone back, they may be the next to expire.
void lookForExpiry(NavState& state, ByteView) {
  state.channels.nextExpiry = Lib::kNoTime;
}

struct ChannelHandler {
  Handler handler = nullptr;
  Protocols protocols = Protocols::Both;
};

/// What each channel does after its rows.
constexpr auto kHandlers = [] {
  std::array<ChannelHandler, kChannelCount> handlers{};
  handlers[0] = {readMinute};
  handlers[1] = handlers[32] = handlers[88] = {lookForExpiry};
  handlers[19] = {readDeviceId};
  handlers[20] = {readBaseStation};
  handlers[23] = {readLoad};
  handlers[25] = {readFrameOffset};
  handlers[30] = {readScriptId};
  handlers[31] = {readHardware};
  handlers[45] = {readWheelCount};
  handlers[48] = {readDilution};
  handlers[49] = {readOmniStarSerial};
  handlers[57] = {readWideAntenna};
  handlers[58] = {readServices};
  handlers[59] = {readCalibrationDate};
  handlers[63] = {readAngAccFilter};
  handlers[66] = {readFramePosition};
  handlers[67] = {readFrameHeading};
  handlers[74] = {readLinAccFilter};
  handlers[75] = {readImuParts};
  handlers[87] = {readLinJerkFilter, Protocols::Quon};
  [&]<std::size_t... Event>(std::index_sequence<Event...>) {
    ((handlers[kEventChannels[Event]] = {eventHandler<Event>}), ...);
  }
  (std::make_index_sequence<ChannelState::kEventCount>());
  return handlers;
}();

/// The four station slots of channel 77 say in two ways that there is none; brings the rarer one to all bits set.
std::uint64_t withPlainMarkers(std::uint8_t channel, std::uint64_t word) {
  constexpr unsigned kSlots = 24;
  constexpr std::uint64_t kNoSlots = 0xFFFFFFFF00;
  return channel == 77 && word >> kSlots == kNoSlots ? word | std::uint64_t{0xFF} << kSlots : word;
}

}  // namespace

std::optional<Lib::Nano> decodeChannel(NavState& state, std::uint8_t channel, ByteView bytes) {
  state.channels.newEvent.reset();
  if (channel >= kChannelCount) return std::nullopt;
  decodeRows(state, channel, withPlainMarkers(channel, bytes.u64(0)));
  const ChannelHandler& special = kHandlers[channel];
  if (special.handler != nullptr && contains(special.protocols, state.protocol.self)) special.handler(state, bytes);
  return state.channels.newEvent;
}

std::uint64_t keptFields(std::uint8_t channel, ByteView bytes) {
  std::uint64_t kept = 0;
  if (channel >= kChannelCount) return kept;
  const std::uint64_t word = bytes.u64(0);
  unsigned place = 0;
  for (const ChannelRow& row : channelRows(channel)) {
    if (row.form.missing != Missing::Keep) continue;
    if (isMissing(row, extract(row, word), word)) kept |= std::uint64_t{1} << place;
    ++place;
  }
  return kept;
}

void expireValues(NavState& state) {
  constexpr Lib::Nano kLifetime = 60 * Lib::kNanosPerSecond;
  constexpr NavField<double> NavRecord::*kIntermittent[] = {
      &NavRecord::InnPosX,       &NavRecord::InnPosY,     &NavRecord::InnPosZ,     &NavRecord::InnVelX,
      &NavRecord::InnVelY,       &NavRecord::InnVelZ,     &NavRecord::InnHeading,  &NavRecord::InnPitch,
      &NavRecord::InnZeroVelX,   &NavRecord::InnZeroVelY, &NavRecord::InnZeroVelZ, &NavRecord::InnNoSlipH,
      &NavRecord::InnNoVSlipP,   &NavRecord::InnHeadingH, &NavRecord::InnWSpeed,   &NavRecord::InnClockOffset,
      &NavRecord::InnClockDrift,
  };
  const NavField<Lib::Nano>& now = state.record.Nano;
  if (!now.usable() || now.value <= state.channels.nextExpiry) return;
  if (now.value < std::numeric_limits<Lib::Nano>::min() + kLifetime) return;
  const Lib::Nano oldest = now.value - kLifetime;
  Lib::Nano oldestLeft = now.value;
  for (const auto member : kIntermittent) {
    NavField<double>& field = state.record.*member;
    if (field.flags >= Lib::Flag::kUntimed) continue;
    if (field.stamp < oldest) {
      field.flags |= Lib::Flag::kNotAvailable | Lib::Flag::kExpired;
    } else {
      oldestLeft = std::min(oldestLeft, field.stamp);
    }
  }
  state.channels.nextExpiry = Lib::wrappingAdd(oldestLeft, kLifetime);
}

}  // namespace Kvex::Nav
