#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Kvex::Can {

/// A number of a signal line, read in all forms that scaling can need. A form that the text does not have, or whose
/// range it exceeds, is 0.
struct CanNumber {
  bool isFloat = false;  ///< Written as a floating number: with a point, an exponent or the like.
  std::uint64_t asUnsigned = 0;
  std::int64_t asSigned = 0;
  double asDouble = 0.0;

  /// None where the text reads in none of the forms. White space anywhere in the text is skipped, and what is left over
  /// behind the number is ignored; a negative text wraps in `asUnsigned`.
  static std::optional<CanNumber> parse(std::string_view text);
};

}  // namespace Kvex::Can
