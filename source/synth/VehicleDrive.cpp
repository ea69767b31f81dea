#include "synth/VehicleDrive.h"

#include <cmath>
#include <numbers>

namespace Kvex::Synth {

namespace {

/// Places of the signals in the definition's list.
enum Field : std::size_t {
  kNano,
  kLatitude,
  kLongitude,
  kAltitude,
  kNumSats,
  kAx,
  kAy,
  kAz,
  kWx,
  kWy,
  kWz,
  kGear,
  kBrake,
  kWheelSpeed,
  kSteering,
  kCoolant,
  kOdometer,
};
constexpr std::uint64_t kPositionMessage = 1;
constexpr std::uint64_t kInertialMessage = 2;
constexpr std::uint64_t kVehicleMessage = 3;

constexpr std::int64_t kPeriodsPerPosition = 10;
constexpr std::int64_t kPeriodsPerVehicle = 100;

constexpr double kImuScale = 0.0001;
constexpr double kWheelScale = 0.01;
constexpr double kSteeringScale = 0.1;

constexpr double kEarthRadius = 6'378'137;  // m
constexpr double kGravity = 9.81;           // m/s²
constexpr double kDegrees = 180 / std::numbers::pi;
constexpr double kCentreLatitude = 51.5;  // deg
constexpr double kCentreLongitude = -0.7;

ZintDefinition makeDefinition() {
  ZintDefinition definition;
  const auto add = [&](const char* name, const char* unit, const char* base, std::uint32_t bitOffset,
                       std::uint32_t bitSize, const char* mapped, std::optional<double> scale = {},
                       std::optional<double> offset = {}) {
    definition.signals.push_back({.id = 10 + definition.signals.size(),
                                  .name = name,
                                  .unit = unit,
                                  .bitOffset = bitOffset,
                                  .bitSize = bitSize,
                                  .base = base,
                                  .mapped = mapped,
                                  .scale = scale,
                                  .offset = offset});
  };
  add("Nano", "ns", "S", 0, 64, "S64");

  add("GnssInt1_Latitude", "°", "R", 64, 64, "R64");
  add("GnssInt1_Longitude", "°", "R", 128, 64, "R64");
  add("GnssInt1_Altitude", "m", "R", 192, 32, "R32");
  add("GnssInt1_NumSats", "", "U", 224, 8, "U8");

  add("ImuAx", "m/s²", "S", 64, 24, "R32", kImuScale);
  add("ImuAy", "m/s²", "S", 88, 24, "R32", kImuScale);
  add("ImuAz", "m/s²", "S", 112, 24, "R32", kImuScale);
  add("ImuWx", "°/s", "S", 136, 24, "R32", kImuScale);
  add("ImuWy", "°/s", "S", 160, 24, "R32", kImuScale);
  add("ImuWz", "°/s", "S", 184, 24, "R32", kImuScale);

  add("Gear", "", "U", 64, 3, "U8");
  add("BrakePressed", "", "B", 67, 1, "B");
  add("WheelSpeed", "m/s", "U", 68, 13, "R32", kWheelScale);
  add("SteeringAngle", "°", "S", 81, 14, "R32", kSteeringScale);
  add("CoolantTemperature", "°C", "S", 95, 9, "S32", std::nullopt, -40);
  add("Odometer", "m", "U", 104, 37, "U64");

  definition.messages = {
      {.id = kPositionMessage, .name = "Position", .signals = {10, 11, 12, 13, 14}},
      {.id = kInertialMessage, .name = "Inertial", .signals = {10, 15, 16, 17, 18, 19, 20}},
      {.id = kVehicleMessage, .name = "Vehicle", .signals = {10, 21, 22, 23, 24, 25, 26}},
  };
  return definition;
}

const ZintSignal& signal(Field field) {
  return VehicleDrive::definition().signals[field];
}

}  // namespace

const ZintDefinition& VehicleDrive::definition() {
  static const ZintDefinition kDefinition = makeDefinition();
  return kDefinition;
}

VehicleDrive::VehicleDrive(Lib::Nano start, std::uint32_t seed)
    : position_(definition(), kPositionMessage),
      inertial_(definition(), kInertialMessage),
      vehicle_(definition(), kVehicleMessage),
      start_(start),
      time_(start),
      noise_(seed) {}

std::span<const std::uint8_t> VehicleDrive::next() {
  const std::int64_t period = period_;
  time_ = start_ + period * kPeriod;
  switch (due_) {
    case Due::Position:
      due_ = Due::Vehicle;
      if (period % kPeriodsPerPosition == 0) return position().bytes();
      [[fallthrough]];
    case Due::Vehicle:
      due_ = Due::Inertial;
      if (period % kPeriodsPerVehicle == 0) return vehicle().bytes();
      [[fallthrough]];
    default:
      due_ = Due::Position;
      ++period_;
      return inertial().bytes();
  }
}

double VehicleDrive::angle() const {
  return static_cast<double>(time_ - start_) * 1e-9 * kSpeed / kRadius;
}

const ZintPacket& VehicleDrive::position() {
  const double north = kRadius * std::cos(angle());
  const double east = kRadius * std::sin(angle());
  const double parallel = kEarthRadius * std::cos(kCentreLatitude / kDegrees);
  position_.set(signal(kNano), time_);
  position_.set(signal(kLatitude), kCentreLatitude + north / kEarthRadius * kDegrees);
  position_.set(signal(kLongitude), kCentreLongitude + east / parallel * kDegrees);
  position_.set(signal(kAltitude), 120 + 5 * std::sin(angle()));
  position_.set(signal(kNumSats), 12 + period_ / kPeriodsPerVehicle % 5);
  return position_;
}

const ZintPacket& VehicleDrive::inertial() {
  inertial_.set(signal(kNano), time_);
  inertial_.set(signal(kAx), measured(0, kImuScale));
  inertial_.set(signal(kAy), measured(kSpeed * kSpeed / kRadius, kImuScale));
  inertial_.set(signal(kAz), measured(-kGravity, kImuScale));
  inertial_.set(signal(kWx), measured(0, kImuScale));
  inertial_.set(signal(kWy), measured(0, kImuScale));
  inertial_.set(signal(kWz), measured(kSpeed / kRadius * kDegrees, kImuScale));
  return inertial_;
}

const ZintPacket& VehicleDrive::vehicle() {
  vehicle_.set(signal(kNano), time_);
  vehicle_.set(signal(kGear), 3);
  vehicle_.set(signal(kBrake), period_ / kPeriodsPerVehicle % 7 == 0);
  vehicle_.set(signal(kWheelSpeed), measured(kSpeed, kWheelScale));
  vehicle_.set(signal(kSteering), measured(-31.5, kSteeringScale));
  vehicle_.set(signal(kCoolant), 130);
  vehicle_.set(signal(kOdometer), std::llround(angle() * kRadius));
  return vehicle_;
}

std::int64_t VehicleDrive::measured(double value, double scale) {
  noise_ = noise_ * 1'664'525U + 1'013'904'223U;
  return std::llround(value / scale) + (noise_ >> 29) - 4;
}

}  // namespace Kvex::Synth
