#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/SignalQuery.h"
#include "tool/Output.h"

namespace Kvex::Tool {

enum class TableFormat : std::uint8_t {
  Csv,
  Ndjson,  ///< JSON lines: one object per line.
};

enum class TableShape : std::uint8_t {
  Wide,  ///< One record per time, one field per element.
  Long,  ///< One record per time and element.
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
  bool flags = false;       ///< A field of flags after each value; the long shape has it always.
  bool valueTexts = false;  ///< Texts in place of values, where a row has them.
};

/// Writes samples over time as text. Values that are not usable are empty in the wide shape. A long table has the
/// fields time, stream, signal, flags, stamp, value.
class SampleWriter {
 public:
  /// `query` is what the samples come from, and must outlive the writer; `start` is where elapsed time counts from.
  SampleWriter(Output& output, const TableStyle& style, const Sto::SignalQuery& query, Lib::Nano start);

  /// The line of names that opens a CSV table. JSON has none.
  void writeHeader();
  /// REQUIRES: one sample per column.
  void writeRow(Lib::Nano time, std::span<const Lib::Sample> samples);

 private:
  using AppendValue = void (*)(fmt::memory_buffer& buffer, const Lib::Sample& sample, TableFormat format);

  /// A column with all of its text that is the same in each record.
  struct Column {
    const Sto::SignalListing* signal = nullptr;
    std::string key;        ///< Name and unit, as a wide table has them.
    std::string flagsKey;   ///< The same for its field of flags.
    std::string lead;       ///< What comes before its first field.
    std::string flagsLead;  ///< What comes before its field of flags in a wide table.
    AppendValue append = nullptr;
  };

  /// The text of the newest time, kept since neighbouring fields often have the same.
  struct TimeText {
    Lib::Nano nano = 0;
    std::string text;
  };

  bool isJson() const { return style_.format == TableFormat::Ndjson; }
  std::string textField(std::string_view text) const;
  /// What comes before a field that is not the first one.
  std::string leadOf(std::string_view key) const;
  void addColumns(const Sto::SignalQuery& query);
  std::string timeField(Lib::Nano nano) const;
  void appendTime(TimeText& cached, Lib::Nano nano);
  void appendValue(const Column& column, const Lib::Sample& sample);
  void appendWide(Lib::Nano time, std::span<const Lib::Sample> samples);
  void appendLong(Lib::Nano time, std::span<const Lib::Sample> samples);

  Output& output_;
  TableStyle style_;
  Lib::Nano start_;
  std::vector<Column> columns_;
  std::string open_;       ///< What comes before the first field of a record.
  std::string stampLead_;  ///< What comes before these fields of a long table.
  std::string valueLead_;
  std::string close_;  ///< What ends a record.
  TimeText time_;
  TimeText stamp_;
};

}  // namespace Kvex::Tool
