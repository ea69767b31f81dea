#include "synth/CanBus.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

namespace Kvex::Synth {
namespace {

using Q = BusQuantity;

constexpr std::uint32_t kForeignId = 0x7DF;
constexpr std::int64_t kForeignPeriod = 500;  // ms
constexpr Lib::Nano kNanosPerMillisecond = 1'000'000;
constexpr std::int64_t kPhaseStep = 3;  // ms from one message's turn to the next one's, so that frames spread

constexpr double kDegrees = 180 / std::numbers::pi;
constexpr double kWheelBase = 2.7;     // m
constexpr double kTrack = 1.55;        // m
constexpr double kSteeringRatio = 15;  // turn of the steering wheel to turn of the front wheels
constexpr double kKmhPerMps = 3.6;
constexpr double kMetresPerDegree = 111'320;

bool isGrouped(const BusSignal& signal) {
  return signal.mux.starts_with('m');
}

std::uint32_t groupOf(const BusSignal& signal) {
  std::uint32_t group = 0;
  std::from_chars(signal.mux.data() + 1, signal.mux.data() + signal.mux.size(), group);
  return group;
}

/// Calls `visitor(signal, position)` with the place of the first of the signal's bits, counted in the message's byte
/// order: from the lowest bit of each byte up, or from the highest down.
template <class Visitor>
void forEachPlaced(const BusMessage& message, Visitor&& visitor) {
  std::uint32_t position = 0;
  std::uint32_t groupStart = 0;
  std::string_view group;
  for (const BusSignal& signal : message.signals) {
    if (isGrouped(signal) && signal.mux != group) position = groupStart;
    group = signal.mux;
    visitor(signal, position);
    position += signal.bits;
    if (!isGrouped(signal)) groupStart = position;
  }
}

/// The number of the bit at a position: eight times its byte, plus its place in the byte from the lowest bit up.
std::uint32_t bitNumber(std::uint32_t position, BusOrder order) {
  return order == BusOrder::LittleEndian ? position : position ^ 7;
}

void setBits(std::span<std::uint8_t> data, std::uint32_t position, std::uint32_t bits, BusOrder order,
             std::uint64_t raw) {
  for (std::uint32_t index = 0; index < bits; ++index) {
    const std::uint32_t weight = order == BusOrder::LittleEndian ? index : bits - 1 - index;
    const std::uint32_t number = bitNumber(position + index, order);
    data[number / 8] |= static_cast<std::uint8_t>((raw >> weight & 1) << number % 8);
  }
}

/// Lowest and highest raw value.
struct RawRange {
  double low;
  double high;
};

RawRange rawRange(const BusSignal& signal) {
  const double span = std::ldexp(1.0, static_cast<int>(signal.bits));
  return signal.isSigned ? RawRange{-span / 2, span / 2 - 1} : RawRange{0, span - 1};
}

std::uint64_t rawOf(const BusSignal& signal, double value) {
  constexpr double kLargest = 0x1p62;
  const RawRange range = rawRange(signal);
  const double steps = (value - signal.offset) / signal.factor;
  return static_cast<std::uint64_t>(std::llround(std::clamp(steps, range.low, std::min(range.high, kLargest))));
}

std::string numberText(double number) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, number, std::chars_format::general, 12).ptr};
}

std::string rangeText(const BusSignal& signal) {
  constexpr std::uint32_t kExactBits = 52;
  if (signal.bits > kExactBits) return "[0|0]";
  const RawRange range = rawRange(signal);
  return "[" + numberText(range.low * signal.factor + signal.offset) + "|" +
         numberText(range.high * signal.factor + signal.offset) + "]";
}

std::string signalLine(const BusSignal& signal, std::uint32_t position, BusOrder order) {
  std::string line = " SG_ ";
  line += signal.name;
  if (!signal.mux.empty()) line.append(" ").append(signal.mux);
  line += " : " + std::to_string(bitNumber(position, order)) + "|" + std::to_string(signal.bits);
  line += order == BusOrder::LittleEndian ? "@1" : "@0";
  line += signal.isSigned ? "- (" : "+ (";
  line += numberText(signal.factor) + "," + numberText(signal.offset) + ") " + rangeText(signal);
  line.append(" \"").append(signal.unit).append("\" Logger\n");
  return line;
}

}  // namespace

std::string CanBus::database() {
  std::string head = "VERSION \"1.0\"\n\nBS_:\n\nBU_: Logger\n\n";
  std::string comments = "CM_ \"A vehicle bus for tests.\";\n";
  std::string names;
  for (const BusMessage& message : busMessages()) {
    const std::string id = std::to_string(message.id);
    head += "BO_ " + id + " " + std::string(message.name) + ": " + std::to_string(message.size) + " ";
    head.append(message.sender).append("\n");
    if (!message.comment.empty()) comments.append("CM_ BO_ " + id + " \"").append(message.comment).append("\";\n");
    forEachPlaced(message, [&](const BusSignal& signal, std::uint32_t position) {
      const std::string key = id + " " + std::string(signal.name) + " ";
      head += signalLine(signal, position, message.order);
      if (!signal.comment.empty()) comments.append("CM_ SG_ " + key + "\"").append(signal.comment).append("\";\n");
      if (!signal.valueNames.empty()) names.append("VAL_ " + key).append(signal.valueNames).append(" ;\n");
    });
    head += "\n";
  }
  return head + comments + names;
}

CanBus::CanBus(Lib::Nano start, std::uint64_t seed) : start_(start), time_(start), random_(seed), packet_(start) {
  for (double& phase : phases_) phase = static_cast<double>(random_() % 6283) / 1000;
}

std::span<const std::uint8_t> CanBus::next() {
  do {
    drive();
    time_ = start_ + millisecond_ * kNanosPerMillisecond;
    packet_.restart(time_);
    std::int64_t turn = 0;
    for (const BusMessage& message : busMessages()) {
      if ((millisecond_ + turn) % message.period == 0) {
        addFrame(message, static_cast<std::uint64_t>(millisecond_ / message.period));
      }
      turn += kPhaseStep;
    }
    if (millisecond_ % kForeignPeriod == 0) packet_.addFrame(kForeignId, std::array<std::uint8_t, 3>{2, 1, 12});
    ++millisecond_;
  } while (packet_.empty());
  return packet_.bytes();
}

void CanBus::addFrame(const BusMessage& message, std::uint64_t count) {
  std::uint32_t groups = 1;
  for (const BusSignal& signal : message.signals) {
    if (isGrouped(signal)) groups = std::max(groups, groupOf(signal) + 1);
  }
  std::array<std::uint8_t, 64> data{};
  forEachPlaced(message, [&](const BusSignal& signal, std::uint32_t position) {
    if (isGrouped(signal) && groupOf(signal) != count % groups) return;
    std::uint64_t raw = 0;
    switch (signal.quantity) {
      case Q::None:
        break;
      case Q::Alive:
        raw = count;
        break;
      case Q::Switch:
        raw = count % groups;
        break;
      case Q::Noise:
        raw = random_();
        break;
      default:
        raw = rawOf(signal, value(signal.quantity));
    }
    setBits(data, position, signal.bits, message.order, raw);
  });
  packet_.addFrame(message.id, std::span(data).first(message.size), 0, static_cast<std::uint32_t>(millisecond_));
}

void CanBus::drive() {
  const double t = static_cast<double>(millisecond_) / 1000;
  constexpr double kStep = 0.001;
  struct Wave {
    double value, slope;
  };
  const auto wave = [&](double amplitude, double period, double phase) {
    const double rate = 2 * std::numbers::pi / period;
    return Wave{amplitude * std::sin(rate * t + phase), amplitude * rate * std::cos(rate * t + phase)};
  };
  const Wave slowSpeed = wave(9, 61, phases_[0]);
  const Wave fastSpeed = wave(3, 13, phases_[1]);
  const Wave slowSteering = wave(60, 23, phases_[2]);
  const Wave fastSteering = wave(15, 7, phases_[3]);

  const double speed = 18 + slowSpeed.value + fastSpeed.value;
  const double accel = slowSpeed.slope + fastSpeed.slope;
  const double steering = slowSteering.value + fastSteering.value;
  const double yawRate = speed * std::tan(steering / kSteeringRatio / kDegrees) / kWheelBase;  // rad/s
  const double wheelDifference = yawRate * kTrack / 2;
  const double brakePressure = std::max(0.0, -25 * (accel + 0.5));
  const double gear = std::clamp(std::floor(speed / 6) + 1, 1.0, 6.0);

  value(Q::Speed) = speed;
  value(Q::WheelFrontLeft) = value(Q::WheelRearLeft) = kKmhPerMps * (speed - wheelDifference);
  value(Q::WheelFrontRight) = value(Q::WheelRearRight) = kKmhPerMps * (speed + wheelDifference);
  value(Q::AccelForward) = accel;
  value(Q::AccelLateral) = speed * yawRate;
  value(Q::AccelDown) = 9.81;
  value(Q::YawRate) = yawRate * kDegrees;
  value(Q::RollRate) = 0.3 * fastSteering.slope / kSteeringRatio;
  value(Q::PitchRate) = -0.4 * fastSpeed.value;
  value(Q::SteeringAngle) = steering;
  value(Q::SteeringRate) = slowSteering.slope + fastSteering.slope;
  value(Q::SteeringTorque) = steering / 30;
  value(Q::EngineSpeed) = 1100 + 350 * (speed - 6 * (gear - 1));
  value(Q::EngineTorque) = 60 + 80 * accel;
  value(Q::Throttle) = std::max(0.0, 12 + 20 * accel);
  value(Q::Gear) = gear;
  value(Q::BrakePressure) = brakePressure;
  value(Q::BrakePressed) = brakePressure > 0 ? 1 : 0;
  value(Q::CoolantTemperature) = 90 - 65 * std::exp(-t / 200);
  value(Q::OilTemperature) = 95 - 72 * std::exp(-t / 400);
  value(Q::OutsideTemperature) = 17;
  value(Q::CabinTemperature) = 21 + 6 * std::exp(-t / 300);
  value(Q::FuelRate) = 1 + 0.3 * value(Q::Throttle);
  value(Q::FuelLevel) = 70 - t / 600;
  value(Q::Distance) += speed * kStep;
  value(Q::Odometer) = 123'456'000 + value(Q::Distance);
  value(Q::Seconds) = t;
  value(Q::Voltage) = 13.8 + 0.01 * fastSpeed.value;
  value(Q::Current) = 20 + 4 * fastSteering.value / 15;
  value(Q::Heading) = std::fmod(value(Q::Heading) + yawRate * kDegrees * kStep + 360, 360);
  value(Q::TargetDistance) = 40 - 2 * fastSpeed.value;
  value(Q::TargetSpeed) = -2 * fastSpeed.slope;
  value(Q::TyrePressure) = 2.4;
  value(Q::IndicatorLeft) = steering > 50 ? 1 : 0;
  value(Q::IndicatorRight) = steering < -50 ? 1 : 0;

  // From a start of its own; the heading counts from north to the left.
  const double heading = value(Q::Heading) / kDegrees;
  if (millisecond_ == 0) {
    value(Q::Latitude) = 51.5;
    value(Q::Longitude) = -0.7;
  }
  value(Q::Latitude) += speed * std::cos(heading) * kStep / kMetresPerDegree;
  value(Q::Longitude) -= speed * std::sin(heading) * kStep / kMetresPerDegree / std::cos(51.5 / kDegrees);
}

}  // namespace Kvex::Synth
