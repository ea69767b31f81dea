#pragma once

#include <kvex/File.h>
#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>
#include <optional>
#include <string_view>
#include <vector>

namespace Kvex::Python {

namespace nb = nanobind;

/// Text of a recording, which may not be UTF-8: what is not reads as U+FFFD.
nb::str toStr(std::string_view text);
/// UTF-8 of such a text.
std::string toUtf8(std::string_view text);

/// The number or bool of a value; None without type.
nb::object toObject(const Value& value);
nb::object toObject(const std::optional<Nano>& time);

/// A NumPy array that owns its values.
template <class T>
nb::object toArray(std::vector<T> values, std::vector<std::size_t> shape = {}) {
  auto* owner = new std::vector<T>(std::move(values));
  if (shape.empty()) shape = {owner->size()};
  const nb::capsule capsule(owner, [](void* memory) noexcept { delete static_cast<std::vector<T>*>(memory); });
  return nb::ndarray<nb::numpy, T>(owner->data(), shape.size(), shape.data(), capsule).cast();
}

/// To be called now and then while C++ works without the interpreter lock: ends the work where Python asks for it
/// (Ctrl-C), by throwing.
void checkInterrupt();

/// All rows of a reading as NumPy arrays: times, and for each column values, validity, flags and stamps.
nb::object collect(Reader& reader, const std::vector<Signal>& signals);

}  // namespace Kvex::Python
