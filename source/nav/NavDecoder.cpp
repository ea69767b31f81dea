#include "nav/NavDecoder.h"

#include <array>
#include <bit>
#include <cmath>

#include "library/Angles.h"
#include "library/Checksum.h"
#include "library/Enumerations.h"
#include "library/Wrapping.h"
#include "nav/Derived.h"
#include "nav/ExtendedCount.h"
#include "nav/StatusChannels.h"

namespace Kvex::Nav {

using Lib::ByteView;
using Lib::kDegreesPerRadian;
using Lib::Nano;
using Lib::positiveAngle;
using Lib::wrappingSubtract;
using Sto::SignalRow;

namespace {

constexpr double kAccelerationScale = 0.0001;                // m/s²
constexpr double kAngularRateScale = 0.0005729577951308233;  // 1e-5 rad/s, in degrees
constexpr double kVelocityScale = 0.0001;                    // m/s
constexpr double kAngleScale = 5.729577951308232e-05;        // 1e-6 rad, in degrees
constexpr double kImu2VehScale = 0.005729577951308232;       // 1e-4 rad, in degrees
constexpr double kHeaveScale = 0.002;                        // m

constexpr std::int32_t kNoRaw24 = -8388608;
constexpr std::uint32_t kNoMinute = 0x00FFFFFF;

/// Where the structured part of a packet holds what.
namespace Offset {
constexpr std::size_t kMilliseconds = 1;
constexpr std::size_t kAcceleration = 3;
constexpr std::size_t kAngularRate = 12;
constexpr std::size_t kNavMode = 21;
constexpr std::size_t kExtraKind = 22;
constexpr std::size_t kLat = 23;
constexpr std::size_t kLon = 31;
constexpr std::size_t kAlt = 39;
constexpr std::size_t kVelocity = 43;
constexpr std::size_t kAttitude = 52;
// With heave in the packet.
constexpr std::size_t kHeave = 62;
constexpr std::size_t kDelayedHeave = 64;
constexpr std::size_t kTxPacketCounter = 66;
constexpr std::size_t kStatusBits = 68;
}  // namespace Offset

/// Values of `InsNavMode` that the decoder treats differently.
enum NavMode : std::uint8_t {
  kInvalid = 0,
  kRawInertial = 1,
  kReadyToInitialise = 2,
  kLockingOn = 3,
  kRealTime = 4,
  kStatusOnlyFirst = 6,
  kStatusOnlySecond = 7,
  kStatusOnly = 10,
  kExtra = 11,
  kTriggerInitialise = 20,
  kTriggerLockingOn = 21,
  kTriggerRealTime = 22,
};

/// The extra kind of a packet that holds the product's name.
constexpr std::uint8_t kProductText = 3;

/// Values of `OutputPacketType`.
enum PacketType : std::uint8_t { kTypeInvalid = 0, kTypeEmpty = 1, kTypeRegular = 2, kTypeStatus = 3 };

/// The `OutputPacketType` of a trigger packet by the channel of its event; empty for all other channels.
constexpr std::uint8_t triggerPacketType(std::uint8_t channel) {
  switch (channel) {
    case 24:
      return 4;
    case 43:
      return 5;
    case 65:
      return 6;
    case 79:
      return 8;
    case 80:
      return 9;
    case 81:
      return 10;
    default:
      return kTypeEmpty;
  }
}

using Raw24 = std::array<std::int32_t, 3>;

Raw24 readRaw24(ByteView packet, std::size_t offset) {
  return {packet.s24(offset), packet.s24(offset + 3), packet.s24(offset + 6)};
}

/// Three 24-bit values, or none where one of them holds nothing.
std::optional<ScanResult::Triple> scaled(const Raw24& raw, double scale) {
  for (const std::int32_t value : raw) {
    if (value == kNoRaw24) return std::nullopt;
  }
  return ScanResult::Triple{raw[0] * scale, raw[1] * scale, raw[2] * scale};
}

ScanResult::Triple readPosition(ByteView packet) {
  return {packet.f64(Offset::kLat) * kDegreesPerRadian, packet.f64(Offset::kLon) * kDegreesPerRadian,
          static_cast<double>(packet.f32(Offset::kAlt))};
}

}  // namespace

NavDecoder::NavDecoder(const NavProtocol& packetProtocol, bool scanFirst)
    : NavState(packetProtocol, scanFirst), scanFirst_(scanFirst) {
  setWantLevel(10);
}

// Wants.

void NavDecoder::wantAll(bool on) {
  wants.wantAll(on);
  settleWants();
}

void NavDecoder::setWantLevel(int level) {
  wants.setLevel(level);
  settleWants();
}

void NavDecoder::settleWants() {
  wants.settle();

  // A field that is not wanted is not written, so that one mark lasts: what is left to mark with each packet is little
  // when little is wanted.
  packetFlags_.clear();
  otherPacketFlags_.clear();
  enum Source { Status, Packet };
  const auto watch = [&](Source source, bool wanted, auto& field) {
    if (source == Packet) (wanted ? packetFlags_ : otherPacketFlags_).push_back(&field.flags);
  };
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, ...) watch(Source, wants.Group, record.Name);
#include "tables/NavSignals.def"
  for (std::size_t i = 0; i < record.points.size(); ++i) {
    MeasPointBlock& point = record.points[i];
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, Source, ...) \
  watch(Source, wants.points[i].Group, point.Name);
#include "tables/MeasPointSignals.def"
  }
  watch(Packet, true, record.NanoSeconds);
  for (NavField<double>* field : {&record.NanoFromOriginSeconds, &record.NanoFromStartSeconds,
                                  &record.NanoFromFirstSeconds, &record.NanoFromInitSeconds}) {
    watch(Packet, wants.NanoFromOrigin, *field);
  }
  markAllFields_ = true;
  channels.idle.reset();
}

void NavDecoder::markPacketFields() {
  derived.startPacket();
  for (std::uint8_t* flags : packetFlags_) *flags |= Lib::Flag::kNotAvailable;
  if (!markAllFields_) return;
  markAllFields_ = false;
  for (std::uint8_t* flags : otherPacketFlags_) *flags |= Lib::Flag::kNotAvailable;
}

// Feeding.

bool NavDecoder::isGoodPacket(ByteView bytes) const {
  if (bytes.size() < protocol.packetSize || bytes.u8(0) != protocol.sync) return false;
  return Lib::byteSum(bytes.data() + 1, protocol.packetSize - 2) == bytes.u8(protocol.packetSize - 1);
}

std::uint64_t NavDecoder::kindOf(ByteView packet) const {
  const std::uint8_t mode = packet.u8(Offset::kNavMode);
  const std::uint64_t extraKind = mode == kExtra ? packet.u8(Offset::kExtraKind) : 0;
  const std::uint8_t channel = packet.u8(protocol.channelOffset);
  const std::uint64_t kept = keptFields(channel, packet.from(protocol.channelOffset + 1, 8));
  return kept << 24 | extraKind << 16 | std::uint64_t{mode} << 8 | channel;
}

FeedResult NavDecoder::feedPacket(ByteView packet, bool check) {
  if (packet.size() != protocol.packetSize || (check && !isGoodPacket(packet))) return FeedResult::Nothing;
  return decodePacket(packet);
}

FeedResult NavDecoder::feedStamped(ByteView record, bool check) {
  const ByteView packet = record.from(8, protocol.packetSize);
  return feedPacket(packet, check);
}

FeedResult NavDecoder::decodePacket(ByteView packet) {
  const bool firstPass = time.mode == TimeMode::FirstPass;
  if (firstPass) {
    firstPassPacket(packet);
  } else {
    walkPacket(packet);
  }
  updateIndex();
  return firstPass && time.mode != TimeMode::FirstPass ? FeedResult::ScanEnded : FeedResult::Decoded;
}

// First pass.

void NavDecoder::firstPassPacket(ByteView packet) {
  const std::uint8_t mode = packet.u8(Offset::kNavMode);
  if (mode < kRawInertial || mode > kRealTime) return;
  ScanResult& scan = time.scan;
  time.countPacket(scan.references);
  const std::uint8_t channel = packet.u8(protocol.channelOffset);
  const ByteView bytes = packet.from(protocol.channelOffset + 1, 8);

  if (mode >= kReadyToInitialise) {
    if (const auto packetTime = time.advance(packet.u16(Offset::kMilliseconds))) {
      time.addReferences(scan.references, *packetTime, mode >= kLockingOn);
    }
    if (!scan.position) {
      const ScanResult::Triple position = readPosition(packet);
      if (std::isfinite(position[0]) && std::isfinite(position[1]) && std::isfinite(position[2])) {
        scan.position = position;
      }
    }
    if (!scan.velocity) scan.velocity = scaled(readRaw24(packet, Offset::kVelocity), kVelocityScale);
    if (!scan.attitude) {
      scan.attitude = scaled(readRaw24(packet, Offset::kAttitude), kAngleScale);
      if (scan.attitude) scan.attitude->front() = positiveAngle(scan.attitude->front());
    }
    if (channel == 0 && bytes.u32(0) != kNoMinute) time.clock.minute = bytes.s32(0);
  }
  if (channel == 16) {
    if (!scan.utcOffset && (bytes.u8(7) & 1) != 0) scan.utcOffset = bytes.s8(7) >> 1;
    if (protocol.scansImu2Veh && !scan.imu2Veh && bytes.u8(6) == 0) {
      scan.imu2Veh = {bytes.s16(0) * kImu2VehScale, bytes.s16(2) * kImu2VehScale, bytes.s16(4) * kImu2VehScale};
    }
  }

  const bool complete = scan.references.init != kNoTime && scan.references.start != kNoTime && scan.position &&
                        scan.velocity && scan.attitude && scan.utcOffset && (scan.imu2Veh || !protocol.scansImu2Veh);
  if (complete) time.mode = TimeMode::BackFilling;
}

void NavDecoder::resetDecoder(bool full) {
  if (full) {
    time = TimeState(scanFirst_);
  } else {
    time.clock = {};
    time.references = {};
  }
  rateStart_ = rateCount_ = -1;
  channels = {};
  derived = {};
  record.reset();
  markAllFields_ = true;
  sortIndex_ = 1.0;
  setField(record.RxVersionId, protocol.rxVersionId);
  record.clearWritten();
}

void NavDecoder::finishScan(bool fill) {
  resetDecoder(false);
  time.restart();
  if (fill) fillFromScan();
}

void NavDecoder::fillFromScan() {
  const ScanResult& scan = time.scan;
  const auto lay = [&](NavField<double>& field, double value) {
    setField(field, value);
    field.flags |= Lib::Flag::kProvisional;
  };
  if (scan.references.start != kNoTime) {
    setTime(scan.references.start);
    deriveTimeSignals();
  }
  if (scan.utcOffset) setField(record.TimeUtcOffset, *scan.utcOffset);
  if (scan.position) {
    lay(record.Lat, scan.position->at(0));
    lay(record.Lon, scan.position->at(1));
    lay(record.Alt, scan.position->at(2));
  }
  if (scan.velocity) {
    lay(record.Vn, scan.velocity->at(0));
    lay(record.Ve, scan.velocity->at(1));
    lay(record.Vd, scan.velocity->at(2));
    lay(record.Vu, -scan.velocity->at(2));
  }
  if (scan.attitude) {
    lay(record.Heading, scan.attitude->at(0));
    lay(record.Pitch, scan.attitude->at(1));
    lay(record.Roll, scan.attitude->at(2));
  }
  if (scan.imu2Veh) {
    lay(record.Imu2VehHeading, scan.imu2Veh->at(0));
    lay(record.Imu2VehPitch, scan.imu2Veh->at(1));
    lay(record.Imu2VehRoll, scan.imu2Veh->at(2));
  }
  record.clearWritten();
}

// Work of one packet.

void NavDecoder::walkPacket(ByteView packet) {
  const std::uint8_t mode = packet.u8(Offset::kNavMode);
  setField(record.OutputPacketType, kTypeInvalid);
  setField(record.InsNavMode, static_cast<std::uint8_t>(Lib::kInsNavModeNames.clamped(mode)));
  switch (mode) {
    case kInvalid:
      markPacketFields();
      setField(record.OutputPacketType, kTypeEmpty);
      break;
    case kRawInertial:
    case kReadyToInitialise:
    case kLockingOn:
    case kRealTime:
      regularPacket(packet);
      break;
    case kStatusOnlyFirst:
    case kStatusOnlySecond:
    case kStatusOnly:
      statusPacket(packet);
      break;
    case kExtra:
      textPacket(packet);
      break;
    case kTriggerInitialise:
    case kTriggerLockingOn:
    case kTriggerRealTime:
      triggerPacket(packet);
      break;
    default:
      setField(record.OutputPacketType, kTypeEmpty);
  }
}

void NavDecoder::regularPacket(ByteView packet) {
  markPacketFields();
  if (const auto packetTime = regularTime(packet)) setTime(*packetTime);
  setField(record.OutputPacketType, kTypeRegular);
  setField(record.InsNavMode, record.InsNavMode.value);
  decodeMotion(packet, false);
}

void NavDecoder::triggerPacket(ByteView packet) {
  markPacketFields();
  const std::optional<Nano> event = decodePacketChannel(packet);
  const std::uint8_t type = triggerPacketType(packet.u8(protocol.channelOffset));
  if (type == kTypeEmpty) {
    setField(record.OutputPacketType, kTypeEmpty);
    return;
  }
  if (event) setTime(*event);
  setField(record.OutputPacketType, type);
  // The three trigger modes stand for the modes of regular packets in the same order.
  setField(record.InsNavMode,
           static_cast<std::uint8_t>(record.InsNavMode.value - kTriggerInitialise + kReadyToInitialise));
  decodeMotion(packet, true);
}

void NavDecoder::statusPacket(ByteView packet) {
  markPacketFields();
  setField(record.OutputPacketType, kTypeStatus);
  decodePacketChannel(packet);
  deriveIdentity(*this);
}

void NavDecoder::textPacket(ByteView packet) {
  markPacketFields();
  setField(record.OutputPacketType, kTypeStatus);
  if (packet.u8(Offset::kExtraKind) != kProductText) return;
  // The text runs on behind the mode and the kind.
  std::array<char, 66> text{};
  std::copy_n(packet.data() + 3, 18, text.begin());
  std::copy_n(packet.data() + 23, 48, text.begin() + 18);
  setText(record.ProductName, {text.data(), text.size()});
  if (protocol.textRenewsIdentity) deriveIdentity(*this);
}

std::optional<Nano> NavDecoder::decodePacketChannel(ByteView packet) {
  const std::uint8_t channel = packet.u8(protocol.channelOffset);
  reportedChannel = reportedChannel == SignalRow::kNoMessage ? channel : SignalRow::kAnyMessage;
  return decodeChannel(*this, channel, packet.from(protocol.channelOffset + 1, 8));
}

void NavDecoder::decodeMotion(ByteView packet, bool trigger) {
  const std::uint8_t mode = record.InsNavMode.value;
  record.BlockNano = record.Nano;
  decodeInertial(packet);
  if (mode >= kReadyToInitialise) decodeNavigation(packet);
  if (protocol.hasHeave) decodePacketStatus(packet, trigger);
  if (!trigger) deriveRates(*this);
  deriveTimeSignals();
  if (!trigger) {
    updateRegularRate();
    deriveFiltered(*this);
  }
  if (mode >= kLockingOn) {
    if (protocol.hasHeave) decodeHeave(packet);
    deriveRotations(*this);
    deriveSpeeds(*this);
    deriveDistances(*this, trigger);
    deriveFrame(*this);
    derivePoints(*this);
    deriveGradient(*this);
  }
  if (mode >= kReadyToInitialise) deriveIso(*this, trigger);
  deriveIdentity(*this);
  if (trigger) return;
  // The channel comes last: what it reports is used from the next packet on.
  expireValues(*this);
  decodePacketChannel(packet);
}

void NavDecoder::decodeInertial(ByteView packet) {
  const auto decode = [&](std::size_t offset, double scale, auto&... fields) {
    ((setScaled(fields, packet.s24(offset), scale), offset += 3), ...);
  };
  if (wants.Ax) decode(Offset::kAcceleration, kAccelerationScale, record.Ax, record.Ay, record.Az);
  if (wants.Wx) decode(Offset::kAngularRate, kAngularRateScale, record.Wx, record.Wy, record.Wz);
}

void NavDecoder::setScaled(NavField<double>& field, std::int32_t raw, double scale) {
  if (raw != kNoRaw24) setField(field, raw * scale);
}

void NavDecoder::decodeNavigation(ByteView packet) {
  const bool provisional = record.InsNavMode.value == kReadyToInitialise;
  const auto finish = [&](auto&... fields) {
    if (!provisional) return;
    ((fields.flags |= fields.usable() ? Lib::Flag::kProvisional : 0), ...);
  };
  if (wants.Lat) {
    const ScanResult::Triple position = readPosition(packet);
    if (std::isfinite(position[0])) setField(record.Lat, position[0]);
    if (std::isfinite(position[1])) setField(record.Lon, position[1]);
    if (std::isfinite(position[2])) setField(record.Alt, position[2]);
    finish(record.Lat, record.Lon, record.Alt);
  }
  if (wants.Vn) {
    const Raw24 raw = readRaw24(packet, Offset::kVelocity);
    setScaled(record.Vn, raw[0], kVelocityScale);
    setScaled(record.Ve, raw[1], kVelocityScale);
    setScaled(record.Vd, raw[2], kVelocityScale);
    if (raw[2] != kNoRaw24) setField(record.Vu, -raw[2] * kVelocityScale);
    finish(record.Vn, record.Ve, record.Vd, record.Vu);
  }
  if (wants.Heading) {
    const Raw24 raw = readRaw24(packet, Offset::kAttitude);
    if (raw[0] != kNoRaw24) setField(record.Heading, positiveAngle(raw[0] * kAngleScale));
    setScaled(record.Pitch, raw[1], kAngleScale);
    setScaled(record.Roll, raw[2], kAngleScale);
    finish(record.Heading, record.Pitch, record.Roll);
  }
}

void NavDecoder::decodePacketStatus(ByteView packet, bool trigger) {
  if (!trigger) {
    setField(record.TxPacketCounter, extend16(packet.u16(Offset::kTxPacketCounter), record.TxPacketCounter.value));
  }
  const std::uint8_t bits = packet.u8(Offset::kStatusBits);
  const auto correct = [&](bool due, NavField<std::uint8_t>& field, std::uint8_t value) {
    if (due && field.usable()) setField(field, value);
  };
  const bool noSolution = (bits & 1) != 0;
  correct(noSolution, record.GpsPosMode, 0);
  correct(noSolution, record.GpsVelMode, 0);
  correct(noSolution, record.GpsAttMode, 0);
  correct((bits & 2) == 0, record.GpsAttMode, 6);
  correct((bits & 4) == 0, record.HeadSearchType, 0);
}

void NavDecoder::decodeHeave(ByteView packet) {
  setField(record.Heave, packet.s16(Offset::kHeave) * kHeaveScale);
  if (record.LPHeaveLatency.usable() && record.LPHeavePeriod.usable()) {
    setField(record.LPHeave, packet.s16(Offset::kDelayedHeave) * kHeaveScale);
  } else {
    markNotAvailable(record.LPHeave);
  }
}

// Time.

std::optional<Nano> NavDecoder::regularTime(ByteView packet) {
  if (time.mode == TimeMode::BackFilling) return time.backFill();
  const std::uint8_t mode = record.InsNavMode.value;
  if (time.mode == TimeMode::Searching) time.countPacket(time.references);
  if (mode == kRawInertial) return std::nullopt;
  const std::optional<Nano> packetTime = time.advance(packet.u16(Offset::kMilliseconds));
  if (packetTime && time.mode == TimeMode::Searching) {
    time.addReferences(time.references, *packetTime, mode >= kLockingOn);
    if (time.references.start != kNoTime && time.references.init != kNoTime) time.mode = TimeMode::Running;
  }
  return packetTime;
}

void NavDecoder::deriveTimeSignals() {
  if (!record.Nano.usable()) return;
  const Nano now = record.Nano.value;
  if (wants.NanoFromOrigin) {
    const auto setSpan = [&](NavField<std::int64_t>& span, NavField<double>& seconds, Nano reference) {
      if (reference == kNoTime) return;
      const Nano nanos = wrappingSubtract(now, reference);
      setField(span, nanos);
      setField(seconds, static_cast<double>(nanos) / 1e9);
    };
    setSpan(record.NanoFromOrigin, record.NanoFromOriginSeconds, time.references.origin);
    setSpan(record.NanoFromStart, record.NanoFromStartSeconds, time.references.start);
    setSpan(record.NanoFromFirst, record.NanoFromFirstSeconds, time.references.first);
    setSpan(record.NanoFromInit, record.NanoFromInitSeconds, time.references.init);
  }
  if (wants.TimeWeekCount && now >= 0) {
    setField(record.TimeWeekCount, static_cast<std::uint32_t>(now / Lib::kNanosPerWeek));
    setField(record.TimeWeekSecond, static_cast<double>(now % Lib::kNanosPerWeek) / 1e9);
  }
}

void NavDecoder::updateRegularRate() {
  constexpr std::int64_t kPackets = 100;
  const auto giveUp = [&] {
    rateStart_ = rateCount_ = -1;
    markNotAvailable(record.OutputRegularRate);
  };
  if (!wants.OutputRegularRate) return giveUp();
  if (record.InsNavMode.value != kRealTime) return;
  const bool timed = record.Nano.usable();
  if (rateCount_ >= 0) {
    ++rateCount_;
  } else if (timed) {
    rateStart_ = record.Nano.value;
    rateCount_ = 0;
  }
  if (rateCount_ < kPackets || !timed) return;
  const Nano span = wrappingSubtract(record.Nano.value, rateStart_);
  if (span <= 0) return giveUp();
  setField(record.OutputRegularRate, static_cast<double>(rateCount_) * 1e9 / static_cast<double>(span));
  rateStart_ = record.Nano.value;
  rateCount_ = 0;
}

void NavDecoder::updateIndex() {
  if (record.NanoSeconds.usable()) {
    setField(record.Index, record.NanoSeconds.value);
    sortIndex_ = std::max(sortIndex_, record.NanoSeconds.value);
  } else {
    // A step of a few units in the last place keeps packets without time in order, and below the next time.
    sortIndex_ = std::bit_cast<double>(std::bit_cast<std::uint64_t>(sortIndex_) + 16);
    setField(record.Index, sortIndex_);
  }
}

}  // namespace Kvex::Nav
