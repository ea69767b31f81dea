#include "tool/Text.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace Kvex::Tool {

namespace {

/// Of a longer cell only the beginning sets the width of its column.
constexpr std::size_t kMaxWidth = 48;

bool isControl(unsigned char byte) {
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

std::size_t characterCount(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    // Some terminals obey the control characters U+0080 to U+009F too; in UTF-8 they are 0xC2 and a byte below 0xA0.
    const bool secondRange =
        byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) - 0x80U < 0x20U;
    if (secondRange) ++at;
    result += secondRange || isControl(byte) ? '?' : text[at];
  }
  return result;
}

std::string csvField(std::string_view text, char delimiter) {
  const char special[] = {delimiter, '"', '\r', '\n'};
  if (text.find_first_of({special, sizeof special}) == std::string_view::npos) return std::string(text);
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"') result += '"';
    result += c;
  }
  return result += '"';
}

std::string jsonText(const nlohmann::ordered_json& json, int indent) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

nlohmann::ordered_json jsonValue(const Value& value) {
  nlohmann::ordered_json result;
  visitType(value.type(), [&]<class T>(std::type_identity<T>) {
    const T number = value.get<T>();
    if constexpr (std::is_same_v<T, float>) {
      // The double with the same shortest text, so that a float of 0.1 does not read 0.10000000149.
      if (std::isfinite(number)) result = std::stod(fmt::format("{}", number));
    } else if constexpr (std::is_same_v<T, double>) {
      if (std::isfinite(number)) result = number;
    } else {
      result = number;
    }
  });
  return result;
}

std::string valueWithText(const Value& value, const Signal& signal) {
  const std::string number = jsonText(jsonValue(value));
  return signal.hasTexts() ? fmt::format("{} ({})", number, signal.text(value)) : number;
}

void TextTable::addRow(std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = printable(cell);
  rows_.push_back(std::move(cells));
}

std::string TextTable::text(std::size_t indent) const {
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], std::min(characterCount(row[column]), kMaxWidth));
    }
  }
  std::string result;
  for (const auto& row : rows_) {
    std::string line(indent, ' ');
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::size_t width = characterCount(row[column]);
      line += row[column];
      line.append(width < widths[column] ? widths[column] - width : 0, ' ');
      line += "  ";
    }
    line.resize(line.find_last_not_of(' ') + 1);
    result += line + '\n';
  }
  return result;
}

std::string counted(std::uint64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string lowerExtension(std::string_view path) {
  const std::size_t point = path.rfind('.');
  if (point == std::string_view::npos) return {};
  std::string extension(path.substr(point));
  for (char& c : extension) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return extension;
}

std::string markupText(std::string_view text) {
  const std::string valid = nlohmann::json::parse(jsonText(printable(text))).get<std::string>();
  std::string escaped;
  for (const char character : valid) {
    switch (character) {
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '&':
        escaped += "&amp;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

}  // namespace Kvex::Tool
