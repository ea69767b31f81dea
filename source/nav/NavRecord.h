#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "library/NavField.h"

namespace Kvex::Nav {

using Lib::NavField;

/// A text of at most `Size - 1` characters, closed by a zero. It lies inside the record, so that a record is copied
/// whole by plain assignment.
template <std::size_t Size>
using TextField = NavField<std::array<char, Size>>;

/// The text of a field, up to its closing zero.
template <std::size_t Size>
std::string_view textOf(const TextField<Size>& field) {
  const std::string_view whole(field.value.data(), Size);
  return whole.substr(0, whole.find('\0'));
}

/// What the unit reports about one GNSS receiver. Fields are named as their signals without the prefix.
struct ReceiverBlock {
#define KVEX_RECEIVER_SIGNAL(Name, Type, ...) NavField<Type> Name;
#include "tables/ReceiverSignals.def"
};

/// A point of the vehicle other than the unit, with what is worked out for it. Fields are named as their signals
/// without the prefix.
struct MeasPointBlock {
#define KVEX_POINT_SIGNAL(Name, Type, ...) NavField<Type> Name;
#include "tables/MeasPointSignals.def"
};

/// Everything that a navigation decoder knows about the newest packet: one field for each signal that the unit sends or
/// that is worked out from what it sends, named exactly as the signal. A constructed record holds flags 128 in every
/// field, a reset one 80.
struct NavRecord {
  /// Internal primary, external and internal secondary receiver: the prefixes GpsInt1_, GpsExt1_ and GpsInt2_.
  std::array<ReceiverBlock, 3> receivers;
  /// The prefixes MeasPt1_ to MeasPt8_.
  std::array<MeasPointBlock, 8> points;

#define KVEX_NAV_SIGNAL(Name, Type, ...) NavField<Type> Name;
#include "tables/NavSignals.def"

  // What has no signal of its own.

  NavField<std::int64_t>
      BlockNano;                 ///< `Nano` as the newest packet with time left it: stamps the fields of all blocks.
  NavField<double> NanoSeconds;  ///< `Nano` in seconds: what rates, filters and distances run on.
  NavField<double> NanoFromOriginSeconds;
  NavField<double> NanoFromStartSeconds;
  NavField<double> NanoFromFirstSeconds;
  NavField<double> NanoFromInitSeconds;
  NavField<double> WSpeedNanoSeconds;
  NavField<double> Trig1FallSeconds;
  NavField<double> Trig1RiseSeconds;
  NavField<double> Trig2FallSeconds;
  NavField<double> Trig2RiseSeconds;
  NavField<double> DigitalOutSeconds;
  NavField<double> DigitalOut2Seconds;

  TextField<9> DevIDText;          ///< The eight bytes of `DevID`.
  TextField<11> OsScriptIDText;    ///< `OsScriptID` in decimal.
  TextField<66> ProductName;       ///< As the unit sends it.
  TextField<5> BaseStationIDText;  ///< The four bytes of `BaseStationID`.
  TextField<15> OmniStarSerial;    ///< `OmniStarSerialRaw` as it is printed.

  const NavField<std::int64_t>& time() const {
    return Nano;
  }

  /// Brings every field to the state in which a walk starts.
  void reset();
  /// Clears the mark of being written in all fields: what a decoder puts in at the start of a walk is no write.
  void clearWritten();
};

}  // namespace Kvex::Nav
