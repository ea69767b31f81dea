#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "nav/ChannelHandlers.h"

namespace Kvex::Nav {

using Lib::ByteView;

void readBaseStation(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  if (!state.wants.BaseStationID || bytes.u8(2) == 0) {
    markNotAvailable(record.BaseStationID, record.BaseStationIDText);
    return;
  }
  const ByteView id = bytes.from(2, 4);
  state.setText(record.BaseStationIDText, {reinterpret_cast<const char*>(id.data()), id.size()});
  state.setField(record.BaseStationID, id.u32(0));
}

void readDilution(NavState& state, ByteView) {
  const NavRecord& record = state.record;
  const double pdop = record.PDOP.value;
  const double hdop = record.HDOP.value;
  if (state.wants.PDOP && record.PDOP.usable() && record.HDOP.usable() && pdop > hdop) {
    state.setField(state.record.VDOP, std::sqrt(pdop * pdop - hdop * hdop));
  } else {
    markNotAvailable(state.record.VDOP);
  }
}

void readOmniStarSerial(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  const std::uint32_t serial = bytes.u24(5);
  if (!state.wants.OmniStarSerialRaw || serial == 0xFFFFFF) {
    markNotAvailable(record.OmniStarSerial);
    return;
  }
  // Some receivers' numbers are printed in a form of their own.
  constexpr std::uint8_t kOemV = 3;
  constexpr std::uint8_t kOem6 = 14;
  constexpr std::uint32_t kFirstPlain = 700'000;
  const NavField<std::uint8_t>& type = record.receivers[0].Type;
  const bool isHyphened = type.usable() && (type.value == kOemV || type.value == kOem6) && serial < kFirstPlain;

  std::array<char, 16> text{'0', '0', '7', '-', '0', '0', '0', '0', '0', '0', '0'};
  std::array<char, 8> digits;
  const auto length = static_cast<std::size_t>(std::to_chars(digits.begin(), digits.end(), serial).ptr - digits.data());
  const std::size_t end = isHyphened ? 11 : length;
  std::copy_n(digits.data(), length, text.begin() + (end - length));
  state.setText(record.OmniStarSerial, {text.data(), end});
}

void readServices(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  const auto services = static_cast<std::uint8_t>(~bytes.u8(7));
  const bool isReported = services > 127;
  const auto bit = [&](unsigned number) { return (services >> number & 1) != 0; };

  const NavField<std::uint8_t>& type = record.receivers[0].Type;
  const auto lacksService = [&] {
    constexpr std::array<std::uint8_t, 5> kTypes{0, 1, 3, 4, 10};
    return type.usable() && std::ranges::find(kTypes, type.value) != kTypes.end();
  };
  if (state.wants.PsrDiffEnabled && (isReported || lacksService())) {
    state.setField(record.TerraStarDEnabled, isReported && bit(0));
  } else {
    markNotAvailable(record.TerraStarDEnabled);
  }

  // Devices of before 2018 have GPS and no BeiDou, and do not report either.
  markNotAvailable(record.GnssGpsEnabled, record.GnssBeiDouEnabled);
  if (!state.wants.GnssGpsEnabled || !record.DevIDText.usable()) return;
  const bool isOld = textOf(record.DevIDText) < "180000";
  if (!isOld && !isReported) return;
  state.setField(record.GnssGpsEnabled, isOld || bit(1));
  state.setField(record.GnssBeiDouEnabled, !isOld && bit(2));
}

void readWideAntenna(NavState& state, ByteView bytes) {
  NavRecord& record = state.record;
  const std::uint8_t factor = bytes.u8(7);
  if (!state.wants.GAPx || bytes.u8(6) >= 150 || factor == 0) {
    markNotAvailable(record.GAPx, record.GAPy, record.GAPz);
    return;
  }
  const double scale = (factor < 0xFF ? factor : 1) * 0.001;
  state.setField(record.GAPx, bytes.s16(0) * scale);
  state.setField(record.GAPy, bytes.s16(2) * scale);
  state.setField(record.GAPz, bytes.s16(4) * scale);
}

}  // namespace Kvex::Nav
