#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/SignalQuery.h"

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

/// Bytes of memory that processor cores exchange as one. What two threads write to at a time must not share them, or
/// each waits for the other.
inline constexpr std::size_t kCacheLine = 64;

/// Samples over time as text. Values that are not usable are empty in the wide shape. A long table has the fields time,
/// stream, signal, flags, stamp, value.
class alignas(kCacheLine) SampleFormatter {
 public:
  /// `query` is what the samples come from, and must outlive the formatter; `start` is where elapsed time counts from.
  SampleFormatter(const TableStyle& style, const Sto::SignalQuery& query, Lib::Nano start);

  /// Whether the stamps of samples are shown.
  bool hasStamps() const { return isLong(); }
  /// Appends the line of names that opens a CSV table. JSON has none.
  void appendHeader(fmt::memory_buffer& buffer) const;
  /// Appends the records of one time. REQUIRES: one sample per column.
  void appendRow(fmt::memory_buffer& buffer, Lib::Nano time, std::span<const Lib::Sample> samples);

 private:
  /// The text of a number, kept since most values and times are those of the row or field before.
  struct NumberText {
    static constexpr std::size_t kRoom = 32;  ///< More than any number or time takes.

    std::uint64_t bits = 0;
    std::size_t size = 0;  ///< 0 for no text yet.
    std::array<char, kRoom> text{};
  };

  using FormatNumber = char* (*)(char* out, const Lib::Sample& sample, bool json);

  /// A column with all of its text that is the same in each record.
  struct Column {
    const Sto::SignalListing* signal = nullptr;
    FormatNumber format = nullptr;
    std::string key;        ///< Name and unit, as a wide table has them.
    std::string flagsKey;   ///< The same for its field of flags.
    std::string lead;       ///< What comes before its first field.
    std::string flagsLead;  ///< What comes before its field of flags in a wide table.
    NumberText value;
  };

  bool isJson() const { return style_.format == TableFormat::Ndjson; }
  bool isLong() const { return style_.shape == TableShape::Long; }
  std::string textField(std::string_view text) const;
  /// What comes before a field that is not the first one.
  std::string leadOf(std::string_view key) const;
  void addColumns(const Sto::SignalQuery& query);
  char* formatTime(char* out, Lib::Nano nano) const;
  // These write at `out`, where there is room for a row, and give the place behind what they wrote.
  static char* putKept(char* out, const NumberText& kept);
  char* putTime(char* out, NumberText& kept, Lib::Nano nano) const;
  char* putValue(fmt::memory_buffer& buffer, char* out, Column& column, const Lib::Sample& sample) const;
  char* putWide(fmt::memory_buffer& buffer, char* out, Lib::Nano time, std::span<const Lib::Sample> samples);
  char* putLong(fmt::memory_buffer& buffer, char* out, Lib::Nano time, std::span<const Lib::Sample> samples);

  TableStyle style_;
  Lib::Nano start_;
  std::vector<Column> columns_;
  std::string open_;       ///< What comes before the first field of a record.
  std::string stampLead_;  ///< What comes before these fields of a long table.
  std::string valueLead_;
  std::string close_;        ///< What ends a record.
  std::size_t rowRoom_ = 0;  ///< No row is longer, value texts not counted.
  NumberText time_;
  NumberText stamp_;
};

}  // namespace Kvex::Tool
