#include "synth/NavPackets.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "library/Checksum.h"

namespace Kvex::Synth {

namespace {

constexpr double kRadians = 0.017453292519943295;
constexpr double kMetresPerDegree = 111'000;
constexpr double kGravity = 9.81;  // m/s²
constexpr Lib::Nano kMillisecond = 1'000'000;
constexpr Lib::Nano kMinute = 60 * Lib::kNanosPerSecond;

/// Periods of the drive before the unit reaches a mode.
constexpr std::uint32_t kPositionKnown = 20;
constexpr std::uint32_t kLockingOn = 60;
constexpr std::uint32_t kRealTime = 100;
constexpr std::uint32_t kMinuteKnown = 30;

constexpr std::uint32_t kPeriodsPerMinuteReport = 25;
constexpr std::uint32_t kPeriodsPerTrigger = 137;
constexpr std::uint8_t kLastChannel = 94;

void putBytes(std::span<std::uint8_t> bytes, std::size_t offset, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint16_t millisecondsIntoMinute(Lib::Nano time) {
  return static_cast<std::uint16_t>(time % kMinute / kMillisecond);
}

}  // namespace

ChannelBytes& ChannelBytes::put(std::size_t offset, std::uint64_t value, std::size_t size) {
  putBytes(bytes_, offset, value, size);
  return *this;
}

ChannelBytes& ChannelBytes::putFloat(std::size_t offset, float value) {
  return put(offset, std::bit_cast<std::uint32_t>(value), 4);
}

ChannelBytes& ChannelBytes::putText(std::string_view text) {
  std::copy_n(text.begin(), std::min(text.size(), bytes_.size()), bytes_.begin());
  return *this;
}

ChannelBytes minuteChannel(Lib::Nano time) {
  return ChannelBytes().put(0, static_cast<std::uint64_t>(time / kMinute), 4);
}

NavPacket::NavPacket(const Nav::NavProtocol& protocol) : protocol_(protocol), bytes_(protocol.packetSize) {
  bytes_[0] = protocol.sync;
  mode(4);
}

NavPacket& NavPacket::put(std::size_t offset, std::uint64_t value, std::size_t size) {
  putBytes(bytes_, offset, value, size);
  return *this;
}

NavPacket& NavPacket::time(Lib::Nano time) {
  return put(1, millisecondsIntoMinute(time), 2);
}

NavPacket& NavPacket::putTriple(std::size_t offset, const NavTriple& values, double rawPerUnit) {
  constexpr double kMaxRaw = 8'388'607;
  for (const double value : values) {
    const double raw = std::clamp(std::round(value * rawPerUnit), -kMaxRaw, kMaxRaw);
    put(offset, static_cast<std::uint64_t>(static_cast<std::int64_t>(raw)), 3);
    offset += 3;
  }
  return *this;
}

NavPacket& NavPacket::angularRate(const NavTriple& degreesPerSecond) {
  return putTriple(12, degreesPerSecond, 1e5 * kRadians);
}

NavPacket& NavPacket::attitude(const NavTriple& headingPitchRollDegrees) {
  NavTriple angles = headingPitchRollDegrees;
  if (angles[0] > 180) angles[0] -= 360;
  return putTriple(52, angles, 1e6 * kRadians);
}

NavPacket& NavPacket::position(double latDegrees, double lonDegrees, float alt) {
  put(23, std::bit_cast<std::uint64_t>(latDegrees * kRadians), 8);
  put(31, std::bit_cast<std::uint64_t>(lonDegrees * kRadians), 8);
  return put(39, std::bit_cast<std::uint32_t>(alt), 4);
}

NavPacket& NavPacket::channel(std::uint8_t number, const ChannelBytes& bytes) {
  put(protocol_.channelOffset, number, 1);
  std::copy(bytes.bytes().begin(), bytes.bytes().end(),
            bytes_.begin() + static_cast<std::ptrdiff_t>(protocol_.channelOffset) + 1);
  return *this;
}

NavPacket& NavPacket::productText(std::string_view text) {
  mode(11).put(22, 3, 1);
  for (std::size_t i = 0; i < 66; ++i) {
    const std::uint8_t letter = i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0;
    put(i < 18 ? 3 + i : 23 + i - 18, letter, 1);
  }
  return *this;
}

std::span<const std::uint8_t> NavPacket::bytes() {
  bytes_.back() = Lib::byteSum(bytes_.data() + 1, bytes_.size() - 2);
  return bytes_;
}

std::array<std::uint8_t, 5> blockSource(std::uint32_t address, std::uint8_t provenance) {
  std::array<std::uint8_t, 5> bytes{};
  putBytes(bytes, 0, address, 4);
  bytes[4] = provenance;
  return bytes;
}

NavDrive::NavDrive(const Nav::NavProtocol& protocol, std::uint64_t seed, Lib::Nano start)
    : protocol_(protocol),
      random_(seed),
      packet_(protocol),
      start_(start),
      time_(start),
      heading_(random(360)),
      lat_(40 + random(200) / 10.0),
      lon_(random(100) / 10.0) {}

std::span<const std::uint8_t> NavDrive::next() {
  if (periods_ > kRealTime && --untilTrigger_ == 0) return trigger();
  time_ = start_ + periods_ * kPeriod;
  move();
  packet_.time(time_).mode(periods_ < kPositionKnown ? 1 : periods_ < kLockingOn ? 2 : periods_ < kRealTime ? 3 : 4);
  putMotion(packet_);
  const std::uint8_t channel = nextChannel();
  packet_.channel(channel, channelBytes(channel));
  ++periods_;
  return packet_.bytes();
}

std::span<const std::uint8_t> NavDrive::trigger() {
  constexpr std::array<std::uint8_t, 6> kEventChannels = {24, 43, 65, 79, 80, 81};
  untilTrigger_ = kPeriodsPerTrigger;
  time_ += (1 + random(8)) * kMillisecond;
  packet_.time(time_).mode(22);
  putMotion(packet_);
  const std::uint8_t channel = kEventChannels[random(kEventChannels.size())];
  packet_.channel(channel, channelBytes(channel));
  return packet_.bytes();
}

void NavDrive::move() {
  const double t = static_cast<double>(periods_) * static_cast<double>(kPeriod) / 1e9;
  const double step = static_cast<double>(kPeriod) / 1e9;
  speed_ = std::max(0.0, 12 - 12 * std::cos(0.2 * t));
  yawRate_ = 15 * std::sin(0.3 * t);
  heading_ = std::fmod(heading_ + yawRate_ * step + 360, 360);
  lat_ += speed_ * std::cos(heading_ * kRadians) * step / kMetresPerDegree;
  lon_ += speed_ * std::sin(heading_ * kRadians) * step / (kMetresPerDegree * std::cos(lat_ * kRadians));
}

void NavDrive::putMotion(NavPacket& packet) {
  const auto noise = [&](double size) { return size * (random(1000) / 500.0 - 1); };
  packet.acceleration({2.4 * std::sin(0.2 * periods_ / 100.0) + noise(0.05), speed_ * yawRate_ * kRadians + noise(0.05),
                       -kGravity + noise(0.05)});
  packet.angularRate({noise(0.2), noise(0.2), yawRate_ + noise(0.2)});
  packet.position(lat_, lon_, static_cast<float>(100 + noise(0.1)));
  packet.velocity({speed_ * std::cos(heading_ * kRadians), speed_ * std::sin(heading_ * kRadians), noise(0.1)});
  packet.attitude({heading_, noise(1), noise(1)});
  if (!protocol_.hasHeave) return;
  packet.put(62, random(200), 2).put(64, random(200), 2);  // heave
  packet.put(66, periods_, 2).put(68, 6, 1);               // packet counter, status bits
}

std::uint8_t NavDrive::nextChannel() {
  if (periods_ < kMinuteKnown) return 19;
  if (periods_ % kPeriodsPerMinuteReport == kMinuteKnown % kPeriodsPerMinuteReport) return 0;
  channel_ = channel_ == kLastChannel ? 1 : static_cast<std::uint8_t>(channel_ + 1);
  return channel_;
}

ChannelBytes NavDrive::channelBytes(std::uint8_t channel) {
  const auto word = [](int value) { return static_cast<std::uint16_t>(value); };
  switch (channel) {
    case 0:
      return minuteChannel(time_).putByte(4, 12).put(5, 0x060606, 3);
    case 16:
      return ChannelBytes().putWord(0, word(20)).putWord(2, word(-10)).putWord(4, word(5)).putByte(7, 18 * 2 + 1);
    case 19:
      return ChannelBytes().putText("210928b7");
    case 30:
      return ChannelBytes().put(0, 0x010203, 3).put(3, 4711, 3).putWord(6, 1234);
    case 40:
      return ChannelBytes().putWord(0, 21).putWord(2, 10).putWord(4, 8000).putByte(6, 100);
    case 24:
    case 43:
    case 65:
    case 79:
    case 80:
    case 81:
      return minuteChannel(time_).putWord(4, millisecondsIntoMinute(time_)).putByte(7, ++events_);
    case 44:
      return ChannelBytes().putWord(0, 800).putWord(2, 10).put(4, 0x050505, 3);
    case 45:
      return ChannelBytes().put(0, periods_ * 3, 4).putWord(4, millisecondsIntoMinute(time_)).putByte(6, 1);
    case 58:
      return ChannelBytes().putWord(0, word(30)).putWord(2, 0).putWord(4, 0).putByte(7, 0x78);
    case 63:
    case 74:
      return ChannelBytes().putFloat(0, 8.0F).putFloat(4, 0.7F);
    case 66:
      return ChannelBytes()
          .put(0, static_cast<std::uint64_t>(lat_ * 1e7), 4)
          .put(4, static_cast<std::uint64_t>(lon_ * 1e7), 4);
    case 67:
      return ChannelBytes().put(0, 99'000, 4).put(4, 300'000'000, 4);
    case 87:
      return ChannelBytes().putByte(0, 0x41).putFloat(1, 10.0F).put(5, 50, 3);
    default: {
      ChannelBytes bytes;
      bytes.put(0, random_(), 8).putByte(6, 0);
      if (random(4) == 0) bytes.putByte(random(8), 255);
      return bytes;
    }
  }
}

}  // namespace Kvex::Synth
