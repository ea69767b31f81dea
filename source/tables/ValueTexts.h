#pragma once

#include <cstdint>
#include <string>

#include "library/Enumerations.h"
#include "library/Sample.h"
#include "tables/SignalInfo.h"

namespace Kvex::Sto {

// The text forms that a signal's value can have: functions for `SignalInfo::valueText`. A value of another type than
// the form is meant for is taken as an integer.

/// The name of a coded value, for instance `enumerationText<Lib::kPosModeNames>`.
template <const auto& kEnumeration>
std::string enumerationText(const Sample& value, const SignalInfo&) {
  return std::string(kEnumeration.nameOfRaw(static_cast<std::uint64_t>(value.asInteger())));
}

/// "2024-12-03 23:43:45.500": a time in nanoseconds.
std::string dateTimeValueText(const Sample& value, const SignalInfo& info);
/// "2024-12-03": the date of a time in nanoseconds.
std::string dateValueText(const Sample& value, const SignalInfo& info);
/// "+001 01:01:01.001": a span of time in nanoseconds.
std::string spanValueText(const Sample& value, const SignalInfo& info);
/// "192.168.0.1": an address, lowest byte first.
std::string dottedAddressText(const Sample& value, const SignalInfo& info);
/// Up to eight characters, lowest byte first.
std::string packedCharactersText(const Sample& value, const SignalInfo& info);
/// A number in fixed notation with the signal's decimal places, 20 at the most; none where the places are not fixed.
std::string fixedDecimalsText(const Sample& value, const SignalInfo& info);

}  // namespace Kvex::Sto
