#include "synth/RangeChase.h"

#include <cmath>
#include <numbers>
#include <string>

namespace Kvex::Synth {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;
constexpr double kRefHeading = 40.0;  ///< Of the local frame, in degrees.
constexpr double kLaneWidth = 3.5;
constexpr double kSpeed = 14.0;  ///< m/s

constexpr std::size_t kUnits = 1 + RangeChase::kMovingTargets;
constexpr std::uint64_t kCyclesPerSecond = 100;

constexpr std::uint8_t kMinuteChannel = 0;
constexpr std::uint8_t kLastChannel = 22;
constexpr std::uint64_t kCyclesPerMinuteReport = 50;
constexpr std::uint64_t kMinuteKnown = 12;

constexpr std::array<std::uint32_t, kUnits> kAddresses = {0x0A02A8C0, 0x1402A8C0, 0x1502A8C0};
constexpr std::uint8_t kSpaceMode = 1;
constexpr std::uint8_t kVehicleMode = 2;

constexpr std::array<OutlinePoint, 6> kCar = {
    {{2.2, 0.0}, {2.0, 0.9}, {-2.2, 0.9}, {-2.3, 0.0}, {-2.2, -0.9}, {2.0, -0.9}}};
constexpr std::array<OutlinePoint, 4> kSpace = {{{2.5, 1.2}, {-2.5, 1.2}, {-2.5, -1.2}, {2.5, -1.2}}};
constexpr std::array<SensorPoint, 3> kSensors = {{{{2.2, 0.0}, 0.0, 40, 10, 0.5, 150, 0x31},
                                                  {{2.0, 0.8}, 45.0, 90, 20, 0.3, 40, 0x32},
                                                  {{2.0, -0.8}, 315.0, 90, 20, 0.3, 40, 0x33}}};

std::uint64_t bits(double value) {
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
}

double headingOf(double angle) {
  return std::fmod(kRefHeading - angle * kDegrees + 720.0, 360.0);
}

std::string serialLine(const std::string& key, std::uint32_t serial) {
  return key + ".Vrel.Serial=" + std::to_string(serial) + "\n";
}

}  // namespace

RangeChase::RangeChase(std::uint64_t seed, Lib::Nano start, std::size_t targets)
    : random_(seed),
      targets_(targets),
      start_(start),
      time_(start),
      units_{NavDrive(Nav::kQuonProtocol, seed + 1, start), NavDrive(Nav::kQuonProtocol, seed + 2, start),
             NavDrive(Nav::kQuonProtocol, seed + 3, start)},
      packet_(RangePacket::lane()),
      wrapper_(RangePacket::lane()) {}

std::vector<StreamForm> RangeChase::streamForms(std::uint32_t firstSerial) {
  std::string range = "{Kvex-Range}" + serialLine("Hunter", firstSerial + 1);
  std::vector<StreamForm> forms(1 + kUnits);
  for (std::uint32_t unit = 0; unit < kUnits; ++unit) {
    range += serialLine("Codec.Quon.Index." + std::to_string(unit), firstSerial + 1 + unit);
    const std::string target = std::to_string(unit - 1);
    if (unit > 0) range += serialLine("Target.Index." + target, firstSerial + 1 + unit);
    forms[1 + unit] = {
        .serial = firstSerial + 1 + unit,
        .primary = primaryText("[Kvex-Quon]", 1),
        .headers = {"{Kvex-Range}" + serialLine("Codec.Yeld", firstSerial) + serialLine("Range", firstSerial) +
                    "WhoAmI=" + (unit == 0 ? "Hunter" : "Target " + target) + "\n"}};
  }
  range += "Codec.Quon.Indices=0 1 2\nTarget.Indices=0 1\n";
  forms[0] = {.serial = firstSerial, .primary = primaryText("[Kvex-Yeld]", 1), .headers = {range}};
  return forms;
}

ChasePacket RangeChase::next() {
  // Reports of a cycle, by turn: navigation units, targets, lanes, and once a second an outline or the sensors.
  const std::size_t laneTurn = kUnits + targets_;
  for (;;) {
    const std::size_t turn = turn_;
    if (turn < kUnits) {
      if (const std::optional<ChasePacket> packet = navPacket(turn)) return *packet;
      ++turn_;
      continue;
    }
    if (turn <= laneTurn) {
      ++turn_;
      packet_ = turn < laneTurn ? targetReport(turn - kUnits) : laneReport();
      return {0, time_, packet_.bytes()};
    }
    // Hunter, targets and sensors report in cycles of their own.
    const std::uint64_t outline = cycle_ % kCyclesPerSecond;
    const bool reports = outline <= targets_ + 1;
    if (reports) packet_ = outlineReport(outline);
    const Lib::Nano now = time_;
    turn_ = 0;
    ++cycle_;
    time_ += kPeriod;
    if (reports) return {0, now, packet_.bytes()};
  }
}

std::optional<ChasePacket> RangeChase::navPacket(std::size_t unit) {
  NavDrive& drive = units_[unit];
  if (unitStarted_[unit] && drive.time() >= time_) return std::nullopt;
  unitStarted_[unit] = true;
  const std::span<const std::uint8_t> bytes = drive.next();
  return ChasePacket{1 + unit, drive.time(), bytes};
}

std::span<const std::uint8_t> RangeChase::wrapped(const ChasePacket& packet) {
  if (packet.stream == 0) return packet.bytes;
  wrapper_ = RangePacket::source(kAddresses[packet.stream - 1], 0, packet.bytes);
  return wrapper_.bytes();
}

RangeChase::Place RangeChase::placeOf(std::size_t vehicle) const {
  if (vehicle >= kUnits) {  // the parking spaces
    const double side = 2.5 * static_cast<double>(vehicle - kUnits);
    return {.x = 800.0 + side, .y = -12.0, .angle = -0.5 * std::numbers::pi};
  }
  // The moving ones follow one another on a road that winds, and change lanes.
  const double t = seconds();
  const double ahead = static_cast<double>(vehicle) * 25.0 + (vehicle == 0 ? 0.0 : 10.0 * std::sin(0.15 * t));
  const double x = kSpeed * t + ahead;
  const double lane = vehicle == 2 ? kLaneWidth * std::sin(0.1 * t) : 0.0;
  return {.x = x, .y = 20.0 * std::sin(x / 150.0) + lane, .angle = std::atan(20.0 / 150.0 * std::cos(x / 150.0))};
}

RangePacket RangeChase::targetReport(std::size_t target) {
  const Place hunter = placeOf(0);
  const Place other = placeOf(target + 1);
  const double dx = other.x - hunter.x;
  const double dy = other.y - hunter.y;
  const double lon = dx * std::cos(hunter.angle) + dy * std::sin(hunter.angle);
  const double lat = dx * std::sin(hunter.angle) - dy * std::cos(hunter.angle);
  const double wave = std::cos(0.15 * seconds());
  const double rate = isParkingSpace(target) ? -kSpeed : 1.5 * wave;
  const std::uint8_t mode = isParkingSpace(target) ? kSpaceMode : kVehicleMode;
  // A parking space knows no sensors: its packets end ahead of their views.
  const bool views = !isParkingSpace(target);

  RangePacket packet = RangePacket::longForm(static_cast<std::uint8_t>(target + 1), static_cast<std::uint8_t>(targets_),
                                             views ? RangePacket::kFullLong : std::size_t{115});
  packet.time(time_).put(40, std::uint64_t{mode} << 6, 1);
  packet.putSigned(8, lat, 1e-3, 4).putSigned(12, lon, 1e-3, 4);
  packet.putSigned(16, 0.2 * wave, 1e-2, 2).putSigned(18, rate, 1e-2, 2);
  packet.putSigned(20, hunter.x, 1e-3, 4).putSigned(24, hunter.y, 1e-3, 4);
  packet.putSigned(28, other.x, 1e-3, 4).putSigned(32, other.y, 1e-3, 4);
  packet.putUnsigned(36, headingOf(hunter.angle), 1e-2, 2).putUnsigned(38, headingOf(other.angle), 1e-2, 2);
  packet.putSigned(50, kSpeed, 1e-2, 2).putSigned(52, 0.1 * wave, 1e-2, 2);
  packet.putSigned(54, 0.05 * wave, 1e-2, 2).putSigned(56, -0.22 * std::sin(0.15 * seconds()), 1e-2, 2);
  packet.put(58, 4, 1).put(59, 3, 1).put(60, 60 + random(40), 1);
  packet.put(61, 1, 1).put(62, 7 + target, 2);
  for (std::size_t offset = 64; offset < 70; ++offset) packet.put(offset, 1 + random(kSpace.size()), 1);
  for (std::size_t offset = 70; offset < 74; ++offset) packet.put(offset, random(251), 1);
  packet.putSigned(74, hunter.x - 1.5, 1e-3, 4).putSigned(78, hunter.y, 1e-3, 4);
  packet.putSigned(82, other.x, 1e-3, 4).putSigned(86, other.y, 1e-3, 4);
  packet.putSigned(90, hunter.x - 0.5, 1e-3, 4).putSigned(94, hunter.y, 1e-3, 4);
  packet.putSigned(98, other.x, 1e-3, 4).putSigned(102, other.y, 1e-3, 4);
  packet.putSigned(106, wave, 1e-2, 2).putSigned(108, -0.5 * wave, 1e-2, 2);
  packet.putSigned(110, 0.3 * wave, 1e-2, 2).putSigned(112, 0.2, 1e-2, 2);
  for (std::size_t sensor = 0; views && sensor < kSensors.size(); ++sensor) {
    const std::size_t offset = 114 + 6 * sensor;
    packet.putUnsigned(offset, std::hypot(lon, lat), 1e-3, 4).put(offset + 4, random(101), 1);
    packet.put(offset + 5, random(30), 1);
  }
  // Now and then the target is lost from sight.
  if (random(500) == 0) packet.put(8, 0x80000000, 4).put(12, 0x80000000, 4);
  const std::uint8_t channel = nextChannel(target);
  return packet.channel(channel, channelBytes(channel, target));
}

std::uint8_t RangeChase::nextChannel(std::size_t target) const {
  if (cycle_ % kCyclesPerMinuteReport == kMinuteKnown) return kMinuteChannel;
  return static_cast<std::uint8_t>(1 + (cycle_ + target * 7) % kLastChannel);
}

ChannelBytes RangeChase::channelBytes(std::uint8_t id, std::size_t target) {
  const auto words = [](std::initializer_list<std::uint64_t> values) {
    ChannelBytes bytes;
    std::size_t offset = 0;
    for (const std::uint64_t value : values) {
      bytes.put(offset, value, 2);
      offset += 2;
    }
    return bytes;
  };
  const auto longs = [](std::uint64_t first, std::uint64_t second) {
    return ChannelBytes().put(0, first, 4).put(4, second, 4);
  };
  switch (id) {
    case kMinuteChannel:
      return minuteChannel(time_).putByte(4, 6).putByte(5, 6).putWord(6, 12);
    case 1:
      return ChannelBytes().putText("230415k");
    case 3:
    case 4:
    case 15:
      return words({cycle_ * 186, cycle_, cycle_ / 500, 0});
    case 5:
      return words({8, 1500, bits(-200)});
    case 6:
      return ChannelBytes().put(0, 0x010203, 3).put(3, 4711, 3);
    case 7:
      return ChannelBytes()
          .putWord(0, static_cast<std::uint16_t>(-18))
          .putByte(2, 1)
          .putByte(3, 2)
          .putWord(4, 40)
          .putByte(6, 9)
          .putByte(7, 100);
    case 9:
      return longs(kAddresses[0], isParkingSpace(target) ? 0 : kAddresses[target + 1]);
    case 12:
      return longs(95'000, bits(kRefHeading * 1e7));
    case 13:
    case 14:
      return ChannelBytes().put(0, 1200, 3).put(3, bits(-300), 3).putWord(6, 450);
    case 16:
      return words({20, 20, 30, 28});
    case 17:
    case 22:
      return words({4500, 1800, 3, 1450});
    case 18:
    case 19:
      return ChannelBytes().putFloat(0, 10.0F).putFloat(4, 0.7F);
    case 10:
    case 21:
      return ChannelBytes().put(0, 96'000, 4).putWord(4, 13'500);
    default:  // places on earth
      return longs(bits(48.1e7 + static_cast<double>(target) * 1e3), bits(11.5e7));
  }
}

RangePacket RangeChase::laneReport() {
  const Place hunter = placeOf(0);
  RangePacket packet = RangePacket::lane();
  packet.time(time_).put(6, 1, 1).put(7, 2, 1).putSigned(8, hunter.x, 1e-3, 4);
  const auto putWords = [&](std::size_t offset, std::size_t count, double value, double step, double scale) {
    for (std::size_t i = 0; i < count; ++i) {
      packet.putSigned(offset + 2 * i, value + static_cast<double>(i) * step, scale, 2);
    }
  };
  const double drift = 0.3 * std::sin(0.4 * seconds());
  putWords(12, 1, -1.75 + drift, 0, 1e-3);
  putWords(14, 2, 0.12 * std::cos(0.4 * seconds()), 0, 1e-2);
  putWords(18, 1, 1.75 + drift, 0, 1e-3);
  putWords(20, 2, 0.12 * std::cos(0.4 * seconds()), 0, 1e-2);
  putWords(24, 8, -1.75 + drift, kLaneWidth, 1e-3);
  putWords(40, 2, 1.75 - drift, 0, 1e-3);
  packet.put(44, 0x02010201, 4);
  putWords(58, 8, 0.12 * std::cos(0.4 * seconds()), 0, 1e-2);
  putWords(74, 8, -1.7 + drift, kLaneWidth, 1e-3);
  putWords(90, 8, -1.8 + drift, kLaneWidth, 1e-3);
  putWords(106, 11, -0.0009 * std::sin(hunter.x / 150.0), 0, 1e-4);
  putWords(128, 2, 0.4, 0, 1e-2);
  const auto id = static_cast<std::uint8_t>(1 + cycle_ % 15);
  return packet.channel(id, channelBytes(id == 8 || id == 9 || id == 10 ? 13 : id, 0));
}

RangePacket RangeChase::outlineReport(std::size_t turn) {
  const PointForm wide{.full = turn % 2 == 0, .wide = true};
  if (turn > targets_) return RangePacket::sensors(kSensors.size(), 0, kSensors, wide);
  const std::span<const OutlinePoint> outline =
      turn >= kUnits ? std::span<const OutlinePoint>(kSpace) : std::span<const OutlinePoint>(kCar);
  return RangePacket::polygon(static_cast<std::uint8_t>(turn), static_cast<std::uint8_t>(outline.size()), 0, outline,
                              wide);
}

}  // namespace Kvex::Synth
