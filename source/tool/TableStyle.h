#pragma once

#include <cstdint>
#include <string_view>

namespace Kvex::Tool {

enum class TableFormat : std::uint8_t {
  Csv,
  Json,    ///< An array of objects.
  Ndjson,  ///< JSON lines: one object per line.
};

enum class TableShape : std::uint8_t {
  Wide,  ///< One record per time, one field per element.
  Long,  ///< One record per time and element: time, stream, signal, flags, stamp, value.
};

enum class TimeForm : std::uint8_t {
  Gps,      ///< Nanoseconds.
  Utc,      ///< "2024-12-03T23:43:45.500000000Z".
  Elapsed,  ///< Seconds from the file's start.
};

/// How a CSV table is written.
struct CsvDialect {
  char delimiter = ',';
  char decimal = '.';
  bool byteOrderMark = false;  ///< Before the header: without it some programs do not take a table as UTF-8.

  bool operator==(const CsvDialect&) const = default;
};

inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct TableStyle {
  TableFormat format = TableFormat::Csv;
  TableShape shape = TableShape::Wide;
  TimeForm time = TimeForm::Gps;
  bool qualified = false;  ///< Every name with its stream, "2:Lat".
  CsvDialect csv;
  bool flags = false;       ///< A field of flags after each value; the long shape has it always.
  bool events = false;      ///< The number of an event after the time.
  bool valueTexts = false;  ///< Texts in place of values, where a signal has them.
};

}  // namespace Kvex::Tool
