#pragma once

#include <cstdint>
#include <span>

#include "nav/ChannelFields.h"
#include "nav/ChannelState.h"
#include "nav/NavProtocol.h"

namespace Kvex::Nav {

/// What in the raw bits of a field says that there is no value.
enum class Marker : std::uint8_t {
  None,        ///< Nothing: every bit pattern is a value.
  Ones,        ///< All bits set.
  OnesOrZero,  ///< All bits set, or none.
  TopBit,      ///< The top bit: of a signed field, every negative number.
  TwoLowest,   ///< The two lowest numbers of a signed field.
  Stale,       ///< The bit below the field is clear.
};

/// What becomes of a field without a value.
enum class Missing : std::uint8_t {
  Mark,          ///< Marked as not available; the old value stays.
  Keep,          ///< Left alone.
  WriteAndMark,  ///< Takes the marker itself as its value, and is marked.
  Replace,       ///< Takes a value of the form's own.
  Unset,         ///< Takes that value, and is marked as a setting that the unit has no value for.
};

/// What becomes of a field whose group is not wanted.
enum class Unwanted : std::uint8_t {
  Mark,         ///< Marked as not available.
  Keep,         ///< Left alone.
  ZeroAndMark,  ///< Set to 0, with the time of the packet, and marked.
  Decode,       ///< Decoded all the same.
};

/// A condition on one of the eight bytes that says whether the others hold something: the byte is below the limit.
struct Gate {
  std::uint8_t byte = 0;
  std::uint16_t limit = 256;
};

/// How raw bits become the value of a field.
struct Form {
  std::uint8_t width = 8;  ///< Bits.
  std::uint8_t step = 0;   ///< Bits from one field of this form to the next; 0: they touch.
  bool isSigned = false;
  bool isInverted = false;  ///< The bits come inverted.
  bool isCount = false;     ///< The low bits of a running count, which the field holds whole.
  bool isShared = false;    ///< Not only channels change the field.
  Marker marker = Marker::None;
  Missing missing = Missing::Mark;
  Unwanted unwanted = Unwanted::Mark;
  Protocols protocols = Protocols::Both;
  std::int8_t replacement = -1;  ///< For `Missing::Replace` and `Missing::Unset`.
  Gate gate = {};                ///< With a closed gate the field is marked as not available.
  double scale = 1.0;            ///< Value = raw x scale + offset.
  double offset = 0.0;

  /// The same form with another value of a member; the names below read better in a table.
  template <class T>
  constexpr Form with(T Form::*member, T value) const {
    Form varied = *this;
    varied.*member = value;
    return varied;
  }

  constexpr Form scaled(double factor) const { return with(&Form::scale, factor); }
  constexpr Form offsetBy(double summand) const { return with(&Form::offset, summand); }
  constexpr Form when(Gate condition) const { return with(&Form::gate, condition); }
  constexpr Form marked(Marker which) const { return with(&Form::marker, which); }
  constexpr Form ifMissing(Missing what) const { return with(&Form::missing, what); }
  constexpr Form ifUnwanted(Unwanted what) const { return with(&Form::unwanted, what); }
  constexpr Form in(Protocols which) const { return with(&Form::protocols, which); }
  constexpr Form shared() const { return with(&Form::isShared, true); }
  constexpr Form replacedBy(std::int8_t value) const {
    return ifMissing(Missing::Replace).with(&Form::replacement, value);
  }
};

/// One field that a channel reports.
struct ChannelRow {
  std::uint8_t channel = 0;
  std::uint8_t shift = 0;  ///< Place of the lowest bit in the channel's eight bytes, taken as a little-endian word.
  Form form;
  FieldRef field;
};

inline constexpr std::size_t kChannelCount = ChannelState::kChannelCount;

/// The fields that the channel reports by themselves, in the order of decoding; none for a channel that does not exist.
std::span<const ChannelRow> channelRows(std::uint8_t channel);

}  // namespace Kvex::Nav
