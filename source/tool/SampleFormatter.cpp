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

/// Appends to a buffer that has room enough, without asking for it at every step.
class SampleFormatter::Cursor {
 public:
  /// `room` is what all that is put takes at the most, except for texts of no known size.
  Cursor(fmt::memory_buffer& buffer, std::size_t room) : buffer_(buffer), room_(room), at_(buffer.size()) { ensure(0); }
  ~Cursor() { buffer_.resize(at_); }
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  void put(std::string_view text) { moveTo(putText(here(), text)); }
  void put(const NumberText& number) {
    // A copy of fixed size is quicker than one of just the text.
    std::memcpy(here(), number.text.data(), NumberText::kRoom);
    at_ += number.size;
  }
  void putFlags(std::uint8_t flags) { moveTo(putNumber(here(), unsigned{flags})); }
  void putLongText(std::string_view text) {
    ensure(text.size());
    put(text);
  }

 private:
  char* here() { return buffer_.data() + at_; }
  void moveTo(const char* end) { at_ = static_cast<std::size_t>(end - buffer_.data()); }
  void ensure(std::size_t more) {
    if (buffer_.size() < at_ + room_ + more) buffer_.resize(at_ + room_ + more);
  }

  fmt::memory_buffer& buffer_;
  std::size_t room_;
  std::size_t at_;
};

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
  Cursor out(buffer, rowRoom_);
  isLong() ? putLong(out, time, samples) : putWide(out, time, samples);
}

void SampleFormatter::putWide(Cursor& out, Nano time, std::span<const Sample> samples) {
  out.put(open_);
  putTime(out, time_, time);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    Column& column = columns_[i];
    out.put(column.lead);
    if (samples[i].usable()) {
      putValue(out, column, samples[i]);
    } else if (isJson()) {
      out.put("null");
    }
    if (!style_.flags) continue;
    out.put(column.flagsLead);
    out.putFlags(samples[i].flags);
  }
  out.put(close_);
}

void SampleFormatter::putLong(Cursor& out, Nano time, std::span<const Sample> samples) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    out.put(open_);
    putTime(out, time_, time);
    out.put(columns_[i].lead);
    out.putFlags(samples[i].flags);
    out.put(stampLead_);
    putTime(out, stamp_, samples[i].time);
    out.put(valueLead_);
    putValue(out, columns_[i], samples[i]);
    out.put(close_);
  }
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

void SampleFormatter::putTime(Cursor& out, NumberText& kept, Nano nano) const {
  const auto bits = static_cast<std::uint64_t>(nano);
  if (kept.bits != bits || kept.size == 0) {
    kept.size = static_cast<std::size_t>(formatTime(kept.text.data(), nano) - kept.text.data());
    kept.bits = bits;
  }
  out.put(kept);
}

void SampleFormatter::putValue(Cursor& out, Column& column, const Sample& sample) const {
  if (style_.valueTexts && column.signal->valueText != nullptr) {
    return out.putLongText(textField(column.signal->valueText(sample, *column.signal)));
  }
  NumberText& kept = column.value;
  if (kept.bits != sample.value || kept.size == 0) {
    kept.size = static_cast<std::size_t>(column.format(kept.text.data(), sample, isJson()) - kept.text.data());
    kept.bits = sample.value;
  }
  out.put(kept);
}

}  // namespace Kvex::Tool
