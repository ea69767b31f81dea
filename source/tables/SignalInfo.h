#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "library/Enumerations.h"
#include "library/Sample.h"
#include "library/ValueType.h"

namespace Kvex::Sto {

using Lib::Sample;
using Lib::Shape;
using Lib::ValueType;

// Bits of a row's group mask.
inline constexpr std::uint32_t kFixedGroup = 1;    ///< Rows that a protocol has in every file.
inline constexpr std::uint32_t kDefinedGroup = 2;  ///< Rows of a recording's own definitions.

/// What selects a signal that stands only in some records of its message.
struct MultiplexerInfo {
  std::string signal;  ///< The name of the multiplexer, a signal of the same message.
  std::vector<std::pair<std::uint64_t, std::uint64_t>> values;  ///< First and last of ranges, without gaps in them.
};

/// What every signal says about itself, and what a listing hands out.
struct SignalInfo {
  std::string name;  ///< Case-sensitive; unique among the signals of its run.
  ValueType valueType = ValueType::None;
  bool isArray = false;
  std::uint32_t count = 1;  ///< Elements: 1 for a scalar, else the array length.
  std::string unit;         ///< As shown to a user, UTF-8. "-" (no dimension) and empty (none given) differ.
  std::string description;  ///< One sentence.

  /// For an array: the label of an element. With none, the label is the index in decimal.
  std::string (*elementLabel)(std::uint32_t element) = nullptr;

  double resolution = 0.0;     ///< Smallest step of the shown value; 0 where none was declared.
  std::int32_t decimals = -1;  ///< Decimal places for display, from the resolution; -1 where not fixed.
  double rangeLow = 0.0;       ///< Display range.
  double rangeHigh = 0.0;
  double dialStart = 225.0;  ///< Position of `rangeLow` on a round gauge, in degrees.
  double dialSweep = 270.0;  ///< Sweep from `rangeLow` to `rangeHigh`, in degrees; the sign is its direction.

  std::int32_t ordinal = -1;              ///< Place in the order of registration, from 0; -1 until the row is inserted.
  std::uint32_t groupMask = kFixedGroup;  ///< Group bits that a listing tests.

  /// The text form of a value of this signal, for signals whose value has one. The sample is of the row's type.
  std::string (*valueText)(const Sample& value, const SignalInfo& info) = nullptr;
  /// The names of a coded value, which `valueText` then gives; none for other signals.
  const Lib::Enumeration* enumeration = nullptr;

  /// The table that native samples of this signal stand in: signals of one table are written together.
  std::string table;
  std::shared_ptr<const MultiplexerInfo> multiplexer;  ///< None for a signal that stands in all its records.

  Lib::Run run() const { return {valueType, isArray ? Shape::Array : Shape::Scalar}; }
  /// The name of one element, "Name[label]", for an array; the plain name for a scalar.
  std::string elementName(std::uint32_t element) const;
};

/// The decimal places that a resolution asks for: 0.001 gives 3, 1 gives 0; 0 (none declared) gives -1.
std::int32_t decimalsOf(double resolution);

/// One signal of one stream, as a listing gives it.
struct SignalListing : SignalInfo {
  std::int32_t streamId = -1;
};

/// A listing with the place of its values: the request block (Mode id), the request and the first column position.
struct ColumnListing : SignalListing {
  std::uint32_t block = 0;
  std::uint32_t request = 0;
  std::uint32_t position = 0;
};

}  // namespace Kvex::Sto
