#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "library/NavField.h"

namespace Kvex::Nav {

/// A day that a unit reports about itself, in the two forms that its signals have.
struct UnitDate {
  Lib::Nano start;       ///< 00:00:00 UTC of the day.
  std::uint32_t digits;  ///< 20240531 for the last of May 2024; 0 for a month or day that two digits do not hold.
};

/// The build date of the firmware that a device id begins with, "YYMMDD" of this century; none for a shorter text.
/// Other characters than digits give some date, far off perhaps.
std::optional<UnitDate> firmwareDate(std::string_view deviceId);

/// The date of a count of days since GPS time zero.
UnitDate dateOfDay(std::int32_t days);

}  // namespace Kvex::Nav
