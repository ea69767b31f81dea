#pragma once

#include <cstddef>
#include <cstdint>
#include <kvex/Signal.h>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Tool {

/// Names, units and texts come from files and may hold anything: what goes to a person's terminal passes through here.
/// Control characters become "?".
std::string printable(std::string_view text);

/// A field of a CSV file, quoted where it holds the delimiter, a quote or a line end (RFC 4180).
std::string csvField(std::string_view text, char delimiter = ',');

/// JSON on one line, or indented. Text that is not UTF-8 is made so with replacement characters.
std::string jsonText(const nlohmann::ordered_json& json, int indent = -1);

/// A text in XML or HTML: characters that they give a sense to are escaped, those that they do not allow are replaced.
std::string markupText(std::string_view text);

/// A value as JSON has it: null for one that is not a number or infinite, and for no type.
nlohmann::ordered_json jsonValue(const Value& value);

/// A value with the text that its signal has for it: "3 (Locked)".
std::string valueWithText(const Value& value, const Signal& signal);

/// The number of characters of a UTF-8 text.
std::size_t characterCount(std::string_view text);

/// Rows of cells, printed with columns of equal width.
class TextTable {
 public:
  /// The cells pass through `printable`.
  void addRow(std::vector<std::string> cells);
  /// Each row on a line, behind `indent` blanks.
  std::string text(std::size_t indent = 0) const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

/// "1 page", "2 pages".
std::string counted(std::uint64_t count, std::string_view noun);

/// ".csv": a path from its last point on, in lower case; empty without a point.
std::string lowerExtension(std::string_view path);

}  // namespace Kvex::Tool
