#include "tool/FileNames.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>

namespace Kvex::Tool {

namespace {

bool isSafe(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '_' || c == '-';
}

std::string lowerCase(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

}  // namespace

std::string safeFileName(std::string_view text, std::size_t limit) {
  std::string name;
  for (const char c : text) {
    const bool stands = isSafe(c) && !(name.empty() && c == '.');
    const std::string part = stands ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
    if (name.size() + part.size() > limit) break;
    name += part;
  }
  return name;
}

std::string FileNames::add(std::string_view stem, std::string_view ending) {
  if (stem.empty()) stem = "unnamed";
  std::uint32_t& count = counts_[lowerCase(safeFileName(stem, kMaxLength) + std::string(ending))];
  for (;;) {
    const std::string last = (++count == 1 ? "" : fmt::format("-{}", count)) + std::string(ending);
    std::string name = safeFileName(stem, kMaxLength - last.size()) + last;
    if (taken_.insert(lowerCase(name)).second) return name;
  }
}

std::string stemOf(const std::string& path) {
  return std::filesystem::path(path).stem().string();
}

}  // namespace Kvex::Tool
