#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <type_traits>

#include "library/Enumerations.h"
#include "nav/NavRecord.h"

namespace Kvex::Nav {

// Fields as the tags of a scan show them: the empty text where a field is not usable.

inline std::string scanText(const NavField<double>& field) {
  if (!field.usable()) return {};
  char text[32];
  const int length = std::snprintf(text, sizeof text, "%g", field.value);
  return {text, static_cast<std::size_t>(length)};
}

template <class T>
requires std::is_integral_v<T> std::string scanText(const NavField<T>& field) {
  return field.usable() ? std::to_string(field.value) : std::string();
}

template <std::size_t Size>
std::string scanText(const TextField<Size>& field) {
  return field.usable() ? std::string(textOf(field)) : std::string();
}

/// The name of a coded value.
template <class T>
std::string scanText(const NavField<T>& field, const Lib::Enumeration& names) {
  return field.usable() ? std::string(names.nameOfRaw(field.value)) : std::string();
}

}  // namespace Kvex::Nav
