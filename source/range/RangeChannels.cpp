#include "range/RangeChannels.h"

#include <array>
#include <bit>
#include <cstring>
#include <fmt/format.h>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "library/Enumerations.h"
#include "nav/ExtendedCount.h"
#include "nav/UnitDate.h"
#include "range/FieldRow.h"
#include "range/RangeLayouts.h"

namespace Kvex::Rng {

namespace {

using Lib::Flag::kNotAvailable;

/// What a channel's own reader works on.
struct ChannelPacket {
  RangeState& state;
  RangeTimeState& clock;
  const PacketHead& head;
  ByteView data;  ///< The eight bytes behind the id.

  RangeBody& body() const { return state.record.body; }
  RangeTarget& target() const { return state.record.targets[head.target]; }
  bool wants(BodyGroup group) const { return state.wants.body[group]; }
  bool wants(TargetGroup group) const { return state.wants.targets[head.target][group]; }
};

/// A channel: the fields that are plain scaled numbers, and a reader for what else it holds.
struct Channel {
  Layout layout;
  void (*readRest)(const ChannelPacket& packet) = nullptr;
};

// Readers of what is no scaled number.

void readMinute(const ChannelPacket& packet) {
  packet.clock.setMinute(packet.data.s32(0));
}

void readPosMode(const ChannelPacket& packet, bool wanted, NavField<std::uint8_t>& field, std::size_t offset) {
  if (!packet.state.open(wanted, field)) return;
  const std::uint8_t raw = packet.data.u8(offset);
  if (packet.head.type == PacketType::Long && raw >= 0x80) {
    field.flags = kNotAvailable;
  } else {
    packet.state.write(field, Lib::kPosModeNames.clamped(raw));
  }
}

void readMinuteAndModes(const ChannelPacket& packet) {
  readMinute(packet);
  readPosMode(packet, packet.wants(BodyGroup::Hunter_Latency), packet.body().Hunter_PosMode, 4);
  readPosMode(packet, packet.wants(TargetGroup::ModeStatus), packet.target().PosMode, 5);
}

/// The unit's firmware date, which its version text begins with.
void writeFirmwareDate(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  if (!packet.state.open(packet.wants(BodyGroup::NanoFirmware) && body.DevID.usable(), body.NanoFirmware,
                         body.DateFirmware)) {
    return;
  }
  const auto version = std::bit_cast<std::array<char, 8>>(packet.data.u64(0));
  const std::optional<Nav::UnitDate> date =
      Nav::firmwareDate({version.data(), ::strnlen(version.data(), version.size())});
  if (!date) {
    body.NanoFirmware.flags = body.DateFirmware.flags = kNotAvailable;
    return;
  }
  packet.state.write(body.NanoFirmware, date->start);
  packet.state.write(body.DateFirmware, date->digits);
}

void readDevID(const ChannelPacket& packet) {
  if (packet.state.open(packet.wants(BodyGroup::DevID), packet.body().DevID)) {
    packet.state.write(packet.body().DevID, packet.data.u64(0));
  }
  writeFirmwareDate(packet);
}

/// Reads 16-bit counters into fields that count on where the device's counter wraps.
template <class... Fields>
void readCounters(const ChannelPacket& packet, bool wanted, Fields&... fields) {
  std::size_t offset = 0;
  const auto read = [&](NavField<std::uint32_t>& field) {
    const std::uint16_t raw = packet.data.u16(offset);
    offset += sizeof raw;
    if (wanted) {
      packet.state.write(field, Nav::extend16(raw, field.value));
    } else {
      packet.state.write(field, 0);
      field.flags |= Lib::Flag::kNeverWritten;
    }
  };
  (read(fields), ...);
}

void readWirelessCounters(const ChannelPacket& packet) {
  RangeTarget& target = packet.target();
  readCounters(packet, packet.wants(TargetGroup::WirelessChars), target.WirelessChars, target.WirelessPkts,
               target.WirelessCharsSkipped);
}

void readHunterCounters(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  readCounters(packet, packet.wants(BodyGroup::Hunter_Chars), body.Hunter_Chars, body.Hunter_Pkts,
               body.Hunter_CharsSkipped);
}

void readCommandCounters(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  readCounters(packet, packet.wants(BodyGroup::Range_CmdChars), body.Range_CmdChars, body.Range_CmdPkts,
               body.Range_CmdCharsSkipped, body.Range_CmdErrors);
}

/// The lateral offset, which short packets do not have.
void readOffsetLat(const ChannelPacket& packet) {
  NavField<double>& field = packet.target().RangeOffsetLat;
  if (!packet.state.open(packet.wants(TargetGroup::RangeOffsetLon), field)) return;
  if (packet.head.type == PacketType::Long) {
    readField(packet.state, field, packet.data, 4, {Raw::I16, kMilli});
  } else {
    field.flags = kNotAvailable;
  }
}

/// The script's number as a text of six digits or more, the first one in the lowest byte.
void readScriptID(const ChannelPacket& packet) {
  constexpr std::uint32_t kNoScript = 0xFFFFFF;
  constexpr int kLeastDigits = 6;
  NavField<std::uint64_t>& field = packet.body().OsScriptID;
  if (!packet.state.open(packet.wants(BodyGroup::OsScriptID), field)) return;
  std::uint32_t number = packet.data.u24(3);
  if (number == kNoScript) {
    field.flags = kNotAvailable;
    return;
  }
  std::uint64_t text = 0;
  for (int digits = 0; digits < kLeastDigits || number > 0; ++digits, number /= 10)
    text = text << 8 | ('0' + number % 10);
  packet.state.write(field, text);
}

void readMeasPlane(const ChannelPacket& packet) {
  NavField<std::uint8_t>& field = packet.target().MeasPlane;
  if (!packet.state.open(packet.wants(TargetGroup::ModeStatus), field)) return;
  packet.state.write(field, Lib::kMeasPlaneNames.clamped(packet.data.u8(2)));
}

/// A filter frequency and its damping as singles. What is negative or not a number is no value.
void readFilter(const ChannelPacket& packet, TargetGroup group, NavField<double>& frequency, NavField<double>& zeta) {
  if (!packet.state.open(packet.wants(group), frequency, zeta)) return;
  std::size_t offset = 0;
  for (NavField<double>* field : {&frequency, &zeta}) {
    const float raw = packet.data.f32(offset);
    offset += sizeof raw;
    if (raw >= 0.0F) {
      packet.state.write(*field, raw);
    } else {
      field->flags = kNotAvailable;
    }
  }
}

void readAccelFilter(const ChannelPacket& packet) {
  readFilter(packet, TargetGroup::AccelFilterFreq, packet.target().AccelFilterFreq, packet.target().AccelFilterZeta);
}

void readExtrapolFilter(const ChannelPacket& packet) {
  readFilter(packet, TargetGroup::ExtrapolFilterFreq, packet.target().ExtrapolFilterFreq,
             packet.target().ExtrapolFilterZeta);
}

// Addresses.

/// Four characters as a number, the first in the lowest byte.
constexpr std::uint32_t packed(std::string_view text) {
  std::uint32_t value = 0;
  for (std::size_t i = text.size(); i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(text[i]);
  return value;
}

constexpr std::uint32_t kHunterFile = packed("hunt");
constexpr std::array<std::uint32_t, kTargets> kTargetFiles = {packed("tgt1"), packed("tgt2"), packed("tgt3"),
                                                              packed("tgt4")};

/// Codes of `Provenance` that an address stands for.
namespace Provenance {
inline constexpr std::uint8_t kUdp = 0;
inline constexpr std::uint8_t kFile = 16;
inline constexpr std::uint8_t kAlgorithmic = 17;
inline constexpr std::uint8_t kInvalid = 18;
}  // namespace Provenance

/// The five fields that say where a vehicle's data comes from.
struct AddressFields {
  NavField<std::uint32_t>& ipv4Adr;
  NavField<std::uint8_t>& provenance;
  NavField<std::uint32_t>& address;
  NavField<std::uint32_t>& addressIPv4;
  NavField<std::uint64_t>& addressFile;
};

constexpr std::uint8_t kTargetModeMobile = 2;

/// `file`: the address that stands for a simulation file. `linked`: the vehicle has a navigation unit of its own.
void readAddress(const ChannelPacket& packet, bool wanted, const AddressFields& fields, std::size_t offset,
                 std::uint32_t file, bool linked) {
  if (!packet.state.open(wanted, fields.ipv4Adr, fields.provenance, fields.address, fields.addressIPv4,
                         fields.addressFile)) {
    return;
  }
  const auto write = [&](auto& field, auto value) { packet.state.write(field, value); };
  const auto writeNone = [&](auto& field) {
    packet.state.write(field, 0);
    field.flags |= kNotAvailable;
  };
  const std::uint32_t value = packet.data.u32(offset);
  if (value != 0) {
    write(fields.ipv4Adr, value);
  } else {
    fields.ipv4Adr.flags = kNotAvailable;
  }
  if (!linked) {
    write(fields.provenance, Provenance::kAlgorithmic);
    writeNone(fields.address);
    writeNone(fields.addressIPv4);
    writeNone(fields.addressFile);
    return;
  }
  if (value == 0) {
    write(fields.provenance, Provenance::kInvalid);
    fields.address.flags = kNotAvailable;
    writeNone(fields.addressIPv4);
    writeNone(fields.addressFile);
    return;
  }
  write(fields.address, value);
  if (value == file) {
    write(fields.provenance, Provenance::kFile);
    writeNone(fields.addressIPv4);
    write(fields.addressFile, value);
  } else {
    write(fields.provenance, Provenance::kUdp);
    write(fields.addressIPv4, value);
    writeNone(fields.addressFile);
  }
}

void readAddresses(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  readAddress(packet, packet.wants(BodyGroup::Hunter_IPv4Adr),
              {body.Hunter_IPv4Adr, body.Hunter_Provenance, body.Hunter_Address, body.Hunter_AddressIPv4,
               body.Hunter_AddressFile},
              0, kHunterFile, true);
  RangeTarget& target = packet.target();
  readAddress(packet, packet.wants(TargetGroup::IPv4Adr),
              {target.IPv4Adr, target.Provenance, target.Address, target.AddressIPv4, target.AddressFile}, 4,
              kTargetFiles[packet.head.target], target.ModeStatus.value == kTargetModeMobile);
}

// Channels.

constexpr Reading kLatency{Raw::U16, kMilli};
constexpr Reading kOffset{Raw::I16, kMilli};
constexpr Reading kNumber8{Raw::U8, kWhole};
constexpr Reading kFeatSet8{Raw::U8, kWhole, Marker::kNone | Marker::kZeroNoValue};
constexpr Reading kFeatSet16{Raw::U16, kWhole, Marker::kNone | Marker::kZeroNoValue};
constexpr Reading kLatLon{Raw::I32, kTenMillionth};
constexpr Reading kAltitude{Raw::I32, kMilli};
constexpr Reading kHeading{Raw::U16, kCentidegree};
constexpr Reading kArm24{Raw::S24, kMilli};
constexpr Reading kArm16{Raw::I16, kMilli};
constexpr Reading kLength{Raw::U16, kMilli, Marker::kNone | Marker::kTop | Marker::kZeroLow};
constexpr Reading kUtcOffset{Raw::I16, kWhole};
constexpr Reading kCpuLoad{Raw::U8, {0.4}};

constexpr FieldRow<RangeTarget> kTargetLatency[] = {{TargetGroup::ModeStatus, 6, kLatency, {&RangeTarget::Latency}}};
constexpr FieldRow<RangeBody> kHunterLatency[] = {
    {BodyGroup::Hunter_Latency, 0, kLatency, {&RangeBody::Hunter_Latency}}};
constexpr FieldRow<RangeTarget> kOffsetLon[] = {
    {TargetGroup::RangeOffsetLon, 2, kOffset, {&RangeTarget::RangeOffsetLon}}};
constexpr FieldRow<RangeBody> kOsVersion[] = {
    {BodyGroup::OsVersion1, 0, kNumber8, {&RangeBody::OsVersion1, &RangeBody::OsVersion2, &RangeBody::OsVersion3}}};
constexpr FieldRow<RangeBody> kUnitStatus[] = {
    {BodyGroup::TimeWeekCount, 0, kUtcOffset, {&RangeBody::TimeUtcOffset}},
    {BodyGroup::FeatSetRefNum, 3, kFeatSet8, {&RangeBody::FeatSetRefNum}},
    {BodyGroup::FeatSetRefNum, 4, kFeatSet16, {&RangeBody::FeatSetNumFeats}},
    {BodyGroup::FeatSetRefNum, 6, kFeatSet8, {&RangeBody::FeatSetCellMax}},
    {BodyGroup::CpuLoad, 7, kCpuLoad, {&RangeBody::CpuLoad}},
};
constexpr FieldRow<RangeTarget> kFixedPoint[] = {
    {TargetGroup::FixedPointLat, 0, kLatLon, {&RangeTarget::FixedPointLat, &RangeTarget::FixedPointLon}}};
constexpr FieldRow<RangeTarget> kFixedPointHeight[] = {
    {TargetGroup::FixedPointLat, 0, kAltitude, {&RangeTarget::FixedPointAlt}},
    {TargetGroup::FixedPointLat, 4, kHeading, {&RangeTarget::FixedPointHeading}}};
constexpr FieldRow<RangeBody> kReference[] = {
    {BodyGroup::Hunter_RefLat, 0, kLatLon, {&RangeBody::Hunter_RefLat, &RangeBody::Hunter_RefLon}}};
constexpr FieldRow<RangeBody> kReferenceHeight[] = {
    {BodyGroup::Hunter_RefLat, 0, kAltitude, {&RangeBody::Hunter_RefAlt}},
    {BodyGroup::Hunter_RefLat, 4, {Raw::U32, kTenMillionth}, {&RangeBody::Hunter_RefHeading}}};
constexpr FieldRow<RangeBody> kHunterArm[] = {
    {BodyGroup::Hunter_DisplacementArmX,
     0,
     kArm24,
     {&RangeBody::Hunter_DisplacementArmX, &RangeBody::Hunter_DisplacementArmY}},
    {BodyGroup::Hunter_DisplacementArmX, 6, kArm16, {&RangeBody::Hunter_DisplacementArmZ}}};
constexpr FieldRow<RangeTarget> kTargetArm[] = {
    {TargetGroup::DisplacementArmX, 0, kArm24, {&RangeTarget::DisplacementArmX, &RangeTarget::DisplacementArmY}},
    {TargetGroup::DisplacementArmX, 6, kArm16, {&RangeTarget::DisplacementArmZ}}};
constexpr FieldRow<RangeTarget> kAccuracy[] = {
    {TargetGroup::RangeLonStd,
     0,
     kLength,
     {&RangeTarget::RangeLonStd, &RangeTarget::RangeLatStd, &RangeTarget::RangeVerStd, &RangeTarget::RangeResStd}}};
constexpr FieldRow<RangeTarget> kTargetVehicle[] = {
    {TargetGroup::VehicleLength, 0, kLength, {&RangeTarget::VehicleLength, &RangeTarget::VehicleWidth}},
    {TargetGroup::VehicleLength, 4, {Raw::U16, kWhole}, {&RangeTarget::PolygonNumber}},
    {TargetGroup::VehicleLength, 6, kLength, {&RangeTarget::VehicleHeight}},
};
constexpr FieldRow<RangeTarget> kFeatPoint[] = {
    {TargetGroup::FeatPointLat, 0, kLatLon, {&RangeTarget::FeatPointLat, &RangeTarget::FeatPointLon}}};
constexpr FieldRow<RangeTarget> kFeatPointHeight[] = {
    {TargetGroup::FeatPointLat, 0, kAltitude, {&RangeTarget::FeatPointAlt}},
    {TargetGroup::FeatPointLat, 4, kHeading, {&RangeTarget::FeatPointHeading}}};
constexpr FieldRow<RangeBody> kHunterVehicle[] = {
    {BodyGroup::Hunter_VehicleLength, 0, kLength, {&RangeBody::Hunter_VehicleLength, &RangeBody::Hunter_VehicleWidth}},
    {BodyGroup::Hunter_VehicleLength, 4, {Raw::U16, kWhole}, {&RangeBody::Hunter_PolygonNumber}},
    {BodyGroup::Hunter_VehicleLength, 6, kLength, {&RangeBody::Hunter_VehicleHeight}},
};
constexpr FieldRow<RangeBody> kLaneMap[] = {
    {BodyGroup::Lane_MapNumber, 0, {Raw::U8, kWhole, 0}, {&RangeBody::Lane_MapNumber}}};
constexpr FieldRow<RangeBody> kLaneStatus[] = {kUnitStatus[0], kUnitStatus[4]};
constexpr FieldRow<RangeBody> kPointA[] = {
    {BodyGroup::Lane_PointAArmX, 0, kArm24, {&RangeBody::Lane_PointAArmX, &RangeBody::Lane_PointAArmY}},
    {BodyGroup::Lane_PointAArmX, 6, kArm16, {&RangeBody::Lane_PointAArmZ}}};
constexpr FieldRow<RangeBody> kPointB[] = {
    {BodyGroup::Lane_PointBArmX, 0, kArm24, {&RangeBody::Lane_PointBArmX, &RangeBody::Lane_PointBArmY}},
    {BodyGroup::Lane_PointBArmX, 6, kArm16, {&RangeBody::Lane_PointBArmZ}}};
constexpr FieldRow<RangeBody> kPointC[] = {
    {BodyGroup::Lane_PointCArmX, 0, kArm24, {&RangeBody::Lane_PointCArmX, &RangeBody::Lane_PointCArmY}},
    {BodyGroup::Lane_PointCArmX, 6, kArm16, {&RangeBody::Lane_PointCArmZ}}};

/// Channels of packets of one target, by id. Short packets have those up to `kLastShortChannel`.
constexpr std::array<Channel, 23> kTargetChannels = {{
    {{kTargetLatency, {}}, readMinuteAndModes},     // 0
    {{}, readDevID},                                // 1
    {},                                             // 2
    {{}, readWirelessCounters},                     // 3
    {{}, readHunterCounters},                       // 4
    {{kOffsetLon, kHunterLatency}, readOffsetLat},  // 5
    {{{}, kOsVersion}, readScriptID},               // 6
    {{{}, kUnitStatus}, readMeasPlane},             // 7
    {{kFixedPoint, {}}},                            // 8
    {{}, readAddresses},                            // 9
    {{kFixedPointHeight, {}}},                      // 10
    {{{}, kReference}},                             // 11
    {{{}, kReferenceHeight}},                       // 12
    {{{}, kHunterArm}},                             // 13
    {{kTargetArm, {}}},                             // 14
    {{}, readCommandCounters},                      // 15
    {{kAccuracy, {}}},                              // 16
    {{kTargetVehicle, {}}},                         // 17
    {{}, readAccelFilter},                          // 18
    {{}, readExtrapolFilter},                       // 19
    {{kFeatPoint, {}}},                             // 20
    {{kFeatPointHeight, {}}},                       // 21
    {{{}, kHunterVehicle}},                         // 22
}};
constexpr std::size_t kLastShortChannel = 7;

/// Channels of lane reports, by id.
constexpr std::array<Channel, 16> kLaneChannels = {{
    {{}, readMinute},                  // 0
    {{}, readDevID},                   // 1
    {{{}, kLaneMap}},                  // 2
    {},                                // 3
    {},                                // 4
    {},                                // 5
    {{{}, kOsVersion}, readScriptID},  // 6
    {{{}, kLaneStatus}},               // 7
    {{{}, kPointA}},                   // 8
    {{{}, kPointB}},                   // 9
    {{{}, kPointC}},                   // 10
    {},                                // 11
    {},                                // 12
    {},                                // 13
    {},                                // 14
    {{}, readCommandCounters},         // 15
}};

std::span<const Channel> channelsOf(PacketType type) {
  if (type == PacketType::Lane) return kLaneChannels;
  const std::span<const Channel> all = kTargetChannels;
  return type == PacketType::Long ? all : all.first(kLastShortChannel + 1);
}

}  // namespace

void decodeChannel(RangeState& state, RangeTimeState& clock, const PacketHead& head, ByteView packet) {
  const std::span<const Channel> channels = channelsOf(head.type);
  const std::size_t id = packet.u8(head.channelOffset);
  if (id >= channels.size()) return;
  const ByteView data = packet.from(head.channelOffset + 1U, 8);
  const bool markUnwanted = std::exchange(state.markUnwanted, true);
  const auto& [layout, readRest] = channels[id];
  readRows(state, state.record.targets[head.target], state.wants.targets[head.target], layout.target, data);
  readRows(state, state.record.body, state.wants.body, layout.body, data);
  if (readRest != nullptr) readRest({state, clock, head, data});
  state.markUnwanted = markUnwanted;
}

}  // namespace Kvex::Rng
