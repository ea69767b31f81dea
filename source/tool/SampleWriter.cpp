#include "tool/SampleWriter.h"

#include <charconv>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "library/TimeUnits.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Lib::Nano;
using Lib::Sample;
using Buffer = fmt::memory_buffer;

constexpr std::string_view kTimeKey = "time";

void append(Buffer& buffer, std::string_view text) {
  buffer.append(text.data(), text.data() + text.size());
}

template <class Number>
void appendNumber(Buffer& buffer, Number number) {
  constexpr std::size_t kRoom = 32;  // more than any number takes in its shortest form
  const std::size_t size = buffer.size();
  buffer.resize(size + kRoom);
  char* const end = std::to_chars(buffer.data() + size, buffer.data() + size + kRoom, number).ptr;
  buffer.resize(static_cast<std::size_t>(end - buffer.data()));
}

/// Integers in decimal; floating values in the shortest form that reads back the same.
template <class T>
void appendSample(Buffer& buffer, const Sample& sample, TableFormat format) {
  if constexpr (std::is_same_v<T, bool>) {
    append(buffer, sample.as<std::uint8_t>() != 0 ? "true" : "false");
  } else if constexpr (std::is_floating_point_v<T>) {
    const T number = sample.as<T>();
    if (std::isfinite(number)) return appendNumber(buffer, number);
    if (format == TableFormat::Ndjson) return append(buffer, "null");
    append(buffer, std::isnan(number) ? "nan" : number > 0 ? "inf" : "-inf");
  } else if constexpr (sizeof(T) == 1) {
    appendNumber(buffer, int{sample.as<T>()});
  } else {
    appendNumber(buffer, sample.as<T>());
  }
}

/// "2024-12-03T23:43:45.500000000Z".
std::string utcText(Nano nano) {
  const Lib::CalendarTime utc = Lib::calendarFromNano(nano);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}{:03}{:03}Z", utc.year, utc.month, utc.day, utc.hour,
                     utc.minute, utc.second, utc.millisecond, utc.microsecond, utc.nanosecond);
}

/// Seconds between two times, exactly.
std::string secondsText(Nano from, Nano to) {
  const bool negative = to < from;
  // Unsigned, since the distance may go beyond 64 bits with a sign.
  const std::uint64_t nanos = negative ? static_cast<std::uint64_t>(from) - static_cast<std::uint64_t>(to)
                                       : static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  std::string text = fmt::format("{}{}.{:09}", negative ? "-" : "", nanos / 1'000'000'000, nanos % 1'000'000'000);
  text.resize(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

/// The name of one element: "Name[3]" for an array.
std::string elementName(const Sto::SignalListing& signal, std::uint32_t element) {
  return signal.isArray ? fmt::format("{}[{}]", signal.name, element) : signal.name;
}

}  // namespace

SampleWriter::SampleWriter(Output& output, const TableStyle& style, const Sto::SignalQuery& query, Nano start)
    : output_(output),
      style_(style),
      start_(start),
      open_(isJson() ? "{\"time\":" : ""),
      stampLead_(leadOf("stamp")),
      valueLead_(leadOf("value")),
      close_(isJson() ? "}\n" : "\n") {
  addColumns(query);
}

std::string SampleWriter::textField(std::string_view text) const {
  return isJson() ? jsonText(text) : csvField(text);
}

std::string SampleWriter::leadOf(std::string_view key) const {
  return isJson() ? ',' + jsonText(key) + ':' : ",";
}

void SampleWriter::addColumns(const Sto::SignalQuery& query) {
  // A name that two streams have, or that is the first field's, gets the stream's number before it.
  std::map<std::string_view, std::set<std::int32_t>> streamsOf{{kTimeKey, {-1}}};
  for (const Sto::SignalListing& signal : query.listings()) streamsOf[signal.name].insert(signal.streamId);
  for (const Sto::QueryColumn& place : query.columns()) {
    Column& column = columns_.emplace_back();
    const Sto::SignalListing& signal = query.listings()[place.listingIndex];
    column.signal = &signal;
    Lib::withType(signal.valueType, [&](auto tag) { column.append = appendSample<typename decltype(tag)::Type>; });

    const std::string name = elementName(signal, place.element);
    if (style_.shape == TableShape::Long) {
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

void SampleWriter::writeHeader() {
  if (isJson()) return;
  fmt::memory_buffer& buffer = output_.buffer();
  append(buffer, kTimeKey);
  if (style_.shape == TableShape::Long) {
    append(buffer, ",stream,signal,flags,stamp,value");
  } else {
    for (const Column& column : columns_) {
      append(buffer, "," + csvField(column.key));
      if (style_.flags) append(buffer, "," + csvField(column.flagsKey));
    }
  }
  append(buffer, close_);
  output_.endRecord();
}

void SampleWriter::writeRow(Nano time, std::span<const Sample> samples) {
  style_.shape == TableShape::Long ? appendLong(time, samples) : appendWide(time, samples);
  output_.endRecord();
}

void SampleWriter::appendWide(Nano time, std::span<const Sample> samples) {
  fmt::memory_buffer& buffer = output_.buffer();
  append(buffer, open_);
  appendTime(time_, time);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    append(buffer, columns_[i].lead);
    if (samples[i].usable()) {
      appendValue(columns_[i], samples[i]);
    } else if (isJson()) {
      append(buffer, "null");
    }
    if (!style_.flags) continue;
    append(buffer, columns_[i].flagsLead);
    appendNumber(buffer, int{samples[i].flags});
  }
  append(buffer, close_);
}

void SampleWriter::appendLong(Nano time, std::span<const Sample> samples) {
  fmt::memory_buffer& buffer = output_.buffer();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    append(buffer, open_);
    appendTime(time_, time);
    append(buffer, columns_[i].lead);
    appendNumber(buffer, int{samples[i].flags});
    append(buffer, stampLead_);
    appendTime(stamp_, samples[i].time);
    append(buffer, valueLead_);
    appendValue(columns_[i], samples[i]);
    append(buffer, close_);
  }
}

std::string SampleWriter::timeField(Nano nano) const {
  switch (style_.time) {
    case TimeForm::Utc:
      return textField(utcText(nano));
    case TimeForm::Elapsed:
      return secondsText(start_, nano);
    default:
      return std::to_string(nano);
  }
}

void SampleWriter::appendTime(TimeText& cached, Nano nano) {
  if (nano != cached.nano || cached.text.empty()) cached = {nano, timeField(nano)};
  append(output_.buffer(), cached.text);
}

void SampleWriter::appendValue(const Column& column, const Sample& sample) {
  fmt::memory_buffer& buffer = output_.buffer();
  if (style_.valueTexts && column.signal->valueText != nullptr) {
    append(buffer, textField(column.signal->valueText(sample, *column.signal)));
  } else {
    column.append(buffer, sample, style_.format);
  }
}

}  // namespace Kvex::Tool
