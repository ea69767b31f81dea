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
#include "range/FieldRun.h"
#include "range/RangeLayouts.h"

namespace Kvex::Rng {

namespace {

using T = RangeTarget;
using B = RangeBody;
using TG = TargetGroup;
using BG = BodyGroup;
using Lib::Flag::kNotAvailable;

/// What a channel's own reader works on.
struct ChannelPacket {
  RangeState& state;
  RangeTimeState& clock;
  const PacketHead& head;
  ByteView data;  ///< The eight bytes behind the id.

  RangeBody& body() const { return state.record.body; }
  RangeTarget& target() const { return state.record.targets[head.target]; }
  bool wants(BG group) const { return state.wants.body[group]; }
  bool wants(TG group) const { return state.wants.targets[head.target][group]; }
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
  readPosMode(packet, packet.wants(BG::Hunter_Latency), packet.body().Hunter_PosMode, 4);
  readPosMode(packet, packet.wants(TG::ModeStatus), packet.target().PosMode, 5);
}

/// The unit's firmware date, which its version text begins with.
void writeFirmwareDate(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  if (!packet.state.open(packet.wants(BG::NanoFirmware) && body.DevID.usable(), body.NanoFirmware, body.DateFirmware)) {
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
  if (packet.state.open(packet.wants(BG::DevID), packet.body().DevID)) {
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
  readCounters(packet, packet.wants(TG::WirelessChars), target.WirelessChars, target.WirelessPkts,
               target.WirelessCharsSkipped);
}

void readHunterCounters(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  readCounters(packet, packet.wants(BG::Hunter_Chars), body.Hunter_Chars, body.Hunter_Pkts, body.Hunter_CharsSkipped);
}

void readCommandCounters(const ChannelPacket& packet) {
  RangeBody& body = packet.body();
  readCounters(packet, packet.wants(BG::Range_CmdChars), body.Range_CmdChars, body.Range_CmdPkts,
               body.Range_CmdCharsSkipped, body.Range_CmdErrors);
}

/// The lateral offset, which short packets do not have.
void readOffsetLat(const ChannelPacket& packet) {
  NavField<double>& field = packet.target().RangeOffsetLat;
  if (!packet.state.open(packet.wants(TG::RangeOffsetLon), field)) return;
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
  if (!packet.state.open(packet.wants(BG::OsScriptID), field)) return;
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
  if (!packet.state.open(packet.wants(TG::ModeStatus), field)) return;
  packet.state.write(field, Lib::kMeasPlaneNames.clamped(packet.data.u8(2)));
}

/// A filter frequency and its damping as singles. What is negative or not a number is no value.
void readFilter(const ChannelPacket& packet, TG group, NavField<double>& frequency, NavField<double>& zeta) {
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
  readFilter(packet, TG::AccelFilterFreq, packet.target().AccelFilterFreq, packet.target().AccelFilterZeta);
}

void readExtrapolFilter(const ChannelPacket& packet) {
  readFilter(packet, TG::ExtrapolFilterFreq, packet.target().ExtrapolFilterFreq, packet.target().ExtrapolFilterZeta);
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

/// Codes of `Provenance` that an address tells.
namespace Provenance {
inline constexpr std::uint8_t kUdp = 0;
inline constexpr std::uint8_t kFile = 16;
inline constexpr std::uint8_t kAlgorithmic = 17;
inline constexpr std::uint8_t kInvalid = 18;
}  // namespace Provenance

/// The five fields that tell where a vehicle's data comes from.
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
  readAddress(packet, packet.wants(BG::Hunter_IPv4Adr),
              {body.Hunter_IPv4Adr, body.Hunter_Provenance, body.Hunter_Address, body.Hunter_AddressIPv4,
               body.Hunter_AddressFile},
              0, kHunterFile, true);
  RangeTarget& target = packet.target();
  readAddress(packet, packet.wants(TG::IPv4Adr),
              {target.IPv4Adr, target.Provenance, target.Address, target.AddressIPv4, target.AddressFile}, 4,
              kTargetFiles[packet.head.target], target.ModeStatus.value == kTargetModeMobile);
}

// Channels.

constexpr Reading kLatency{Raw::U16, kMilli};
constexpr Reading kOffset{Raw::I16, kMilli};
constexpr Reading kNumber8{Raw::U8, kWhole};
constexpr Reading kFeatSet8{Raw::U8, kWhole, Mark::kNone | Mark::kZeroNoValue};
constexpr Reading kFeatSet16{Raw::U16, kWhole, Mark::kNone | Mark::kZeroNoValue};
constexpr Reading kLatLon{Raw::I32, kTenMillionth};
constexpr Reading kAltitude{Raw::I32, kMilli};
constexpr Reading kHeading{Raw::U16, kCentidegree};
constexpr Reading kArm24{Raw::S24, kMilli};
constexpr Reading kArm16{Raw::I16, kMilli};
constexpr Reading kLength{Raw::U16, kMilli, Mark::kNone | Mark::kTop | Mark::kZeroLow};
constexpr Reading kUtcOffset{Raw::I16, kWhole};
constexpr Reading kCpuLoad{Raw::U8, {0.4}};

constexpr FieldRun<T> kTargetLatency[] = {{TG::ModeStatus, 6, kLatency, {&T::Latency}}};
constexpr FieldRun<B> kHunterLatency[] = {{BG::Hunter_Latency, 0, kLatency, {&B::Hunter_Latency}}};
constexpr FieldRun<T> kOffsetLon[] = {{TG::RangeOffsetLon, 2, kOffset, {&T::RangeOffsetLon}}};
constexpr FieldRun<B> kOsVersion[] = {{BG::OsVersion1, 0, kNumber8, {&B::OsVersion1, &B::OsVersion2, &B::OsVersion3}}};
constexpr FieldRun<B> kUnitStatus[] = {
    {BG::TimeWeekCount, 0, kUtcOffset, {&B::TimeUtcOffset}},
    {BG::FeatSetRefNum, 3, kFeatSet8, {&B::FeatSetRefNum}},
    {BG::FeatSetRefNum, 4, kFeatSet16, {&B::FeatSetNumFeats}},
    {BG::FeatSetRefNum, 6, kFeatSet8, {&B::FeatSetCellMax}},
    {BG::CpuLoad, 7, kCpuLoad, {&B::CpuLoad}},
};
constexpr FieldRun<T> kFixedPoint[] = {{TG::FixedPointLat, 0, kLatLon, {&T::FixedPointLat, &T::FixedPointLon}}};
constexpr FieldRun<T> kFixedPointHeight[] = {{TG::FixedPointLat, 0, kAltitude, {&T::FixedPointAlt}},
                                             {TG::FixedPointLat, 4, kHeading, {&T::FixedPointHeading}}};
constexpr FieldRun<B> kReference[] = {{BG::Hunter_RefLat, 0, kLatLon, {&B::Hunter_RefLat, &B::Hunter_RefLon}}};
constexpr FieldRun<B> kReferenceHeight[] = {{BG::Hunter_RefLat, 0, kAltitude, {&B::Hunter_RefAlt}},
                                            {BG::Hunter_RefLat, 4, {Raw::U32, kTenMillionth}, {&B::Hunter_RefHeading}}};
constexpr FieldRun<B> kHunterArm[] = {
    {BG::Hunter_DisplacementArmX, 0, kArm24, {&B::Hunter_DisplacementArmX, &B::Hunter_DisplacementArmY}},
    {BG::Hunter_DisplacementArmX, 6, kArm16, {&B::Hunter_DisplacementArmZ}}};
constexpr FieldRun<T> kTargetArm[] = {{TG::DisplacementArmX, 0, kArm24, {&T::DisplacementArmX, &T::DisplacementArmY}},
                                      {TG::DisplacementArmX, 6, kArm16, {&T::DisplacementArmZ}}};
constexpr FieldRun<T> kAccuracy[] = {
    {TG::RangeLonStd, 0, kLength, {&T::RangeLonStd, &T::RangeLatStd, &T::RangeVerStd, &T::RangeResStd}}};
constexpr FieldRun<T> kTargetVehicle[] = {
    {TG::VehicleLength, 0, kLength, {&T::VehicleLength, &T::VehicleWidth}},
    {TG::VehicleLength, 4, {Raw::U16, kWhole}, {&T::PolygonNumber}},
    {TG::VehicleLength, 6, kLength, {&T::VehicleHeight}},
};
constexpr FieldRun<T> kFeatPoint[] = {{TG::FeatPointLat, 0, kLatLon, {&T::FeatPointLat, &T::FeatPointLon}}};
constexpr FieldRun<T> kFeatPointHeight[] = {{TG::FeatPointLat, 0, kAltitude, {&T::FeatPointAlt}},
                                            {TG::FeatPointLat, 4, kHeading, {&T::FeatPointHeading}}};
constexpr FieldRun<B> kHunterVehicle[] = {
    {BG::Hunter_VehicleLength, 0, kLength, {&B::Hunter_VehicleLength, &B::Hunter_VehicleWidth}},
    {BG::Hunter_VehicleLength, 4, {Raw::U16, kWhole}, {&B::Hunter_PolygonNumber}},
    {BG::Hunter_VehicleLength, 6, kLength, {&B::Hunter_VehicleHeight}},
};
constexpr FieldRun<B> kLaneMap[] = {{BG::Lane_MapNumber, 0, {Raw::U8, kWhole, 0}, {&B::Lane_MapNumber}}};
constexpr FieldRun<B> kLaneStatus[] = {kUnitStatus[0], kUnitStatus[4]};
constexpr FieldRun<B> kPointA[] = {{BG::Lane_PointAArmX, 0, kArm24, {&B::Lane_PointAArmX, &B::Lane_PointAArmY}},
                                   {BG::Lane_PointAArmX, 6, kArm16, {&B::Lane_PointAArmZ}}};
constexpr FieldRun<B> kPointB[] = {{BG::Lane_PointBArmX, 0, kArm24, {&B::Lane_PointBArmX, &B::Lane_PointBArmY}},
                                   {BG::Lane_PointBArmX, 6, kArm16, {&B::Lane_PointBArmZ}}};
constexpr FieldRun<B> kPointC[] = {{BG::Lane_PointCArmX, 0, kArm24, {&B::Lane_PointCArmX, &B::Lane_PointCArmY}},
                                   {BG::Lane_PointCArmX, 6, kArm16, {&B::Lane_PointCArmZ}}};

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
  readRuns(state, state.record.targets[head.target], state.wants.targets[head.target], layout.target, data);
  readRuns(state, state.record.body, state.wants.body, layout.body, data);
  if (readRest != nullptr) readRest({state, clock, head, data});
  state.markUnwanted = markUnwanted;
}

}  // namespace Kvex::Rng
