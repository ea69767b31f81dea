#include "can/CanNumber.h"

#include <locale>
#include <sstream>
#include <string>

namespace Kvex::Can {
namespace {

template <class T>
bool readForm(const std::string& text, T& out) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  if (in >> out) return true;
  out = 0;  // A failed read leaves a limit of the type where the number is out of range.
  return false;
}

}  // namespace

std::optional<CanNumber> CanNumber::parse(std::string_view text) {
  CanNumber number;
  number.isFloat = text.find_first_of(".eEdDnaif") != std::string_view::npos;
  std::string dense(text);
  std::erase_if(dense, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
  const bool hasUnsigned = readForm(dense, number.asUnsigned);
  const bool hasSigned = readForm(dense, number.asSigned);
  const bool hasDouble = readForm(dense, number.asDouble);
  if (!hasUnsigned && !hasSigned && !hasDouble) return std::nullopt;
  return number;
}

}  // namespace Kvex::Can
