#include "front/Glob.h"

#include <cstddef>

namespace Kvex::Front {

namespace {

/// Bytes of the UTF-8 character with which a text starts.
std::size_t characterLength(std::string_view text) {
  std::size_t length = 1;
  while (length < text.size() && length < 4 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) ++length;
  return length;
}

/// Takes one character off the front of a text. Characters compare by their bytes, which in UTF-8 is their order.
std::string_view takeCharacter(std::string_view& text) {
  const std::string_view character = text.substr(0, characterLength(text));
  text.remove_prefix(character.size());
  return character;
}

/// Bytes of the bracket expression with which a pattern starts; 0 where its end is missing.
std::size_t bracketLength(std::string_view pattern) {
  const std::size_t first = pattern.starts_with("[!") ? 2 : 1;  // a bracket in this place is one of the set
  const std::size_t end = pattern.find(']', first + 1);
  return end == std::string_view::npos ? 0 : end + 1;
}

bool bracketMatches(std::string_view expression, std::string_view character) {
  std::string_view set = expression.substr(1, expression.size() - 2);
  const bool inverted = set.starts_with('!');
  if (inverted) set.remove_prefix(1);
  bool found = false;
  while (!set.empty()) {
    const std::string_view low = takeCharacter(set);
    std::string_view high = low;
    if (set.size() > 1 && set.starts_with('-')) {
      set.remove_prefix(1);
      high = takeCharacter(set);
    }
    found |= low <= character && character <= high;
  }
  return found != inverted;
}

/// Matches the front of both, except for a "*", and takes it off.
bool takeOne(std::string_view& pattern, std::string_view& name) {
  if (pattern.empty() || name.empty()) return false;
  const std::size_t bracket = pattern.front() == '[' ? bracketLength(pattern) : 0;
  if (bracket > 0) {
    if (!bracketMatches(pattern.substr(0, bracket), takeCharacter(name))) return false;
    pattern.remove_prefix(bracket);
    return true;
  }
  const bool any = pattern.front() == '?';
  return takeCharacter(name) == takeCharacter(pattern) || any;
}

}  // namespace

bool globMatches(std::string_view pattern, std::string_view name) {
  if (pattern == name) return true;
  // After a mismatch the last "*" takes in one character more; earlier ones need not be tried again.
  std::string_view afterStar;
  std::string_view nameAtStar;
  bool starSeen = false;
  while (!name.empty()) {
    if (pattern.starts_with('*')) {
      pattern.remove_prefix(1);
      afterStar = pattern;
      nameAtStar = name;
      starSeen = true;
    } else if (!takeOne(pattern, name)) {
      if (!starSeen) return false;
      takeCharacter(nameAtStar);
      pattern = afterStar;
      name = nameAtStar;
    }
  }
  return pattern.find_first_not_of('*') == std::string_view::npos;
}

}  // namespace Kvex::Front
