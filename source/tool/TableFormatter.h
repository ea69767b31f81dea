#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <kvex/Batch.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/SamplesByRow.h"
#include "tool/TableFields.h"
#include "tool/TableStyle.h"
#include "tool/TimeWriter.h"

namespace Kvex::Tool {

/// Bytes of memory that processor cores exchange as one. What two threads write to at a time must not share them, or
/// each waits for the other.
inline constexpr std::size_t kCacheLine = 64;

/// Samples as text. Values that are not usable are empty in the wide shape, and so is all of a cell without a sample.
class alignas(kCacheLine) TableFormatter {
 public:
  /// `start` is where elapsed time counts from.
  TableFormatter(const TableStyle& style, std::vector<Signal> signals, Nano start);

  const TableStyle& style() const { return style_; }
  std::size_t fieldCount() const { return fields_.size(); }
  /// Columns of a CSV table.
  std::size_t columnCount() const;
  /// Records that were appended.
  std::uint64_t records() const { return records_; }

  /// Says to which event the records belong that are appended from now on. REQUIRES: a style with events.
  void setEvent(std::uint64_t number);

  /// Appends what opens a table: the line of names in CSV, the bracket in JSON.
  void appendHeader(fmt::memory_buffer& buffer) const;
  /// Appends what closes a table, if anything does.
  void appendFooter(fmt::memory_buffer& buffer) const;
  /// Appends the records of a wide table. REQUIRES: a column for each signal, with flags if the style has them.
  void appendRows(fmt::memory_buffer& buffer, const Batch& batch);
  /// Appends the records of a long table.
  void appendRecords(fmt::memory_buffer& buffer, std::span<const TableSample> samples);

 private:
  /// The text of a number, kept since most values and times are those of the record or field before.
  struct NumberText {
    static constexpr std::size_t kRoom = TimeWriter::kRoom;  ///< More than any number or time takes.

    std::uint64_t bits = 0;
    std::size_t size = 0;  ///< 0 for no text yet.
    std::array<char, kRoom> text{};
  };

  using PutNumber = char* (*)(char* out, std::uint64_t bits, bool json);

  /// A field with all of its text that is the same in each record.
  struct Field {
    TableField about;
    PutNumber putNumber = nullptr;
    LoadBits load = nullptr;
    std::string lead;       ///< What comes before it.
    std::string flagsLead;  ///< What comes before its field of flags in a wide table.
    bool hasTexts = false;  ///< Texts in place of values.
    NumberText value;
  };

  bool isJson() const { return style_.format != TableFormat::Csv; }
  bool isLong() const { return style_.shape == TableShape::Long; }
  std::string textField(std::string_view text) const;
  /// What comes before a field that is not the first one.
  std::string leadOf(std::string_view key) const;
  void addFields();
  // These write at `out`, where there is room for a record, and return the place behind what they wrote.
  char* putOpening(char* out);
  static char* putKept(char* out, const NumberText& kept);
  /// Puts the table's decimal sign in place of the point.
  void putDecimal(NumberText& kept) const;
  char* putTime(char* out, NumberText& kept, Nano nano);
  char* putValue(fmt::memory_buffer& buffer, char* out, Field& field, std::uint64_t bits) const;
  char* putRow(fmt::memory_buffer& buffer, char* out, const Batch& batch, std::size_t row);
  char* putEmpty(char* out) const;
  char* putRecord(fmt::memory_buffer& buffer, char* out, const TableSample& sample);

  TableStyle style_;
  std::vector<Signal> signals_;
  TimeWriter times_;
  std::vector<Field> fields_;
  std::string_view open_;  ///< What comes before the first field of a record.
  std::string stampLead_;  ///< What comes before these fields of a long table.
  std::string valueLead_;
  std::string_view close_;      ///< What ends a record.
  std::size_t recordRoom_ = 0;  ///< No record is longer, value texts not counted.
  std::uint64_t records_ = 0;
  std::string event_;  ///< The field of the event's number with what comes before it; empty without.
  NumberText time_;
  NumberText stamp_;
};

}  // namespace Kvex::Tool
