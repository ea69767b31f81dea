#include "range/RangePoints.h"

#include <algorithm>

#include "range/FieldRow.h"

namespace Kvex::Rng {

namespace {

constexpr std::size_t kPointsOffset = 10;
constexpr std::uint8_t kNoneAndEnds = Marker::kNone | Marker::kEnds;
constexpr std::uint8_t kNoneAndTop = Marker::kNone | Marker::kTop;

/// The head of a packet of points.
struct PointsHead {
  explicit PointsHead(ByteView packet)
      : vehicle(packet.u8(6)), total(packet.u8(7)), first(packet.u8(8)), descriptor(packet.u8(9)) {}

  bool secondForm() const { return (descriptor & 0x40) != 0; }
  bool wide() const { return (descriptor & 0x80) != 0; }

  std::size_t vehicle;  ///< 0 the hunter, else the number of a target.
  std::size_t total;    ///< Points of the whole list.
  std::size_t first;    ///< Index of the first point in this packet.
  std::uint8_t descriptor;
};

/// The part of a packet's points that a list has entries for.
struct Piece {
  std::size_t first;
  std::size_t end;
  std::size_t elementSize;

  Piece(const PointsHead& head, std::size_t count, std::size_t elementBytes, std::size_t capacity)
      : first(std::min(head.first, capacity)), end(std::min(head.first + count, capacity)), elementSize(elementBytes) {}

  /// Offset in the packet of the element for an entry. Entries run from `first`, which is the packet's first element.
  std::size_t offsetOf(std::size_t entry) const { return kPointsOffset + (entry - first) * elementSize; }
};

bool fits(ByteView packet, std::size_t count, std::size_t elementSize) {
  return count * elementSize + kPointsOffset + 1 <= packet.size();
}

/// Opens the entries of a piece and the count of used ones. False where nobody wants them.
template <std::size_t Capacity, class... Fields>
bool openPiece(const RangeState& state, bool wanted, const PointsHead& head, const Piece& piece,
               NavField<std::int32_t>& used, Fields&... fields) {
  const bool opened = state.open(wanted, used);
  for (std::size_t entry = piece.first; entry < piece.end; ++entry) state.open(wanted, fields[entry]...);
  if (opened) state.write(used, static_cast<std::int32_t>(std::min(head.total, Capacity)));
  return opened;
}

using PointList = std::array<NavField<double>, kPolygonPoints>;

void readPolygon(const RangeState& state, bool wanted, const PointsHead& head, ByteView packet,
                 NavField<std::int32_t>& used, PointList& lon, PointList& lat) {
  const Reading reading =
      head.wide() ? Reading{Raw::S24, kTenthMilli, kNoneAndEnds} : Reading{Raw::I16, kMilli, kNoneAndEnds};
  const std::size_t width = widthOf(reading.form);
  const std::size_t values = head.secondForm() ? 3 : 2;
  const std::size_t count = (head.descriptor & 0x3FU) + 1;
  if (!fits(packet, count, values * width)) return;
  const Piece piece(head, count, values * width, kPolygonPoints);
  if (!openPiece<kPolygonPoints>(state, wanted, head, piece, used, lon, lat)) return;
  for (std::size_t entry = piece.first; entry < piece.end; ++entry) {
    const std::size_t offset = piece.offsetOf(entry);
    readField(state, lon[entry], packet, offset, reading);
    readField(state, lat[entry], packet, offset + width, reading);
  }
}

using SensorList = std::array<NavField<double>, kSensorPoints>;

/// Forms of a sensor point: short or full, narrow or wide.
constexpr std::array<std::size_t, 4> kSensorSizes = {22, 29, 28, 38};
constexpr std::array<std::size_t, 4> kSensorIdOffsets = {14, 21, 20, 30};
constexpr std::int8_t kNotSent = -1;

struct SensorField {
  SensorList RangeBody::*field;
  Reading narrow;
  Reading wide;
  std::array<std::int8_t, 4> offsets;  ///< In an element, by form.
};

constexpr Reading kNarrowLength{Raw::I16, kMilli, kNoneAndEnds};
constexpr Reading kWideLength{Raw::S24, kTenthMilli, kNoneAndEnds};
constexpr Reading kNarrowAngle{Raw::U16, kCenti, kNoneAndTop};
constexpr Reading kNarrowRange{Raw::U16, kMilli, kNoneAndTop};
constexpr Reading kWideUnsigned{Raw::U24, kTenthMilli, kNoneAndTop};

constexpr SensorField kSensorFields[] = {
    {&RangeBody::Hunter_SensorPointsLon, kNarrowLength, kWideLength, {0, 0, 0, 0}},
    {&RangeBody::Hunter_SensorPointsLat, kNarrowLength, kWideLength, {2, 3, 2, 3}},
    {&RangeBody::Hunter_SensorPointsVert, kNarrowLength, kWideLength, {kNotSent, kNotSent, 4, 6}},
    {&RangeBody::Hunter_SensorPointsHeading, kNarrowAngle, kWideUnsigned, {4, 6, 6, 9}},
    {&RangeBody::Hunter_SensorPointsPitch, kNarrowAngle, kWideUnsigned, {kNotSent, kNotSent, 8, 12}},
    {&RangeBody::Hunter_SensorPointsRoll, kNarrowAngle, kWideUnsigned, {kNotSent, kNotSent, 10, 15}},
    {&RangeBody::Hunter_SensorPointsFovHoriz, kNarrowAngle, kWideUnsigned, {6, 9, 12, 18}},
    {&RangeBody::Hunter_SensorPointsFovVert, kNarrowAngle, kWideUnsigned, {8, 12, 14, 21}},
    {&RangeBody::Hunter_SensorPointsRangeMin, kNarrowRange, kWideUnsigned, {10, 15, 16, 24}},
    {&RangeBody::Hunter_SensorPointsRangeMax, kNarrowRange, kWideUnsigned, {12, 18, 18, 27}},
};

}  // namespace

void decodePolygon(RangeState& state, ByteView packet) {
  const PointsHead head(packet);
  if (packet.size() < kPointsOffset || head.vehicle > kTargets) return;
  if (head.vehicle == 0) {
    RangeBody& body = state.record.body;
    readPolygon(state, state.wants.body[BodyGroup::Hunter_PolygonPointsUsed], head, packet,
                body.Hunter_PolygonPointsUsed, body.Hunter_PolygonPointsLon, body.Hunter_PolygonPointsLat);
  } else {
    RangeTarget& target = state.record.targets[head.vehicle - 1];
    readPolygon(state, state.wants.targets[head.vehicle - 1][TargetGroup::PolygonPointsUsed], head, packet,
                target.PolygonPointsUsed, target.PolygonPointsLon, target.PolygonPointsLat);
  }
}

void decodeSensors(RangeState& state, ByteView packet) {
  const PointsHead head(packet);
  if (packet.size() < kPointsOffset || head.vehicle != 0) return;
  const std::size_t form = (head.secondForm() ? 2 : 0) + (head.wide() ? 1 : 0);
  const std::size_t count = (head.descriptor & 0x0FU) + 1;
  if (!fits(packet, count, kSensorSizes[form])) return;

  RangeBody& body = state.record.body;
  const Piece piece(head, count, kSensorSizes[form], kSensorPoints);
  if (!openPiece<kSensorPoints>(
          state, state.wants.body[BodyGroup::Hunter_SensorPointsUsed], head, piece, body.Hunter_SensorPointsUsed,
          body.Hunter_SensorPointsLon, body.Hunter_SensorPointsLat, body.Hunter_SensorPointsVert,
          body.Hunter_SensorPointsHeading, body.Hunter_SensorPointsPitch, body.Hunter_SensorPointsRoll,
          body.Hunter_SensorPointsFovHoriz, body.Hunter_SensorPointsFovVert, body.Hunter_SensorPointsRangeMin,
          body.Hunter_SensorPointsRangeMax, body.Hunter_SensorPointsID)) {
    return;
  }
  for (std::size_t entry = piece.first; entry < piece.end; ++entry) {
    const std::size_t offset = piece.offsetOf(entry);
    for (const SensorField& field : kSensorFields) {
      NavField<double>& value = (body.*field.field)[entry];
      if (field.offsets[form] == kNotSent) {
        state.write(value, 0.0);
      } else {
        readField(state, value, packet, offset + static_cast<std::size_t>(field.offsets[form]),
                  head.wide() ? field.wide : field.narrow);
      }
    }
    state.write(body.Hunter_SensorPointsID[entry], packet.u64(offset + kSensorIdOffsets[form]));
  }
}

}  // namespace Kvex::Rng
