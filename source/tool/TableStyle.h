#pragma once

#include <cstdint>

namespace Kvex::Tool {

enum class TableFormat : std::uint8_t {
  Csv,
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

struct TableStyle {
  TableFormat format = TableFormat::Csv;
  TableShape shape = TableShape::Wide;
  TimeForm time = TimeForm::Gps;
  bool qualified = false;   ///< Every name with its stream, "2:Lat".
  bool flags = false;       ///< A field of flags after each value; the long shape has it always.
  bool valueTexts = false;  ///< Texts in place of values, where a signal has them.
};

}  // namespace Kvex::Tool
