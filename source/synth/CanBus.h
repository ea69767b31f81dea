#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "library/NavField.h"
#include "synth/CanPacket.h"

namespace Kvex::Synth {

/// What a signal of the vehicle bus shows.
enum class BusQuantity : std::uint8_t {
  None,
  Alive,  ///< Counts the message's frames.
  Noise,
  Switch,          ///< The multiplexer: goes round through the message's multiplexed groups.
  Speed,           ///< m/s
  WheelFrontLeft,  ///< km/h
  WheelFrontRight,
  WheelRearLeft,
  WheelRearRight,
  AccelForward,  ///< m/s²
  AccelLateral,
  AccelDown,
  YawRate,  ///< °/s
  RollRate,
  PitchRate,
  SteeringAngle,  ///< °, at the wheel
  SteeringRate,
  SteeringTorque,
  EngineSpeed,  ///< 1/min
  EngineTorque,
  Throttle,  ///< %
  Gear,
  BrakePressure,  ///< bar
  BrakePressed,
  CoolantTemperature,  ///< °C
  OilTemperature,
  OutsideTemperature,
  CabinTemperature,
  FuelLevel,  ///< %
  FuelRate,   ///< l/h
  Distance,   ///< m
  Odometer,   ///< m
  Seconds,    ///< Since the start.
  Voltage,
  Current,
  Heading,  ///< °
  Latitude,
  Longitude,
  TargetDistance,  ///< m
  TargetSpeed,     ///< m/s
  TyrePressure,    ///< bar
  IndicatorLeft,
  IndicatorRight,
  Count_,
};

/// A signal of the vehicle bus. Signals of a message lie one behind the other; multiplexed groups lie over each other
/// behind the switch.
struct BusSignal {
  std::string_view name;
  std::uint32_t bits;
  BusQuantity quantity;
  double factor = 1;
  double offset = 0;
  std::string_view unit;
  std::string_view comment;
  bool isSigned = false;
  std::string_view mux;         ///< "M" for the switch, "m" and a number for a signal of a group.
  std::string_view valueNames;  ///< As a value line of the database has them.
};

enum class BusOrder : std::uint8_t { LittleEndian, BigEndian };

struct BusMessage {
  std::uint32_t id;  ///< Bit 31 marks an extended id.
  std::string_view name;
  std::uint32_t size;    ///< Bytes of data; above 8 the message is a CAN FD one.
  std::uint32_t period;  ///< ms
  std::string_view sender;
  BusOrder order;
  std::string_view comment;
  std::vector<BusSignal> signals;
};

/// The messages of the vehicle bus: some 40, of both byte orders, classic and CAN FD.
const std::vector<BusMessage>& busMessages();

/// The bus of a vehicle on a winding road, as a recorder takes it down: every millisecond with frames in it is a
/// packet. Frames of one id come that the database does not have. Made for tests, demonstrations and benchmarks; the
/// same start and seed give the same packets.
class CanBus {
 public:
  /// `start` is the time of the first packet. A start below one year makes a stream of relative times.
  explicit CanBus(Lib::Nano start, std::uint64_t seed = 1);

  /// The database of the bus in the DBC text format, with units, comments, value names and multiplexed signals.
  static std::string database();
  /// The header packet with the database as its body.
  static std::string headerPacket() { return "(Kvex-Can-Dbc)" + database(); }

  /// The next packet, valid until the next call. Times rise.
  std::span<const std::uint8_t> next();
  /// Time of the packet that `next` gave last.
  Lib::Nano time() const { return time_; }

 private:
  double& value(BusQuantity quantity) { return values_[static_cast<std::size_t>(quantity)]; }
  /// Brings the vehicle to the present millisecond.
  void drive();
  void addFrame(const BusMessage& message, std::uint64_t count);

  Lib::Nano start_;
  Lib::Nano time_;
  std::int64_t millisecond_ = 0;
  std::mt19937_64 random_;
  double phases_[4];
  double values_[static_cast<std::size_t>(BusQuantity::Count_)] = {};
  CanPacket packet_;
};

}  // namespace Kvex::Synth
