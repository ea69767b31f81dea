#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>
#include <variant>

#include "library/ByteView.h"
#include "range/RangeState.h"

namespace Kvex::Rng {

using Lib::ByteView;

/// Form of a raw number in a packet.
enum class Raw : std::uint8_t { I16, S24, I32, U8, U16, U24, U32 };

constexpr bool isSigned(Raw form) {
  return form <= Raw::I32;
}

constexpr unsigned widthOf(Raw form) {
  constexpr std::array<unsigned, 7> kWidths = {2, 3, 4, 1, 2, 3, 4};
  return kWidths[static_cast<std::size_t>(form)];
}

inline std::int64_t readRaw(ByteView bytes, std::size_t offset, Raw form) {
  switch (form) {
    case Raw::I16:
      return bytes.s16(offset);
    case Raw::S24:
      return bytes.s24(offset);
    case Raw::I32:
      return bytes.s32(offset);
    case Raw::U8:
      return bytes.u8(offset);
    case Raw::U16:
      return bytes.u16(offset);
    case Raw::U24:
      return bytes.u24(offset);
    case Raw::U32:
      return bytes.u32(offset);
  }
  return 0;
}

/// Raw values that stand for something else than a number or for the end of a range; bits to be combined.
namespace Marker {
inline constexpr std::uint8_t kNone = 1;     ///< Lowest signed or highest unsigned: no value.
inline constexpr std::uint8_t kEnds = 2;     ///< Signed, next to lowest and highest: low and high end of the range.
inline constexpr std::uint8_t kTop = 4;      ///< Unsigned, next to highest: high end of the range.
inline constexpr std::uint8_t kZeroLow = 8;  ///< 0: low end of the range.
inline constexpr std::uint8_t kZeroNoValue = 16;  ///< 0: stored as the sign of "no value from the device".
inline constexpr std::uint8_t kShortNone = 32;    ///< 0x08000000: no value, in some 32-bit fields of short packets.
}  // namespace Marker

/// What a raw number is multiplied by, in this order.
struct Scale {
  double first = 1.0;
  double second = 1.0;
};

inline constexpr Scale kWhole{};
inline constexpr Scale kCenti{0.01};
inline constexpr Scale kMilli{0.001};
inline constexpr Scale kTenthMilli{0.0001};
inline constexpr Scale kTenMillionth{0.0000001};
/// Hundredths of a degree, by way of radians.
inline constexpr Scale kCentidegree{0.000174532925199433, 57.29577951308232};

/// How a field is read.
struct Reading {
  Raw form;
  Scale scale;
  std::uint8_t markers = Marker::kNone;  ///< Bits of `Marker`.
};

/// Whether the raw number is the mark for "no value".
constexpr bool isNone(std::int64_t raw, const Reading& reading) {
  const unsigned bits = 8 * widthOf(reading.form);
  const std::int64_t none = isSigned(reading.form) ? -(std::int64_t{1} << (bits - 1)) : (std::int64_t{1} << bits) - 1;
  return ((reading.markers & Marker::kNone) != 0 && raw == none) ||
         ((reading.markers & Marker::kShortNone) != 0 && raw == 0x08000000);
}

/// The flags that a raw number adds to the value written from it.
constexpr std::uint8_t endFlags(std::int64_t raw, const Reading& reading) {
  const unsigned bits = 8 * widthOf(reading.form);
  if ((reading.markers & Marker::kEnds) != 0) {
    const std::int64_t high = (std::int64_t{1} << (bits - 1)) - 1;
    if (raw == high) return Lib::Flag::kHigh;
    if (raw == -high) return Lib::Flag::kLow;
  }
  if ((reading.markers & Marker::kTop) != 0 && raw == (std::int64_t{1} << bits) - 2) return Lib::Flag::kHigh;
  if (raw == 0) {
    if ((reading.markers & Marker::kZeroLow) != 0) return Lib::Flag::kLow;
    if ((reading.markers & Marker::kZeroNoValue) != 0) return Lib::Flag::kNoValue;
  }
  return 0;
}

/// Reads one field, whose flags the step has cleared. "No value" leaves the old value and stamp under flag 64.
template <class T>
void readField(const RangeState& state, NavField<T>& field, ByteView bytes, std::size_t offset,
               const Reading& reading) {
  const std::int64_t raw = readRaw(bytes, offset, reading.form);
  if (isNone(raw, reading)) {
    field.flags = Lib::Flag::kNotAvailable;
    return;
  }
  if constexpr (std::is_floating_point_v<T>) {
    state.write(field, static_cast<double>(raw) * reading.scale.first * reading.scale.second);
  } else {
    state.write(field, static_cast<T>(raw));
  }
  field.flags |= endFlags(raw, reading);
}

template <class Block>
struct GroupOfBlock;
template <>
struct GroupOfBlock<RangeTarget> {
  using Type = TargetGroup;
};
template <>
struct GroupOfBlock<RangeBody> {
  using Type = BodyGroup;
};
template <class Block>
using GroupOf = typename GroupOfBlock<Block>::Type;

/// Up to eight fields of a block, of the value types that packets carry as scaled numbers.
template <class Block>
class FieldList {
 public:
  using Field =
      std::variant<NavField<double> Block::*, NavField<std::uint8_t> Block::*, NavField<std::int32_t> Block::*>;

  constexpr FieldList(std::initializer_list<Field> fields) : count_(fields.size()) {
    std::copy(fields.begin(), fields.end(), fields_.begin());
  }
  constexpr const Field* begin() const { return fields_.data(); }
  constexpr const Field* end() const { return fields_.data() + count_; }

 private:
  std::array<Field, 8> fields_{};
  std::size_t count_;
};

/// Fields that follow one another in a packet, all read in the same way and wanted together.
template <class Block>
struct FieldRow {
  constexpr FieldRow(GroupOf<Block> wantGroup, std::uint8_t firstOffset, Reading howToRead, FieldList<Block> members,
                     std::uint8_t packetLength = 0)
      : group(wantGroup), offset(firstOffset), needs(packetLength), reading(howToRead), fields(members) {}

  GroupOf<Block> group;
  std::uint8_t offset;  ///< Of the first field.
  std::uint8_t needs;   ///< Length that a packet must have to hold the row; 0 where every packet does.
  Reading reading;
  FieldList<Block> fields;
};

/// Rows of `Block`, a `RangeTarget` or the `RangeBody`.
template <class Block>
using FieldRows = std::span<const FieldRow<Block>>;

/// Reads the rows from a packet or from a channel's data: fields of a row that nobody wants are marked as never
/// written, those of a row that the packet is too short for as not available.
template <class Block>
void readRows(const RangeState& state, Block& block, const WantSet<GroupOf<Block>>& wants, FieldRows<Block> rows,
              ByteView bytes) {
  for (const FieldRow<Block>& row : rows) {
    const bool wanted = wants[row.group];
    if (!wanted && !state.markUnwanted) continue;
    const bool present = wanted && bytes.size() >= row.needs;
    std::size_t offset = row.offset;
    for (const auto& member : row.fields) {
      std::visit(
          [&](auto field) {
            if (present) {
              readField(state, block.*field, bytes, offset, row.reading);
            } else {
              (block.*field).flags = wanted ? Lib::Flag::kNotAvailable : Lib::Flag::kNeverWritten;
            }
          },
          member);
      offset += widthOf(row.reading.form);
    }
  }
}

}  // namespace Kvex::Rng
