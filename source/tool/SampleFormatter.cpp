#include "tool/SampleFormatter.h"

#include <cmath>
#include <cstring>
#include <fmt/compile.h>
#include <map>
#include <set>
#include <utility>

#include "library/TimeUnits.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Lib::Nano;
using Lib::Sample;

constexpr std::string_view kTimeKey = "time";
constexpr std::string_view kLongKeys = "stream,signal,flags,stamp,value";
constexpr std::size_t kFlagsRoom = 3;

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

/// Makes room in a buffer behind `out`, and gives the place of `out`, which may have moved.
char* withRoom(fmt::memory_buffer& buffer, const char* out, std::size_t room) {
  const auto used = static_cast<std::size_t>(out - buffer.data());
  if (buffer.size() < used + room) buffer.resize(used + room);
  return buffer.data() + used;
}

template <class Number>
char* putNumber(char* out, Number number) {
  return fmt::format_to(out, FMT_COMPILE("{}"), number);
}

/// Integers in decimal; floating values in the shortest form that reads back the same.
template <class T>
char* formatSample(char* out, const Sample& sample, bool json) {
  if constexpr (std::is_same_v<T, bool>) {
    return putText(out, sample.as<std::uint8_t>() != 0 ? "true" : "false");
  } else if constexpr (std::is_floating_point_v<T>) {
    const T number = sample.as<T>();
    if (std::isfinite(number)) return putNumber(out, number);
    if (json) return putText(out, "null");
    return putText(out, std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf");
  } else if constexpr (sizeof(T) == 1) {
    return putNumber(out, int{sample.as<T>()});  // not as a character
  } else {
    return putNumber(out, sample.as<T>());
  }
}

/// "2024-12-03T23:43:45.500000000Z".
char* putUtc(char* out, Nano nano) {
  const Lib::CalendarTime utc = Lib::calendarFromNano(nano);
  return fmt::format_to(out, FMT_COMPILE("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}{:03}{:03}Z"), utc.year, utc.month,
                        utc.day, utc.hour, utc.minute, utc.second, utc.millisecond, utc.microsecond, utc.nanosecond);
}

/// Seconds between two times, exactly.
char* putSeconds(char* out, Nano from, Nano to) {
  const bool negative = to < from;
  // Unsigned, since the distance may go beyond 64 bits with a sign.
  const std::uint64_t nanos = negative ? static_cast<std::uint64_t>(from) - static_cast<std::uint64_t>(to)
                                       : static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  out =
      fmt::format_to(out, FMT_COMPILE("{}{}.{:09}"), negative ? "-" : "", nanos / 1'000'000'000, nanos % 1'000'000'000);
  while (out[-1] == '0') --out;
  return out[-1] == '.' ? out - 1 : out;
}

/// The name of one element: "Name[3]" for an array.
std::string elementName(const Sto::SignalListing& signal, std::uint32_t element) {
  return signal.isArray ? fmt::format("{}[{}]", signal.name, element) : signal.name;
}

}  // namespace

SampleFormatter::SampleFormatter(const TableStyle& style, const Sto::SignalQuery& query, Nano start)
    : style_(style),
      start_(start),
      open_(isJson() ? "{\"time\":" : ""),
      stampLead_(leadOf("stamp")),
      valueLead_(leadOf("value")),
      close_(isJson() ? "}\n" : "\n") {
  addColumns(query);
  const std::size_t shared =
      open_.size() + stampLead_.size() + valueLead_.size() + close_.size() + 3 * NumberText::kRoom + kFlagsRoom;
  rowRoom_ = shared;
  for (const Column& column : columns_) rowRoom_ += shared + column.lead.size() + column.flagsLead.size();
}

std::string SampleFormatter::textField(std::string_view text) const {
  return isJson() ? jsonText(text) : csvField(text);
}

std::string SampleFormatter::leadOf(std::string_view key) const {
  return isJson() ? ',' + jsonText(key) + ':' : ",";
}

void SampleFormatter::addColumns(const Sto::SignalQuery& query) {
  // A name that two streams have, or that is the first field's, gets the stream's number before it.
  std::map<std::string_view, std::set<std::int32_t>> streamsOf{{kTimeKey, {-1}}};
  for (const Sto::SignalListing& signal : query.listings()) streamsOf[signal.name].insert(signal.streamId);
  for (const Sto::QueryColumn& place : query.columns()) {
    Column& column = columns_.emplace_back();
    const Sto::SignalListing& signal = query.listings()[place.listingIndex];
    column.signal = &signal;
    Lib::withType(signal.valueType, [&](auto tag) { column.format = formatSample<typename decltype(tag)::Type>; });

    const std::string name = elementName(signal, place.element);
    if (isLong()) {
      column.lead = fmt::format("{}{}{}{}{}", leadOf("stream"), signal.streamId, leadOf("signal"), textField(name),
                                leadOf("flags"));
      continue;
    }
    const bool shared = streamsOf[signal.name].size() > 1;
    const std::string shownName = shared ? fmt::format("{}:{}", signal.streamId, name) : name;
    column.key = signal.unit.empty() ? shownName : fmt::format("{} [{}]", shownName, signal.unit);
    column.flagsKey = shownName + " flags";
    column.lead = leadOf(column.key);
    column.flagsLead = leadOf(column.flagsKey);
  }
}

void SampleFormatter::appendHeader(fmt::memory_buffer& buffer) const {
  if (isJson()) return;
  std::string line(kTimeKey);
  if (isLong()) {
    line.append(",").append(kLongKeys);
  } else {
    for (const Column& column : columns_) {
      line += ',' + csvField(column.key);
      if (style_.flags) line += ',' + csvField(column.flagsKey);
    }
  }
  line += close_;
  buffer.append(line);
}

void SampleFormatter::appendRow(fmt::memory_buffer& buffer, Nano time, std::span<const Sample> samples) {
  char* const begin = withRoom(buffer, buffer.data() + buffer.size(), rowRoom_);
  char* const end = isLong() ? putLong(buffer, begin, time, samples) : putWide(buffer, begin, time, samples);
  buffer.resize(static_cast<std::size_t>(end - buffer.data()));
}

char* SampleFormatter::putWide(fmt::memory_buffer& buffer, char* out, Nano time, std::span<const Sample> samples) {
  out = putText(out, open_);
  out = putTime(out, time_, time);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Column& column = columns_[i];
    out = putLead(out, column.lead);
    if (samples[i].usable()) {
      out = putValue(buffer, out, column, samples[i]);
    } else if (isJson()) {
      out = putText(out, "null");
    }
    if (!style_.flags) continue;
    out = putLead(out, column.flagsLead);
    out = putNumber(out, unsigned{samples[i].flags});
  }
  return putText(out, close_);
}

char* SampleFormatter::putLong(fmt::memory_buffer& buffer, char* out, Nano time, std::span<const Sample> samples) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    out = putText(out, open_);
    out = putTime(out, time_, time);
    out = putText(out, columns_[i].lead);
    out = putNumber(out, unsigned{samples[i].flags});
    out = putLead(out, stampLead_);
    out = putTime(out, stamp_, samples[i].time);
    out = putLead(out, valueLead_);
    out = putValue(buffer, out, columns_[i], samples[i]);
    out = putText(out, close_);
  }
  return out;
}

char* SampleFormatter::formatTime(char* out, Nano nano) const {
  switch (style_.time) {
    case TimeForm::Utc:
      if (!isJson()) return putUtc(out, nano);
      *out++ = '"';
      out = putUtc(out, nano);
      *out++ = '"';
      return out;
    case TimeForm::Elapsed:
      return putSeconds(out, start_, nano);
    default:
      return putNumber(out, nano);
  }
}

char* SampleFormatter::putKept(char* out, const NumberText& kept) {
  // A copy of fixed size is quicker than one of just the text.
  std::memcpy(out, kept.text.data(), NumberText::kRoom);
  return out + kept.size;
}

char* SampleFormatter::putTime(char* out, NumberText& kept, Nano nano) const {
  const auto bits = static_cast<std::uint64_t>(nano);
  if (kept.bits != bits || kept.size == 0) {
    kept.size = static_cast<std::size_t>(formatTime(kept.text.data(), nano) - kept.text.data());
    kept.bits = bits;
  }
  return putKept(out, kept);
}

char* SampleFormatter::putValue(fmt::memory_buffer& buffer, char* out, Column& column, const Sample& sample) const {
  if (style_.valueTexts && column.signal->valueText != nullptr) {
    const std::string text = textField(column.signal->valueText(sample, *column.signal));
    return putText(withRoom(buffer, out, rowRoom_ + text.size()), text);
  }
  NumberText& kept = column.value;
  if (kept.bits != sample.value || kept.size == 0) {
    kept.size = static_cast<std::size_t>(column.format(kept.text.data(), sample, isJson()) - kept.text.data());
    kept.bits = sample.value;
  }
  return putKept(out, kept);
}

}  // namespace Kvex::Tool
