#include "synth/CanBus.h"

namespace Kvex::Synth {

const std::vector<BusMessage>& busMessages() {
  using Q = BusQuantity;
  constexpr BusOrder kIntel = BusOrder::LittleEndian;
  constexpr BusOrder kMotorola = BusOrder::BigEndian;
  constexpr bool kSigned = true;
  constexpr std::string_view kGears = R"(0 "Neutral" 1 "First" 2 "Second" 3 "Third" 4 "Fourth" 5 "Fifth" 6 "Sixth")";
  constexpr std::string_view kOnOff = R"(0 "off" 1 "on")";

  // clang-format off
  static const std::vector<BusMessage> kMessages = {
    {0x0A0, "WheelSpeeds", 8, 10, "Brake", kIntel, "Speed of each wheel at its tread.", {
      {"WheelSpeed_FL", 15, Q::WheelFrontLeft, 0.05625, 0, "km/h", "Front left."},
      {"WheelSpeed_FL_Valid", 1, Q::None},
      {"WheelSpeed_FR", 15, Q::WheelFrontRight, 0.05625, 0, "km/h", "Front right."},
      {"WheelSpeed_FR_Valid", 1, Q::None},
      {"WheelSpeed_RL", 15, Q::WheelRearLeft, 0.05625, 0, "km/h", "Rear left."},
      {"WheelSpeed_RL_Valid", 1, Q::None},
      {"WheelSpeed_RR", 15, Q::WheelRearRight, 0.05625, 0, "km/h", "Rear right."},
      {"WheelSpeed_RR_Valid", 1, Q::None}}},
    {0x0A2, "WheelTicks", 8, 20, "Brake", kMotorola, "Counts of the wheel sensors' teeth.", {
      {"WheelTicks_FL", 12, Q::Distance, 0.04, 0, "m"}, {"WheelTicks_FR", 12, Q::Distance, 0.04, 0, "m"},
      {"WheelTicks_RL", 12, Q::Distance, 0.04, 0, "m"}, {"WheelTicks_RR", 12, Q::Distance, 0.04, 0, "m"},
      {"WheelTicksAlive", 4, Q::Alive}, {"WheelTicksCheck", 8, Q::Noise}}},
    {0x0C2, "Steering", 8, 10, "Steering", kMotorola, "The steering wheel.", {
      {"SteeringAngle", 16, Q::SteeringAngle, 0.1, 0, "°", "Left is positive.", kSigned},
      {"SteeringRate", 12, Q::SteeringRate, 0.5, 0, "°/s", "", kSigned},
      {"SteeringTorque", 10, Q::SteeringTorque, 0.02, 0, "Nm", "Torque of the driver's hands.", kSigned},
      {"SteeringCalibrated", 1, Q::None, 1, 0, "", "", false, "", kOnOff},
      {"SteeringAlive", 4, Q::Alive}, {"SteeringCheck", 8, Q::Noise}}},
    {0x0C4, "SteeringAssist", 6, 20, "Steering", kMotorola, "", {
      {"AssistCurrent", 11, Q::Current, 0.125, 0, "A", "", kSigned},
      {"AssistTemperature", 8, Q::OilTemperature, 1, -40, "°C"},
      {"AssistState", 3, Q::None, 1, 0, "", "", false, "", R"(0 "ready" 1 "limited" 7 "failed")"}}},
    {0x0D1, "Inertial", 8, 10, "Airbag", kIntel, "Accelerations and yaw rate of the body.", {
      {"AccelForward", 12, Q::AccelForward, 0.01, 0, "m/s²", "", kSigned},
      {"AccelLateral", 12, Q::AccelLateral, 0.01, 0, "m/s²", "", kSigned},
      {"AccelDown", 12, Q::AccelDown, 0.01, 0, "m/s²", "", kSigned},
      {"YawRate", 16, Q::YawRate, 0.005, 0, "°/s", "Left is positive.", kSigned},
      {"InertialAlive", 4, Q::Alive}, {"InertialCheck", 8, Q::Noise}}},
    {0x0D3, "InertialAngles", 8, 20, "Airbag", kMotorola, "", {
      {"RollRate", 16, Q::RollRate, 0.005, 0, "°/s", "", kSigned},
      {"PitchRate", 16, Q::PitchRate, 0.005, 0, "°/s", "", kSigned},
      {"SensorTemperature", 12, Q::CabinTemperature, 0.0625, -50, "°C"}, {"InertialAnglesAlive", 4, Q::Alive}}},
    {0x100, "EngineSpeed", 8, 10, "Engine", kMotorola, "Speed and torque at the crankshaft.", {
      {"EngineSpeed", 16, Q::EngineSpeed, 0.25, 0, "1/min"},
      {"EngineTorque", 12, Q::EngineTorque, 0.5, -200, "Nm", "Below zero in overrun."},
      {"DriverTorque", 12, Q::EngineTorque, 0.5, -200, "Nm"},
      {"ThrottlePosition", 8, Q::Throttle, 0.4, 0, "%"},
      {"EngineRunning", 1, Q::None, 1, 0, "", "", false, "", kOnOff},
      {"EngineAlive", 4, Q::Alive}, {"EngineCheck", 8, Q::Noise}}},
    {0x102, "Pedals", 4, 10, "Engine", kIntel, "", {
      {"AcceleratorPedal", 10, Q::Throttle, 0.1, 0, "%"}, {"KickDown", 1, Q::None},
      {"BrakeLightSwitch", 1, Q::BrakePressed, 1, 0, "", "", false, "", kOnOff},
      {"ClutchPedal", 8, Q::None, 0.4, 0, "%"}, {"PedalsAlive", 4, Q::Alive}}},
    {0x104, "EngineLimits", 8, 50, "Engine", kMotorola, "", {
      {"TorqueMaximum", 12, Q::None, 0.5, -200, "Nm"}, {"TorqueMinimum", 12, Q::None, 0.5, -200, "Nm"},
      {"SpeedLimit", 16, Q::None, 0.25, 0, "1/min"}, {"IdleTarget", 8, Q::None, 10, 0, "1/min"}}},
    {0x110, "EngineTemperatures", 8, 100, "Engine", kIntel, "Multiplexed: one group of sensors in each frame.", {
      {"TemperatureGroup", 4, Q::Switch, 1, 0, "", "Which group the frame has.", false, "M"},
      {"CoolantTemperature", 10, Q::CoolantTemperature, 0.25, -50, "°C", "At the outlet.", false, "m0"},
      {"OilTemperature", 10, Q::OilTemperature, 0.25, -50, "°C", "", false, "m0"},
      {"OilPressure", 8, Q::BrakePressure, 0.05, 0, "bar", "", false, "m0"},
      {"IntakeTemperature", 10, Q::OutsideTemperature, 0.25, -50, "°C", "", false, "m1"},
      {"IntakePressure", 12, Q::Throttle, 0.5, 0, "mbar", "", false, "m1"},
      {"ExhaustTemperature", 12, Q::EngineSpeed, 0.5, -50, "°C", "", false, "m2"},
      {"ExhaustPressureDifference", 13, Q::EngineTorque, 0.1, 0, "mbar", "", kSigned, "m2"}}},
    {0x112, "Fuel", 8, 200, "Engine", kIntel, "", {
      {"FuelLevel", 8, Q::FuelLevel, 0.4, 0, "%"}, {"FuelRate", 16, Q::FuelRate, 0.01, 0, "l/h"},
      {"FuelUsed", 24, Q::Distance, 0.001, 0, "ml"}, {"FuelReserve", 1, Q::None, 1, 0, "", "", false, "", kOnOff}}},
    {0x118, "Ignition", 8, 20, "Engine", kMotorola, "", {
      {"IgnitionAngle", 9, Q::Throttle, 0.25, 0, "°", "Before top dead centre.", kSigned},
      {"KnockRetard_1", 7, Q::Noise, 0.1, 0, "°"}, {"KnockRetard_2", 7, Q::Noise, 0.1, 0, "°"},
      {"KnockRetard_3", 7, Q::Noise, 0.1, 0, "°"}, {"KnockRetard_4", 7, Q::Noise, 0.1, 0, "°"},
      {"InjectionTime", 14, Q::FuelRate, 0.002, 0, "ms"}, {"Lambda", 13, Q::None, 0.0005, 0.8, "-"}}},
    {0x120, "Transmission", 8, 20, "Transmission", kIntel, "", {
      {"Gear", 4, Q::Gear, 1, 0, "", "The gear that is in.", false, "", kGears},
      {"GearTarget", 4, Q::Gear, 1, 0, "", "", false, "", kGears},
      {"LeverPosition", 3, Q::None, 1, 0, "", "", false, "", R"(0 "P" 1 "R" 2 "N" 3 "D" 4 "S")"},
      {"ConverterLocked", 1, Q::None, 1, 0, "", "", false, "", kOnOff},
      {"TurbineSpeed", 14, Q::EngineSpeed, 0.5, 0, "1/min"}, {"OutputSpeed", 14, Q::EngineSpeed, 0.25, 0, "1/min"},
      {"TransmissionAlive", 4, Q::Alive}, {"TransmissionCheck", 8, Q::Noise}}},
    {0x122, "TransmissionOil", 4, 500, "Transmission", kIntel, "", {
      {"TransmissionTemperature", 8, Q::OilTemperature, 1, -40, "°C"},
      {"LinePressure", 12, Q::EngineTorque, 0.01, 0, "bar"}}},
    {0x140, "BrakePressure", 8, 10, "Brake", kMotorola, "", {
      {"BrakePressure", 12, Q::BrakePressure, 0.1, -10, "bar", "In the master cylinder."},
      {"BrakePressed", 1, Q::BrakePressed, 1, 0, "", "", false, "", kOnOff},
      {"BrakeForceRequest", 15, Q::BrakePressure, 2, 0, "N"},
      {"BrakeAlive", 4, Q::Alive}, {"BrakeCheck", 8, Q::Noise}}},
    {0x142, "WheelPressures", 8, 20, "Brake", kIntel, "", {
      {"WheelPressure_FL", 12, Q::BrakePressure, 0.1, 0, "bar"},
      {"WheelPressure_FR", 12, Q::BrakePressure, 0.1, 0, "bar"},
      {"WheelPressure_RL", 12, Q::BrakePressure, 0.08, 0, "bar"},
      {"WheelPressure_RR", 12, Q::BrakePressure, 0.08, 0, "bar"}}},
    {0x144, "StabilityControl", 8, 20, "Brake", kIntel, "", {
      {"AbsActive", 1, Q::None, 1, 0, "", "", false, "", kOnOff}, {"TractionActive", 1, Q::None},
      {"StabilityActive", 1, Q::None}, {"StabilityOff", 1, Q::None}, {"HillHold", 1, Q::None},
      {"TorqueReduction", 11, Q::None, 0.5, 0, "Nm"}, {"SlipAngle", 12, Q::AccelLateral, 0.01, 0, "°", "", kSigned},
      {"YawRateTarget", 16, Q::YawRate, 0.005, 0, "°/s", "", kSigned}, {"StabilityAlive", 4, Q::Alive}}},
    {0x146, "ParkingBrake", 2, 100, "Brake", kIntel, "", {
      {"ParkingBrakeState", 3, Q::None, 1, 0, "", "", false, "", R"(0 "open" 1 "closed" 2 "opening" 3 "closing")"},
      {"ParkingBrakeForce", 10, Q::None, 20, 0, "N"}}},
    {0x180, "VehicleSpeed", 8, 20, "Gateway", kIntel, "", {
      {"VehicleSpeed", 16, Q::Speed, 0.0025, 0, "m/s", "Mean of the driven wheels."},
      {"DisplayedSpeed", 12, Q::Speed, 0.1, 0, "m/s"}, {"Distance", 24, Q::Distance, 0.125, 0, "m"},
      {"Standstill", 1, Q::None}, {"VehicleSpeedAlive", 4, Q::Alive}}},
    {0x182, "Odometer", 8, 1000, "Cluster", kIntel, "", {
      {"Odometer", 32, Q::Odometer, 1, 0, "m", "Since the vehicle was built."},
      {"TripDistance", 24, Q::Distance, 1, 0, "m"}}},
    {0x184, "Clock", 8, 1000, "Cluster", kMotorola, "", {
      {"ClockSeconds", 40, Q::Seconds, 1, 0, "s"}, {"ClockValid", 1, Q::None},
      {"ClockZone", 8, Q::None, 15, 0, "min", "", kSigned}}},
    {0x1A0, "Indicators", 2, 100, "Body", kIntel, "", {
      {"IndicatorLeft", 1, Q::IndicatorLeft, 1, 0, "", "", false, "", kOnOff},
      {"IndicatorRight", 1, Q::IndicatorRight, 1, 0, "", "", false, "", kOnOff},
      {"HazardLights", 1, Q::None}, {"HighBeam", 1, Q::None}, {"FogLight", 1, Q::None}, {"Horn", 1, Q::None}}},
    {0x1A2, "Doors", 2, 200, "Body", kIntel, "", {
      {"DoorOpen_FL", 1, Q::None}, {"DoorOpen_FR", 1, Q::None}, {"DoorOpen_RL", 1, Q::None},
      {"DoorOpen_RR", 1, Q::None},
      {"BonnetOpen", 1, Q::None}, {"BootOpen", 1, Q::None}, {"Locked", 2, Q::None}}},
    {0x1A4, "Wipers", 3, 200, "Body", kMotorola, "", {
      {"WiperStage", 3, Q::None, 1, 0, "", "", false, "", R"(0 "off" 1 "interval" 2 "slow" 3 "fast")"},
      {"WiperAngle", 9, Q::None, 0.5, 0, "°"}, {"RainIntensity", 8, Q::Noise, 0.4, 0, "%"}}},
    {0x1A6, "Seats", 4, 500, "Body", kIntel, "", {
      {"BeltClosed_FL", 1, Q::None}, {"BeltClosed_FR", 1, Q::None}, {"SeatOccupied_FL", 1, Q::None},
      {"SeatOccupied_FR", 1, Q::None}, {"SeatHeating_FL", 2, Q::None}, {"SeatHeating_FR", 2, Q::None}}},
    {0x1C0, "Climate", 8, 200, "Climate", kIntel, "", {
      {"OutsideTemperature", 8, Q::OutsideTemperature, 0.5, -40, "°C"},
      {"CabinTemperature", 10, Q::CabinTemperature, 0.1, -40, "°C"},
      {"CabinTarget", 6, Q::None, 0.5, 15, "°C"}, {"BlowerStage", 4, Q::None},
      {"CompressorPower", 8, Q::None, 25, 0, "W"},
      {"Humidity", 7, Q::None, 1, 0, "%"}, {"SunPower", 10, Q::Noise, 2, 0, "W/m²"}}},
    {0x1E0, "TyrePressures", 8, 1000, "Body", kMotorola, "Multiplexed: pressure and temperature of one wheel.", {
      {"TyreWheel", 2, Q::Switch, 1, 0, "", "", false, "M",
        R"(0 "front left" 1 "front right" 2 "rear left" 3 "rear right")"},
      {"TyrePressure_FL", 8, Q::TyrePressure, 0.025, 0, "bar", "", false, "m0"},
      {"TyreTemperature_FL", 8, Q::OutsideTemperature, 1, -50, "°C", "", false, "m0"},
      {"TyrePressure_FR", 8, Q::TyrePressure, 0.025, 0, "bar", "", false, "m1"},
      {"TyreTemperature_FR", 8, Q::OutsideTemperature, 1, -50, "°C", "", false, "m1"},
      {"TyrePressure_RL", 8, Q::TyrePressure, 0.025, 0, "bar", "", false, "m2"},
      {"TyreTemperature_RL", 8, Q::OutsideTemperature, 1, -50, "°C", "", false, "m2"},
      {"TyrePressure_RR", 8, Q::TyrePressure, 0.025, 0, "bar", "", false, "m3"},
      {"TyreTemperature_RR", 8, Q::OutsideTemperature, 1, -50, "°C", "", false, "m3"}}},
    {0x200, "RadarTarget", 8, 50, "Radar", kMotorola, "The vehicle ahead.", {
      {"TargetDistance", 12, Q::TargetDistance, 0.0625, 0, "m"},
      {"TargetSpeed", 12, Q::TargetSpeed, 0.03125, -64, "m/s", "Relative to the own vehicle."},
      {"TargetLateral", 9, Q::AccelLateral, 0.125, 0, "m", "", kSigned},
      {"TargetAcceleration", 10, Q::AccelForward, 0.03125, 0, "m/s²", "", kSigned},
      {"TargetKind", 3, Q::None, 1, 0, "", "", false, "",
        R"(0 "none" 1 "car" 2 "lorry" 3 "two-wheeler" 4 "pedestrian")"},
      {"TargetCertain", 7, Q::Noise, 1, 0, "%"}, {"RadarAlive", 4, Q::Alive}}},
    {0x202, "RadarTargets", 64, 50, "Radar", kIntel, "Further targets.", {
      {"Distance_1", 13, Q::TargetDistance, 0.03125, 0, "m"},
      {"Speed_1", 13, Q::TargetSpeed, 0.03125, 0, "m/s", "", kSigned},
      {"Angle_1", 12, Q::SteeringAngle, 0.05, 0, "°", "", kSigned},
      {"Distance_2", 13, Q::TargetDistance, 0.0625, 0, "m"},
      {"Speed_2", 13, Q::TargetSpeed, 0.03125, 0, "m/s", "", kSigned},
      {"Angle_2", 12, Q::SteeringRate, 0.05, 0, "°", "", kSigned},
      {"Distance_3", 13, Q::TargetDistance, 0.05, 0, "m"}, {"Speed_3", 13, Q::Speed, 0.03125, 0, "m/s", "", kSigned},
      {"Angle_3", 12, Q::YawRate, 0.05, 0, "°", "", kSigned},
      {"Stamp", 64, Q::Seconds, 1, 0, "s", "A long signal at an odd place."},
      {"Quality_1", 8, Q::Noise}, {"Quality_2", 8, Q::Noise}, {"Quality_3", 8, Q::Noise}}},
    {0x210, "Lane", 8, 50, "Camera", kIntel, "", {
      {"LaneOffset", 12, Q::AccelLateral, 0.005, 0, "m", "", kSigned},
      {"LaneCurvature", 16, Q::YawRate, 0.001, 0, "1/km", "", kSigned},
      {"LaneWidth", 8, Q::None, 0.025, 0, "m"}, {"LaneAngle", 12, Q::SteeringAngle, 0.01, 0, "°", "", kSigned},
      {"LaneQuality", 2, Q::None}, {"CameraAlive", 4, Q::Alive}}},
    {0x212, "Signs", 4, 500, "Camera", kIntel, "", {
      {"SignSpeedLimit", 8, Q::None, 5, 0, "km/h"}, {"SignNoOvertaking", 1, Q::None},
      {"SignDistance", 10, Q::TargetDistance, 0.5, 0, "m"}}},
    {0x220, "Assistance", 3, 100, "Camera", kMotorola, "", {
      {"CruiseState", 3, Q::None, 1, 0, "", "", false, "", R"(0 "off" 1 "ready" 2 "active" 7 "failed")"},
      {"CruiseTarget", 9, Q::Speed, 0.2, 0, "m/s"}, {"LaneAssistState", 2, Q::None}, {"HandsOn", 1, Q::None}}},
    {0x8CF00400, "GnssPosition", 8, 100, "Gateway", kIntel, "An extended id.", {
      {"GnssLatitude", 32, Q::Latitude, 1e-7, 0, "°", "North is positive.", kSigned},
      {"GnssLongitude", 32, Q::Longitude, 1e-7, 0, "°", "East is positive.", kSigned}}},
    {0x8CF00500, "GnssMotion", 12, 100, "Gateway", kMotorola, "An extended id and a CAN FD length.", {
      {"GnssSpeed", 16, Q::Speed, 0.01, 0, "m/s"}, {"GnssHeading", 16, Q::Heading, 0.01, 0, "°"},
      {"GnssSatellites", 6, Q::None, 1, 0, "-"}, {"GnssHdop", 10, Q::None, 0.01, 0, "-"},
      {"GnssTime", 48, Q::Seconds, 0.001, 0, "s", "Since the start."}}},
    {0x8CFEF100, "CruiseVehicle", 8, 100, "Gateway", kIntel, "", {
      {"CruiseSpeed", 16, Q::Speed, 0.00390625, 0, "m/s"}, {"CruiseSet", 8, Q::None, 1, 0, "km/h"},
      {"CruiseSwitches", 8, Q::None}}},
    {0x8CFEF700, "ElectricalPower", 8, 1000, "Gateway", kIntel, "", {
      {"BatteryCurrent", 8, Q::Current, 1, -125, "A"}, {"AlternatorCurrent", 8, Q::Current, 1, 0, "A"},
      {"AlternatorVoltage", 16, Q::Voltage, 0.05, 0, "V"}, {"BatteryVoltage", 16, Q::Voltage, 0.05, 0, "V"}}},
    {0x300, "BatteryCells", 48, 200, "Battery", kMotorola, "Voltages of the high-voltage cells.", {
      {"CellVoltage_1", 14, Q::Voltage, 0.001, 0, "V"}, {"CellVoltage_2", 14, Q::Voltage, 0.001, 0, "V"},
      {"CellVoltage_3", 14, Q::Voltage, 0.001, 0, "V"}, {"CellVoltage_4", 14, Q::Voltage, 0.001, 0, "V"},
      {"CellVoltage_5", 14, Q::Voltage, 0.001, 0, "V"}, {"CellVoltage_6", 14, Q::Voltage, 0.001, 0, "V"},
      {"CellVoltage_7", 14, Q::Voltage, 0.001, 0, "V"}, {"CellVoltage_8", 14, Q::Voltage, 0.001, 0, "V"},
      {"CellTemperature_1", 9, Q::CabinTemperature, 0.5, -40, "°C"},
      {"CellTemperature_2", 9, Q::CabinTemperature, 0.5, -40, "°C"},
      {"PackCurrent", 17, Q::Current, 0.01, 0, "A", "Charging is positive.", kSigned}}},
    {0x302, "Charging", 8, 500, "Battery", kIntel, "", {
      {"ChargeState", 3, Q::None, 1, 0, "", "", false, "", R"(0 "idle" 1 "charging" 2 "full" 7 "failed")"},
      {"ChargeLevel", 10, Q::FuelLevel, 0.1, 0, "%"}, {"ChargePower", 16, Q::None, 1, 0, "W"},
      {"RemainingTime", 12, Q::None, 1, 0, "min"}}},
    {0x3E0, "Diagnosis", 8, 1000, "Gateway", kIntel, "", {
      {"FaultCount", 8, Q::None}, {"FaultWord", 32, Q::Noise}, {"UpTime", 24, Q::Seconds, 1, 0, "s"}}},
    {0x700, "GatewayAlive", 1, 1000, "Gateway", kIntel, "", {{"GatewayState", 8, Q::None}}},
  };
  // clang-format on
  return kMessages;
}

}  // namespace Kvex::Synth
