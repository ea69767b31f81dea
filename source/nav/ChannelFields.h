#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <variant>

#include "library/Enumerations.h"
#include "nav/NavRecord.h"
#include "nav/NavWantTree.h"

// The signals of the record as status channels refer to them: where the field stands, the want flag of its group and
// the enumeration that its codes belong to, all from the lists of signals.

namespace Kvex::Nav {

/// A field of a `Block`, which the record has one or several of.
template <class T, class Block, class Wants>
struct BlockField {
  NavField<T> Block::*field = nullptr;
  bool Wants::*want = nullptr;
  std::uint64_t last = 0;  ///< Last value of the signal's enumeration; the largest number for a signal without one.
  std::uint8_t block = 0;  ///< Which of the blocks.
};

template <class T>
using RecordField = BlockField<T, NavRecord, NavWantTree>;
template <class T>
using ReceiverField = BlockField<T, ReceiverBlock, ReceiverWants>;
template <class T>
using PointField = BlockField<T, MeasPointBlock, PointWants>;

/// Any signal that a status channel can report.
using FieldRef =
    std::variant<RecordField<bool>, RecordField<std::uint8_t>, RecordField<std::uint16_t>, RecordField<std::uint32_t>,
                 RecordField<std::uint64_t>, RecordField<std::int32_t>, RecordField<std::int64_t>, RecordField<double>,
                 ReceiverField<std::uint8_t>, ReceiverField<std::uint32_t>, ReceiverField<std::int32_t>,
                 ReceiverField<double>, PointField<double>>;

template <class T>
NavField<T>& fieldOf(NavRecord& record, const RecordField<T>& target) {
  return record.*target.field;
}
template <class T>
NavField<T>& fieldOf(NavRecord& record, const ReceiverField<T>& target) {
  return record.receivers[target.block].*target.field;
}
template <class T>
NavField<T>& fieldOf(NavRecord& record, const PointField<T>& target) {
  return record.points[target.block].*target.field;
}

/// The last values of the texts that a list of signals names.
namespace TextLimit {
using namespace Lib;

struct NotEnumerated {
  constexpr std::uint64_t last() const { return std::numeric_limits<std::uint64_t>::max(); }
};
inline constexpr NotEnumerated kNoneNames, kPackedTextNames, kDottedAddressNames, kDateNames, kDateTimeNames,
    kSpanNames;
}  // namespace TextLimit

/// Each signal by its name; those of blocks as `GpsInt1.Type` and `MeasPt[0].PointXv`.
namespace Field {

#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, Text, ...) \
  inline constexpr RecordField<Type> Name{&NavRecord::Name, &NavWantTree::Group, TextLimit::k##Text##Names.last()};
#include "tables/NavSignals.def"

struct Receiver {
  std::uint8_t block;
#define KVEX_RECEIVER_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, ...) \
  ReceiverField<Type> Name{&ReceiverBlock::Name, &ReceiverWants::Group, TextLimit::k##Text##Names.last(), block};
#include "tables/ReceiverSignals.def"
};
inline constexpr Receiver GpsInt1{0};
inline constexpr Receiver GpsExt1{1};
inline constexpr Receiver GpsInt2{2};

struct Point {
  std::uint8_t block;
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, Source, Text, ...) \
  PointField<Type> Name{&MeasPointBlock::Name, &PointWants::Group, TextLimit::k##Text##Names.last(), block};
#include "tables/MeasPointSignals.def"
};
inline constexpr std::array<Point, 8> MeasPt{{{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}}};

}  // namespace Field

}  // namespace Kvex::Nav
