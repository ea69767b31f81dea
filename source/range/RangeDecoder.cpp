#include "range/RangeDecoder.h"

#include "library/Enumerations.h"
#include "library/Wrapping.h"
#include "range/FieldRow.h"
#include "range/RangeChannels.h"
#include "range/RangeDerived.h"
#include "range/RangeLayouts.h"
#include "range/RangePoints.h"

namespace Kvex::Rng {

namespace {

using Lib::Flag::kNotAvailable;
using Lib::Flag::kNoValue;

void writeProduct(RangeState& state) {
  RangeBody& body = state.record.body;
  state.write(body.ProductFamily, 7);
  state.write(body.ProductGroup, 31);
  state.write(body.ProductModel, 354);
  state.write(body.ProductType, 0);
}

/// The target's mode in the two highest bits of a byte. A short packet has no code for the last mode.
void readModeStatus(RangeState& state, const PacketHead& head, std::uint8_t bits) {
  constexpr std::uint8_t kNoShortMode = 3;
  NavField<std::uint8_t>& field = state.record.targets[head.target].ModeStatus;
  if (!state.open(state.wants.targets[head.target][TargetGroup::ModeStatus], field)) return;
  const std::uint8_t mode = bits >> 6;
  if (head.type == PacketType::Long || mode != kNoShortMode) state.write(field, mode);
}

/// A code whose highest value says that there is none, and whose 0 and second highest that the device has none.
bool readFeatCode(RangeState& state, NavField<std::int32_t>& field, std::int32_t raw, std::int32_t none) {
  if (raw == none) {
    field.flags = kNotAvailable;
    return false;
  }
  state.write(field, raw);
  if (raw != 0 && raw != none - 1) return true;
  field.flags |= kNoValue;
  return false;
}

/// The feature point that a target follows. Another feature makes the point of the old one unavailable.
void readFeature(RangeState& state, std::size_t index, ByteView packet) {
  constexpr std::size_t kNeeds = 64;
  const WantSet<TargetGroup>& wants = state.wants.targets[index];
  RangeTarget& target = state.record.targets[index];
  if (!state.open(wants[TargetGroup::FeatPointId], target.FeatPointType, target.FeatPointId)) return;
  if (packet.size() < kNeeds) {
    target.FeatPointType.flags = target.FeatPointId.flags = kNotAvailable;
    return;
  }
  readFeatCode(state, target.FeatPointType, packet.u8(61), 0xFF);
  const std::int32_t previous = target.FeatPointId.value;
  const bool isFeature = readFeatCode(state, target.FeatPointId, packet.u16(62), 0xFFFF);
  if (isFeature && target.FeatPointId.value == previous) return;
  if (!wants[TargetGroup::FeatPointLat]) return;
  for (NavField<double>* field :
       {&target.FeatPointLat, &target.FeatPointLon, &target.FeatPointAlt, &target.FeatPointHeading}) {
    field->flags |= kNotAvailable;
  }
}

/// What each of the hunter's sensors sees of the target.
void readSensorViews(RangeState& state, std::size_t index, ByteView packet) {
  constexpr std::size_t kOffset = 114;
  constexpr std::size_t kBlock = 6;
  constexpr Reading kDistance{Raw::U32, kMilli, Marker::kNone | Marker::kTop};
  constexpr Reading kPercent{Raw::U8, kWhole};
  RangeTarget& target = state.record.targets[index];
  if (!state.open(state.wants.targets[index][TargetGroup::Range_SensorPointsDist2d], target.Range_SensorPointsDist2d,
                  target.Range_SensorPointsTargetVisible, target.Range_SensorPointsTargetOccupyFov)) {
    return;
  }
  if (packet.size() < kOffset + kSensorPoints * kBlock) {
    RangeState::mark(target.Range_SensorPointsDist2d, kNotAvailable);
    RangeState::mark(target.Range_SensorPointsTargetVisible, kNotAvailable);
    RangeState::mark(target.Range_SensorPointsTargetOccupyFov, kNotAvailable);
    return;
  }
  for (std::size_t i = 0; i < kSensorPoints; ++i) {
    const std::size_t offset = kOffset + i * kBlock;
    readField(state, target.Range_SensorPointsDist2d[i], packet, offset, kDistance);
    readField(state, target.Range_SensorPointsTargetVisible[i], packet, offset + 4, kPercent);
    readField(state, target.Range_SensorPointsTargetOccupyFov[i], packet, offset + 5, kPercent);
  }
}

/// Takes a source into the list of sources, unless it is known or the list is full.
void decodeSource(RangeState& state, ByteView packet) {
  constexpr std::size_t kSize = 82;
  constexpr std::uint8_t kNoPort = 255;
  const std::uint32_t address = packet.u32(4);
  const std::uint8_t port = packet.u8(8);
  if (packet.size() != kSize || port == kNoPort || (port == 0 && address == 0)) return;
  for (RangeSource& source : state.record.sources) {
    if (!source.address.hasValue()) {
      state.write(source.address, address);
      state.write(source.provenance, static_cast<std::uint8_t>(Lib::kProvenanceNames.clamped(port)));
      return;
    }
    if (source.address.value == address) return;
  }
}

}  // namespace

RangeDecoder::Feed RangeDecoder::feedRaw(ByteView packet) {
  if (!clock_.scanning()) {
    decodePacket(packet);
    return Feed::Taken;
  }
  const std::optional<PacketHead> head = readHead(packet);
  return head && clock_.scan(*head, packet) ? Feed::PassDone : Feed::Taken;
}

RangeDecoder::Feed RangeDecoder::feedRecorded(ByteView packet) {
  const ByteView bytes = packet.from(kRecordHead);
  const Frame frame = checkFrame(bytes);
  return frame.check == FrameCheck::Good ? feedRaw(bytes.from(0, frame.size)) : Feed::Dropped;
}

void RangeDecoder::decodePacket(ByteView packet) {
  const std::optional<PacketHead> head = readHead(packet);
  if (!head) return;
  state_.markUnwanted = true;
  if (head->isTimed()) {
    state_.markUnwanted = !marked_[head->pair()];
    marked_.set(head->pair());
    takeTime(*head, packet);
  }
  writeProduct(state_);
  switch (head->type) {
    case PacketType::Short:
      return decodeShort(*head, packet);
    case PacketType::Lane:
      return decodeLane(*head, packet);
    case PacketType::Long:
      return decodeLong(*head, packet);
    case PacketType::Source:
      return decodeSource(state_, packet);
    case PacketType::Polygon:
      return decodePolygon(state_, packet);
    case PacketType::Sensors:
      return decodeSensors(state_, packet);
  }
}

void RangeDecoder::decodeShort(const PacketHead& head, ByteView packet) {
  readRows(state_, state_.record.targets[0], state_.wants.targets[0], kShortLayout.target, packet);
  readRows(state_, state_.record.body, state_.wants.body, kShortLayout.body, packet);
  readModeStatus(state_, head, packet.u8(36));
  deriveRanges(state_, head.target);
  decodeChannel(state_, clock_, head, packet);
}

void RangeDecoder::decodeLane(const PacketHead& head, ByteView packet) {
  readRows(state_, state_.record.body, state_.wants.body, kLaneLayout.body, packet);
  decodeChannel(state_, clock_, head, packet);
  deriveLane(state_);
}

void RangeDecoder::decodeLong(const PacketHead& head, ByteView packet) {
  readRows(state_, state_.record.targets[head.target], state_.wants.targets[head.target], kLongLayout.target, packet);
  readRows(state_, state_.record.body, state_.wants.body, kLongLayout.body, packet);
  readModeStatus(state_, head, packet.u8(40));
  readFeature(state_, head.target, packet);
  readSensorViews(state_, head.target, packet);
  deriveRanges(state_, head.target);
  deriveMotion(state_, head.target);
  decodeChannel(state_, clock_, head, packet);
  deriveGeometry(state_, head.target);
}

void RangeDecoder::takeTime(const PacketHead& head, ByteView packet) {
  NavField<std::int64_t>& nano = state_.record.body.Nano;
  if (const std::optional<Nano> time = clock_.timeOf(head, packet)) {
    nano.write(*time, *time);
  } else {
    nano.flags = kNotAvailable;
  }
  writeTimeSignals(false);
}

void RangeDecoder::writeTimeSignals(bool forced) {
  RangeBody& body = state_.record.body;
  const Nano now = body.Nano.value;
  const bool known = body.Nano.usable();
  if (forced || state_.open(state_.wants.body[BodyGroup::NanoFromOrigin], body.NanoFromOrigin, body.NanoFromStart,
                            body.NanoFromFirst)) {
    const auto writeSince = [&](NavField<std::int64_t>& field, Nano reference) {
      if (known && reference != Lib::kNoTime) {
        state_.write(field, Lib::wrappingSubtract(now, reference));
      } else {
        field.flags = kNotAvailable;
      }
    };
    writeSince(body.NanoFromOrigin, clock_.references().origin);
    writeSince(body.NanoFromStart, clock_.references().start);
    writeSince(body.NanoFromFirst, clock_.references().first);
  }
  if (forced || state_.open(state_.wants.body[BodyGroup::TimeWeekCount], body.TimeWeekCount, body.TimeWeekSecond)) {
    if (known && now >= 0) {
      state_.write(body.TimeWeekCount, static_cast<std::uint32_t>(now / Lib::kNanosPerWeek));
      state_.write(body.TimeWeekSecond,
                   static_cast<double>(now % Lib::kNanosPerWeek) / static_cast<double>(Lib::kNanosPerSecond));
    } else {
      body.TimeWeekCount.flags = body.TimeWeekSecond.flags = kNotAvailable;
    }
  }
}

void RangeDecoder::reset() {
  clock_.reset();
  state_.record.reset();
  marked_.reset();
  const RangeTimeState::ScanResult& scan = clock_.scanResult();
  RangeBody& body = state_.record.body;
  if (scan.references.known()) {
    const Nano start = scan.references.start;
    body.Nano.write(start, start);
    writeTimeSignals(true);
  }
  if (scan.utcOffset) state_.write(body.TimeUtcOffset, *scan.utcOffset);
  state_.record.clearWritten();
}

void RangeDecoder::setWants(const RangeWantTree& wants) {
  state_.wants = wants;
  marked_.reset();
}

}  // namespace Kvex::Rng
