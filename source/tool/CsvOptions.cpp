#include "tool/CsvOptions.h"

#include <fmt/format.h>

#include "tool/Completion.h"
#include "tool/Failure.h"

namespace Kvex::Tool {

namespace {

constexpr const char* kSpreadsheetName = "excel";
constexpr CsvDialect kSpreadsheet{.delimiter = ';', .decimal = ',', .byteOrderMark = true};
constexpr std::uint64_t kMaxRows = 1'048'576;
constexpr std::uint64_t kMaxColumns = 16'384;

bool isLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// 1048576 as "1,048,576".
std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

}  // namespace

std::optional<char> delimiterFrom(std::string_view text) {
  if (text == "tab" || text == "\\t") return '\t';
  if (text.size() != 1) return std::nullopt;
  const char c = text.front();
  const bool visible = c == '\t' || (c >= ' ' && c <= '~');
  if (!visible || isLetterOrDigit(c) || c == '"' || c == '+' || c == '-') return std::nullopt;
  return c;
}

CsvDialect dialectOf(const CsvOptions& options, CsvDialect dialect) {
  if (options.spreadsheet) dialect = kSpreadsheet;
  dialect.delimiter = options.delimiter.value_or(dialect.delimiter);
  dialect.decimal = options.decimal.value_or(dialect.decimal);
  if (dialect.delimiter == dialect.decimal) {
    throw Failure(fmt::format("\"{}\" cannot be both the delimiter and the decimal sign; choose with --delimiter and "
                              "--decimal",
                              dialect.delimiter),
                  VrelExit::WrongUsage);
  }
  return dialect;
}

std::string spreadsheetWarning(std::uint64_t rows, std::uint64_t columns) {
  if (rows <= kMaxRows && columns <= kMaxColumns) return {};
  return fmt::format("the table has {} rows and {} columns; a spreadsheet takes the first {} rows and {} columns",
                     grouped(rows), grouped(columns), grouped(kMaxRows), grouped(kMaxColumns));
}

std::string spreadsheetWarning(const TableFormatter& table) {
  if (!table.style().csv.byteOrderMark) return {};
  return spreadsheetWarning(1 + table.records(), table.columnCount());
}

void addCsvOptions(CLI::App& command, CsvOptions& options) {
  command
      .add_option_function<std::string>(
          "--dialect", [&options](const std::string&) { options.spreadsheet = true; },
          "excel: CSV for a spreadsheet, with semicolons, decimal commas and a byte order mark")
      ->type_name("DIALECT")
      ->check(oneOf({kSpreadsheetName}));
  command
      .add_option_function<std::string>(
          "--delimiter",
          [&options](const std::string& text) {
            options.delimiter = delimiterFrom(text);
            if (options.delimiter) return;
            throw CLI::ValidationError("--delimiter", "\"" + text + "\" is no delimiter: it is one character, or tab");
          },
          "What stands between the fields of CSV: one character, or tab (default \",\")")
      ->type_name("CHAR");
  command
      .add_option_function<std::string>(
          "--decimal",
          [&options](const std::string& text) {
            if (text != "." && text != ",") {
              throw CLI::ValidationError("--decimal", "\"" + text + "\" is no decimal sign: it is \".\" or \",\"");
            }
            options.decimal = text.front();
          },
          "The decimal sign of CSV: \".\" (default) or \",\"")
      ->type_name("CHAR");
}

}  // namespace Kvex::Tool
