#include <array>
#include <charconv>
#include <string_view>

#include "library/Enumerations.h"
#include "nav/ChannelHandlers.h"
#include "nav/UnitDate.h"

namespace Kvex::Nav {

using Lib::ByteView;

namespace {

void setDate(NavState& state, NavField<Lib::Nano>& start, NavField<std::uint32_t>& digits,
             const std::optional<UnitDate>& date) {
  if (date) {
    state.setField(start, date->start);
    state.setField(digits, date->digits);
  } else {
    markNotAvailable(start, digits);
  }
}

/// What an inertial unit is known to be made of: its rate in Hz, 0 where it is not known, and the kind of its sensors,
/// a value of `ImuAccelType` and `ImuGyroType` alike.
struct ImuModel {
  double rate;
  std::uint8_t sensors;
};

/// By `ImuType`.
constexpr std::array<ImuModel, 14> kImuModels{{{0, 0},
                                               {0, 0},
                                               {100, 1},
                                               {100, 2},
                                               {250, 1},
                                               {250, 2},
                                               {100, 0},
                                               {100, 0},
                                               {100, 1},
                                               {100, 2},
                                               {250, 1},
                                               {250, 2},
                                               {200, 1},
                                               {200, 2}}};

ImuModel modelOf(const NavField<std::uint8_t>& imuType) {
  return imuType.usable() && imuType.value < kImuModels.size() ? kImuModels[imuType.value] : ImuModel{0, 0};
}

}  // namespace

void readDeviceId(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  if (state.wants.SerialNumber) {
    state.setText(record.DevIDText, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  } else {
    markNotAvailable(record.DevIDText);
  }
  const bool readable = state.wants.NanoFirmware && record.DevIDText.usable();
  setDate(state, record.NanoFirmware, record.DateFirmware,
          readable ? firmwareDate(textOf(record.DevIDText)) : std::nullopt);
}

void readScriptId(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  const std::int32_t script = bytes.s24(3);
  if (!state.wants.OsVersion1 || script < 0) {
    markNotAvailable(record.OsScriptID, record.OsScriptIDText);
    return;
  }
  constexpr std::size_t kWidth = 6;
  std::array<char, 8> digits;
  const char* const end = std::to_chars(digits.begin(), digits.end(), script).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  std::array<char, 16> text;
  text.fill('0');
  const std::size_t zeros = length < kWidth ? kWidth - length : 0;
  std::copy_n(digits.data(), length, text.begin() + zeros);
  state.setText(record.OsScriptIDText, {text.data(), zeros + length});
  std::uint64_t packed = 0;
  for (std::size_t i = 0; i < kWidth; ++i) packed |= std::uint64_t{static_cast<std::uint8_t>(text[i])} << 8 * i;
  state.setField(record.OsScriptID, packed);
}

void readHardware(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  constexpr std::uint8_t kHwConfigOfX = 6;
  const std::string_view deviceId = textOf(record.DevIDText);
  const bool isX = record.DevIDText.usable() && deviceId.size() > 6 && deviceId[6] == 'x';
  if (state.wants.ImuType && bytes.u8(6) == 0xFF && isX) state.setField(record.HwConfig, kHwConfigOfX);

  if (!state.wants.DiskSpace) {
    markNotAvailable(record.ImuRate);
    return;
  }
  // The later models report their rate on a channel of their own.
  constexpr std::uint8_t kLastWithoutRate = 5;
  const ImuModel model = modelOf(record.ImuType);
  if (model.rate != 0.0 && record.ImuType.value <= kLastWithoutRate) state.setField(record.ImuRate, model.rate);
}

void readImuParts(NavState& state, ByteView bytes) {
  if (!state.wants.DiskSpace) return;
  NavRecord& record = state.record;
  const ImuModel model = modelOf(record.ImuType);
  if (bytes.u16(3) == 0xFFFF && model.rate != 0.0) state.setField(record.ImuRate, model.rate);
  const auto readSensors = [&](NavField<std::uint8_t>& field, std::uint8_t raw, const auto& names) {
    if (raw != 0xFF) {
      state.setField(field, static_cast<std::uint8_t>(names.clamped(raw)));
    } else if (model.sensors != 0) {
      state.setField(field, model.sensors);
    } else {
      markNotAvailable(field);
    }
  };
  readSensors(record.ImuAccelType, bytes.u8(5), Lib::kImuAccelTypeNames);
  readSensors(record.ImuGyroType, bytes.u8(6), Lib::kImuGyroTypeNames);
}

void readCalibrationDate(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  const std::uint16_t days = bytes.u16(4);
  const bool known = state.wants.NanoFirmware && days != 0xFFFF;
  setDate(state, record.NanoCalibration, record.DateCalibration, known ? std::optional(dateOfDay(days)) : std::nullopt);
}

void readLoad(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  NavField<double>& filtered = record.BnsLagFilt;
  if (!state.wants.BnsLag) {
    markNotAvailable(filtered);
  } else if (record.BnsLag.usable()) {
    const double lag = record.BnsLag.value;
    state.setField(filtered, filtered.usable() ? 0.99 * filtered.value + 0.01 * lag : lag);
  }

  // Seconds up to three hours, then minutes up to a week, then hours.
  const std::uint32_t raw = bytes.u16(2);
  if (!state.wants.DiskSpace || raw == 0xFFFF) {
    markNotAvailable(record.UpTime);
  } else if (raw <= 10'800) {
    state.setField(record.UpTime, raw);
  } else if (raw <= 20'700) {
    state.setField(record.UpTime, raw * 60 - 637'200);
  } else {
    state.setField(record.UpTime, raw * 3600 - 73'915'200);
  }
}

}  // namespace Kvex::Nav
