#include "tool/TableFormatter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/compile.h>
#include <utility>

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

constexpr std::string_view kTimeKey = "time";
constexpr std::string_view kLongKeys[] = {"stream", "signal", "flags", "stamp", "value"};
constexpr std::size_t kFlagsRoom = 4;  ///< "255", "null".
constexpr std::string_view kEventKey = "event";
constexpr std::size_t kEventRoom = 32;    ///< Of the number of an event with what comes before it.
constexpr std::size_t kOpeningRoom = 16;  ///< Of what `openingOf` gives.

char* putText(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

/// Text that comes before a field: mostly a comma, for which a call would take longer than the writing.
char* putLead(char* out, std::string_view lead) {
  if (lead.size() != 1) return putText(out, lead);
  *out = lead.front();
  return out + 1;
}

/// Makes room in a buffer behind `out`, and returns the place of `out`, which may have moved.
char* withRoom(fmt::memory_buffer& buffer, const char* out, std::size_t room) {
  const auto used = static_cast<std::size_t>(out - buffer.data());
  if (buffer.size() < used + room) buffer.resize(used + room);
  return buffer.data() + used;
}

template <class Number>
char* putInteger(char* out, Number number) {
  return fmt::format_to(out, FMT_COMPILE("{}"), number);
}

template <class T>
T numberFrom(std::uint64_t bits) {
  T number;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

/// Integers in decimal; floating values in the shortest form that reads back the same.
template <class T>
char* putNumber(char* out, std::uint64_t bits, bool json) {
  const T number = numberFrom<T>(bits);
  if constexpr (std::is_same_v<T, bool>) {
    return putText(out, number ? "true" : "false");
  } else if constexpr (std::is_floating_point_v<T>) {
    if (std::isfinite(number)) return fmt::format_to(out, FMT_COMPILE("{}"), number);
    if (json) return putText(out, "null");
    return putText(out, std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf");
  } else if constexpr (sizeof(T) == 1) {
    return putInteger(out, int{number});  // not as a character
  } else {
    return putInteger(out, number);
  }
}

/// What stands before the time of a record. In an array it parts the record from the one before.
std::string_view openingOf(TableFormat format, bool first) {
  switch (format) {
    case TableFormat::Json:
      return first ? "\n{\"time\":" : ",\n{\"time\":";
    case TableFormat::Ndjson:
      return "{\"time\":";
    default:
      return "";
  }
}

/// What ends a record.
std::string_view closingOf(TableFormat format) {
  switch (format) {
    case TableFormat::Json:
      return "}";
    case TableFormat::Ndjson:
      return "}\n";
    default:
      return "\n";
  }
}

/// Whether a time in UTC has the delimiter in it.
bool quotesUtc(const CsvDialect& csv) {
  return csv.delimiter == ':' || csv.delimiter == '.';
}

Value valueFrom(ValueType type, std::uint64_t bits) {
  Value value;
  visitType(type, [&]<class T>(std::type_identity<T>) { value = Value(numberFrom<T>(bits)); });
  return value;
}

/// The place of an element's value in the memory of a column; none where the row has no sample of it.
std::optional<std::size_t> placeOf(const ColumnBuffers& column, std::size_t row, std::uint32_t element) {
  if (!bitAt(column.present, row)) return std::nullopt;
  if (!column.isList) return row;
  const std::size_t place = static_cast<std::size_t>(column.offsets[row]) + element;
  return bitAt(column.childPresent, place) ? std::optional(place) : std::nullopt;
}

}  // namespace

TableFormatter::TableFormatter(const TableStyle& style, std::vector<Signal> signals, Nano start)
    : style_(style),
      signals_(std::move(signals)),
      times_(style.time, start, isJson() || quotesUtc(style.csv)),
      open_(openingOf(style.format, true)),
      stampLead_(leadOf("stamp")),
      valueLead_(leadOf("value")),
      close_(closingOf(style.format)) {
  addFields();
  const std::size_t shared = kOpeningRoom + kEventRoom + stampLead_.size() + valueLead_.size() + close_.size() +
                             3 * NumberText::kRoom + kFlagsRoom;
  // Of a long table a record has the room of all fields, which is enough for each.
  recordRoom_ = shared;
  for (const Field& field : fields_) {
    const std::size_t room = shared + field.lead.size() + field.flagsLead.size();
    recordRoom_ = isLong() ? std::max(recordRoom_, room) : recordRoom_ + room;
  }
}

std::size_t TableFormatter::columnCount() const {
  const std::size_t leading = style_.events ? 2 : 1;
  if (isLong()) return leading + std::size(kLongKeys);
  return leading + fields_.size() * (style_.flags ? 2 : 1);
}

std::string TableFormatter::textField(std::string_view text) const {
  return isJson() ? jsonText(text) : csvField(text, style_.csv.delimiter);
}

std::string TableFormatter::leadOf(std::string_view key) const {
  return isJson() ? ',' + jsonText(key) + ':' : std::string(1, style_.csv.delimiter);
}

void TableFormatter::addFields() {
  std::set<std::string> taken{std::string(kTimeKey)};
  if (style_.events) taken.emplace(kEventKey);
  for (TableField& about : fieldsOf(signals_, style_.qualified, taken)) {
    const Signal& signal = signals_[about.signal];
    Field& field = fields_.emplace_back();
    visitType(signal.type(), [&]<class T>(std::type_identity<T>) { field.putNumber = putNumber<T>; });
    field.load = loaderOf(signal.type());
    field.hasTexts = style_.valueTexts && signal.hasTexts();
    if (isLong()) {
      field.lead = fmt::format("{}{}{}{}{}", leadOf("stream"), signal.stream(), leadOf("signal"),
                               textField(about.longName), leadOf("flags"));
    } else {
      field.lead = leadOf(about.key);
      field.flagsLead = leadOf(about.flagsKey);
    }
    field.about = std::move(about);
  }
}

void TableFormatter::setEvent(std::uint64_t number) {
  event_ = leadOf(kEventKey) + std::to_string(number);
}

void TableFormatter::appendHeader(fmt::memory_buffer& buffer) const {
  if (style_.format == TableFormat::Json) buffer.push_back('[');
  if (isJson()) return;
  std::string line(style_.csv.byteOrderMark ? kByteOrderMark : "");
  line += kTimeKey;
  const auto add = [&](std::string_view key) { (line += style_.csv.delimiter) += textField(key); };
  if (style_.events) add(kEventKey);
  if (isLong()) {
    for (const std::string_view key : kLongKeys) add(key);
  } else {
    for (const Field& field : fields_) {
      add(field.about.key);
      if (style_.flags) add(field.about.flagsKey);
    }
  }
  line += close_;
  buffer.append(line);
}

void TableFormatter::appendFooter(fmt::memory_buffer& buffer) const {
  if (style_.format == TableFormat::Json) buffer.append(std::string_view("\n]\n"));
}

char* TableFormatter::putOpening(char* out) {
  out = putText(out, open_);
  if (records_++ == 0) open_ = openingOf(style_.format, false);
  return out;
}

void TableFormatter::appendRows(fmt::memory_buffer& buffer, const Batch& batch) {
  char* out = buffer.data() + buffer.size();
  for (std::size_t row = 0; row < batch.rows(); ++row) {
    out = withRoom(buffer, out, recordRoom_);
    out = putRow(buffer, out, batch, row);
  }
  buffer.resize(static_cast<std::size_t>(out - buffer.data()));
}

void TableFormatter::appendRecords(fmt::memory_buffer& buffer, std::span<const TableSample> samples) {
  char* out = buffer.data() + buffer.size();
  for (const TableSample& sample : samples) {
    out = withRoom(buffer, out, recordRoom_);
    out = putRecord(buffer, out, sample);
  }
  buffer.resize(static_cast<std::size_t>(out - buffer.data()));
}

char* TableFormatter::putRow(fmt::memory_buffer& buffer, char* out, const Batch& batch, std::size_t row) {
  out = putOpening(out);
  out = putText(putTime(out, time_, batch.time(row)), event_);
  for (Field& field : fields_) {
    const ColumnBuffers& column = batch.buffers(field.about.signal);
    const std::optional<std::size_t> place = placeOf(column, row, field.about.element);
    out = putLead(out, field.lead);
    if (place && bitAt(column.isList ? column.childValidity : column.validity, *place)) {
      out = putValue(buffer, out, field, field.load(column.values, *place));
    } else {
      out = putEmpty(out);
    }
    if (!style_.flags) continue;
    out = putLead(out, field.flagsLead);
    out = place ? putInteger(out, unsigned{column.flags[*place]}) : putEmpty(out);
  }
  return putText(out, close_);
}

char* TableFormatter::putEmpty(char* out) const {
  return isJson() ? putText(out, "null") : out;
}

char* TableFormatter::putRecord(fmt::memory_buffer& buffer, char* out, const TableSample& sample) {
  Field& field = fields_[sample.field];
  out = putOpening(out);
  out = putText(putTime(out, time_, sample.time), event_);
  out = putText(out, field.lead);
  out = putInteger(out, unsigned{sample.flags});
  out = putLead(out, stampLead_);
  out = putTime(out, stamp_, sample.stamp);
  out = putLead(out, valueLead_);
  out = putValue(buffer, out, field, sample.bits);
  return putText(out, close_);
}

char* TableFormatter::putKept(char* out, const NumberText& kept) {
  // A copy of fixed size is quicker than one of just the text.
  std::memcpy(out, kept.text.data(), NumberText::kRoom);
  return out + kept.size;
}

void TableFormatter::putDecimal(NumberText& kept) const {
  if (!isJson() && style_.csv.decimal != '.') std::replace(kept.text.begin(), kept.text.end(), '.', style_.csv.decimal);
}

char* TableFormatter::putTime(char* out, NumberText& kept, Nano nano) {
  const auto bits = static_cast<std::uint64_t>(nano);
  if (kept.bits != bits || kept.size == 0) {
    kept.size = static_cast<std::size_t>(times_.put(kept.text.data(), nano) - kept.text.data());
    kept.bits = bits;
    if (style_.time == TimeForm::Elapsed) putDecimal(kept);
  }
  return putKept(out, kept);
}

char* TableFormatter::putValue(fmt::memory_buffer& buffer, char* out, Field& field, std::uint64_t bits) const {
  if (field.hasTexts) {
    const Signal& signal = signals_[field.about.signal];
    const std::string text = textField(signal.text(valueFrom(signal.type(), bits)));
    return putText(withRoom(buffer, out, recordRoom_ + text.size()), text);
  }
  NumberText& kept = field.value;
  if (kept.bits != bits || kept.size == 0) {
    kept.size = static_cast<std::size_t>(field.putNumber(kept.text.data(), bits, isJson()) - kept.text.data());
    kept.bits = bits;
    putDecimal(kept);
  }
  return putKept(out, kept);
}

}  // namespace Kvex::Tool
