#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tool/TableFormatter.h"
#include "tool/TableStyle.h"

namespace Kvex::Tool {

/// What a user asks for of a CSV table.
struct CsvOptions {
  bool spreadsheet = false;  ///< Semicolon, decimal comma and byte order mark, if nothing else is asked for.
  std::optional<char> delimiter;
  std::optional<char> decimal;

  bool given() const { return spreadsheet || delimiter || decimal; }
};

/// Adds --dialect, --delimiter and --decimal.
void addCsvOptions(CLI::App& command, CsvOptions& options);

/// Adds to a dialect what is asked for. Throws a `Failure` where delimiter and decimal sign are the same.
CsvDialect dialectOf(const CsvOptions& options, CsvDialect dialect = {});

/// The delimiter that a user types: one character, or "tab". None for any other text, and for a character that numbers,
/// quotes and line ends are made of.
std::optional<char> delimiterFrom(std::string_view text);

/// What a spreadsheet would not show of a table, as a warning; empty where it shows all. The header is a row.
std::string spreadsheetWarning(std::uint64_t rows, std::uint64_t columns);
/// The same for a table that was written; empty too where it is not in the spreadsheet's dialect.
std::string spreadsheetWarning(const TableFormatter& table);

}  // namespace Kvex::Tool
