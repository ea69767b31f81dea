#include "tables/ValueTexts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "library/PackedText.h"
#include "library/TimeUnits.h"

namespace Kvex::Sto {

std::string dateTimeValueText(const Sample& value, const SignalInfo&) {
  return Lib::dateTimeText(value.asInteger());
}

std::string dateValueText(const Sample& value, const SignalInfo&) {
  return Lib::dateText(value.asInteger());
}

std::string spanValueText(const Sample& value, const SignalInfo&) {
  return Lib::spanText(value.asInteger());
}

std::string dottedAddressText(const Sample& value, const SignalInfo&) {
  return Lib::dottedAddress(static_cast<std::uint32_t>(value.asInteger()));
}

std::string packedCharactersText(const Sample& value, const SignalInfo&) {
  return Lib::packedCharacters(static_cast<std::uint64_t>(value.asInteger()));
}

std::string fixedDecimalsText(const Sample& value, const SignalInfo& info) {
  double number = 0.0;
  Lib::withType(value.type, [&](auto tag) { number = static_cast<double>(value.as<typename decltype(tag)::Type>()); });
  constexpr int kMaxDecimals = 20;
  std::array<char, std::numeric_limits<double>::max_exponent10 + kMaxDecimals + 8> digits;
  const int places = std::clamp(info.decimals, 0, kMaxDecimals);
  const auto written = std::to_chars(digits.begin(), digits.end(), number, std::chars_format::fixed, places);
  return std::string(digits.begin(), written.ptr);
}

}  // namespace Kvex::Sto
