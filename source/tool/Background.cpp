#include "tool/Background.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <string_view>

#include "tool/Failure.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uintmax_t kLargest = 20'000'000;

std::string bytesOf(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  if (error || !file) throw Failure(fmt::format("cannot read the background \"{}\"", printable(path)));
  if (size > kLargest) throw Failure(fmt::format("the background \"{}\" is larger than 20 MB", printable(path)));
  return {std::istreambuf_iterator<char>(file), {}};
}

/// RFC 4648.
std::string base64(std::string_view bytes) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::string_view three = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8U | (i < three.size() ? static_cast<unsigned char>(three[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= three.size() ? kDigits[bits >> (18U - 6U * i) & 0x3FU] : '=';
    }
  }
  return text;
}

Json cornersOf(std::string_view text) {
  std::array<double, 4> corners{};
  const char* at = text.data();
  const char* const end = text.data() + text.size();
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const auto [next, error] = std::from_chars(at, end, corners[i]);
    const bool isLast = i + 1 == corners.size();
    if (error != std::errc() || (isLast ? next != end : next == end || *next != ',')) {
      throw Failure("corners are four numbers in degrees: map.png@SOUTH,WEST,NORTH,EAST", VrelExit::WrongUsage);
    }
    at = next + 1;
  }
  const auto [south, west, north, east] = corners;
  if (!(south >= -90 && south < north && north <= 90 && west >= -180 && west < east && east - west <= 360)) {
    throw Failure("corners are degrees, the south below the north and the west before the east", VrelExit::WrongUsage);
  }
  return {south, west, north, east};
}

}  // namespace

Json backgroundJson(const std::string& text) {
  const std::size_t at = text.rfind('@');
  const std::string path = text.substr(0, at);
  const std::string ending = lowerExtension(path);
  const bool isImage = ending == ".png" || ending == ".jpg" || ending == ".jpeg";
  if (isImage != (at != std::string::npos)) {
    throw Failure(isImage ? "an image needs the degrees of its corners: map.png@SOUTH,WEST,NORTH,EAST"
                          : "corners are for an image (.png, .jpg)",
                  VrelExit::WrongUsage);
  }
  if (isImage) {
    const char* const type = ending == ".png" ? "png" : "jpeg";
    return {{"image", fmt::format("data:image/{};base64,{}", type, base64(bytesOf(path)))},
            {"corners", cornersOf(std::string_view(text).substr(at + 1))}};
  }
  if (ending != ".geojson" && ending != ".json") {
    throw Failure("a background is a GeoJSON file (.geojson, .json) or an image (.png, .jpg)", VrelExit::WrongUsage);
  }
  Json geometry = Json::parse(bytesOf(path), nullptr, false);
  if (!geometry.is_object() || !geometry.contains("type")) {
    throw Failure(fmt::format("the background \"{}\" is no GeoJSON", printable(path)));
  }
  return {{"geojson", std::move(geometry)}};
}

}  // namespace Kvex::Tool
