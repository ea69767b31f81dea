#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "library/Enumerations.h"
#include "tables/SignalTable.h"
#include "tables/ValueTexts.h"

namespace Kvex::Sto {

/// How a value is put into words.
struct TextForm {
  decltype(SignalInfo::valueText) text = nullptr;
  const Lib::Enumeration* enumeration = nullptr;
};

/// The text forms that the lists of signals name: enumerations, and these.
namespace Texts {
using namespace Lib;
using Function = decltype(SignalInfo::valueText);
inline constexpr Function kNoneNames = nullptr;
inline constexpr Function kDateTimeNames = dateTimeValueText;
inline constexpr Function kDateNames = dateValueText;
inline constexpr Function kSpanNames = spanValueText;
inline constexpr Function kDottedAddressNames = dottedAddressText;
inline constexpr Function kPackedTextNames = packedCharactersText;
}  // namespace Texts

template <const auto& kForm>
constexpr TextForm textForm() {
  if constexpr (std::is_convertible_v<decltype(kForm), Texts::Function>) {
    return {kForm, nullptr};
  } else {
    return {enumerationText<kForm>, &kForm};
  }
}

/// What a line in a list of signals says, but for where the field is.
struct SignalLine {
  const char* name;
  const char* group;
  ValueType type;
  std::uint32_t count;  ///< Elements: 1 for a scalar.
  const char* unit;
  double resolution;
  TextForm text;
  const char* description;
};

/// A line whose values are of type `T`.
template <class T>
constexpr SignalLine signalLine(const char* name, const char* group, std::uint32_t count, const char* unit,
                                double resolution, const TextForm& text, const char* description) {
  return {name, group, Lib::kValueTypeOf<T>, count, unit, resolution, text, description};
}

/// The row of a line; its binding to a record is still to come.
inline SignalRow rowOf(const SignalLine& line) {
  SignalRow row;
  row.name = line.name;
  row.valueType = line.type;
  row.isArray = line.count > 1;
  row.count = line.count;
  row.unit = line.unit;
  row.description = line.description;
  row.resolution = line.resolution;
  row.decimals = decimalsOf(line.resolution);
  row.valueText = line.text.text;
  row.enumeration = line.text.enumeration;
  return row;
}

}  // namespace Kvex::Sto
