#include "can/CanDatabase.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

namespace Kvex::Can {
namespace {

using Lib::ValueType;

constexpr std::size_t kMaxNameLength = 255;
constexpr std::int64_t kMaxStartBit = 511;
constexpr std::int64_t kMaxBitLength = 512;
/// Place of bit 0 of byte 0 in the reversed frame of 64 bytes.
constexpr std::int32_t kReversedFirstByte = 504;

/// Tabs become blanks, and control characters other than line ends become "?". So the blank is the only white space of
/// a line.
std::vector<char> plainText(std::string_view text) {
  std::vector<char> plain(text.begin(), text.end());
  for (char& c : plain) {
    if (c == '\t') {
      c = ' ';
    } else if (c != '\r' && c != '\n' && static_cast<unsigned char>(c) < 0x20) {
      c = '?';
    }
  }
  return plain;
}

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view trimmed(std::string_view text) {
  skipBlanks(text);
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Takes the next word off the text; the empty word at its end.
std::string_view takeWord(std::string_view& text) {
  skipBlanks(text);
  const std::string_view word = text.substr(0, text.find(' '));
  text.remove_prefix(word.size());
  return word;
}

/// Takes a whole number off the text, past blanks and with an optional sign. It saturates at 64 bits.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
  skipBlanks(text);
  const bool plus = text.starts_with('+');
  const char* const begin = text.data() + (plus ? 1 : 0);
  const char* const end = text.data() + text.size();
  if (plus && begin != end && *begin == '-') return std::nullopt;
  std::int64_t number = 0;
  const auto [next, error] = std::from_chars(begin, end, number);
  if (error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc::result_out_of_range) number = *begin == '-' ? INT64_MIN : INT64_MAX;
  text.remove_prefix(static_cast<std::size_t>(next - text.data()));
  return number;
}

bool takeMark(std::string_view& text, char mark) {
  if (!text.starts_with(mark)) return false;
  text.remove_prefix(1);
  return true;
}

/// What stands between the first and the last double quote of a text, and behind the last. With a single quote both are
/// what follows it.
struct Quoted {
  std::string_view inside;
  std::string_view behind;
  bool closed;
};

std::optional<Quoted> findQuoted(std::string_view text) {
  const std::size_t first = text.find('"');
  if (first == std::string_view::npos) return std::nullopt;
  const std::size_t last = text.rfind('"');
  const std::string_view behind = text.substr(last + 1);
  if (first == last) return Quoted{behind, behind, false};
  return Quoted{text.substr(first + 1, last - first - 1), behind, true};
}

template <class Visitor>
void forEachLine(std::string_view text, Visitor&& visitor) {
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    skipBlanks(line);
    if (!line.empty()) visitor(line);
  }
}

/// BO_ id name ":" size sender
std::optional<CanMessage> parseMessage(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  CanMessage message;

  std::string_view head = line.substr(0, colon);
  head.remove_prefix(head.find('_') + 1);
  const auto id = takeNumber(head);
  message.name = takeWord(head).substr(0, kMaxNameLength);

  std::string_view tail = line.substr(colon + 1);
  const auto size = takeNumber(tail);
  message.sender = takeWord(tail).substr(0, kMaxNameLength);

  if (!id || message.name.empty() || !size || message.sender.empty()) return std::nullopt;
  message.id = static_cast<std::uint32_t>(*id);
  message.size = static_cast<std::uint32_t>(*size);
  return message;
}

/// name ["M" | "m" value ["M"]]
bool readName(std::string_view text, CanSignal& signal) {
  signal.name = takeWord(text);
  std::string_view mark = takeWord(text);
  if (mark.empty()) return true;
  signal.isSwitch = mark.ends_with('M');
  if (mark == "M") {
    signal.muxKind = MuxKind::Switch;
    return true;
  }
  if (!takeMark(mark, 'm')) return false;
  const auto value = takeNumber(mark);
  if (!value || *value < 0 || *value > INT32_MAX || (!mark.empty() && mark != "M")) return false;
  signal.muxKind = MuxKind::Multiplexed;
  signal.muxValue = static_cast<std::int32_t>(*value);
  return true;
}

/// start "|" length "@" order sign
bool readPosition(std::string_view text, CanSignal& signal) {
  text = trimmed(text);
  const auto start = takeNumber(text);
  if (!start || *start < 0 || *start > kMaxStartBit || !takeMark(text, '|')) return false;
  const auto length = takeNumber(text);
  if (!length || *length < 0 || *length > kMaxBitLength || !takeMark(text, '@')) return false;
  const auto order = takeNumber(text);
  if (!order || text.empty()) return false;

  signal.startBit = static_cast<std::int32_t>(*start);
  signal.bitLength = static_cast<std::int32_t>(*length);
  signal.littleEndian = *order != 0;
  signal.isSigned = text.front() == '-';
  if (signal.littleEndian) {
    signal.lowBit = signal.startBit;
    signal.highBit = signal.startBit + signal.bitLength - 1;
  } else {
    signal.highBit = (signal.startBit & 7) - (signal.startBit & ~7) + kReversedFirstByte;
    signal.lowBit = signal.highBit - signal.bitLength + 1;
  }
  // A big-endian signal that runs past the longest frame.
  return signal.lowBit >= 0;
}

/// The two numbers of "(a,b)" or "[a|b]", `marks` being the three characters. Each mark is the first one behind the
/// mark before it.
bool readPair(std::string_view line, std::string_view marks, CanNumber& first, CanNumber& second) {
  const std::size_t open = line.find(marks[0]);
  if (open == std::string_view::npos) return false;
  const std::size_t middle = line.find(marks[1], open + 1);
  if (middle == std::string_view::npos) return false;
  const std::size_t close = line.find(marks[2], middle + 1);
  if (close == std::string_view::npos) return false;
  const auto a = CanNumber::parse(line.substr(open + 1, middle - open - 1));
  const auto b = CanNumber::parse(line.substr(middle + 1, close - middle - 1));
  if (!a || !b) return false;
  first = *a;
  second = *b;
  return true;
}

/// SG_ name [mux] ":" start "|" length "@" order sign "(" factor "," offset ")" "[" minimum "|" maximum "]" unit
/// receivers
std::optional<CanSignal> parseSignal(std::string_view line) {
  const std::size_t colon = line.find(':');
  const std::size_t parenthesis = line.find('(');
  if (parenthesis == std::string_view::npos || colon == std::string_view::npos || parenthesis < colon) {
    return std::nullopt;
  }
  CanSignal signal;
  std::string_view head = line.substr(0, colon);
  head.remove_prefix(head.find('_') + 1);
  if (!readName(head, signal)) return std::nullopt;
  if (!readPosition(line.substr(colon + 1, parenthesis - colon - 1), signal)) return std::nullopt;
  if (!readPair(line, "(,)", signal.factor, signal.offset)) return std::nullopt;
  if (!readPair(line, "[|]", signal.minimum, signal.maximum)) return std::nullopt;

  const auto quoted = findQuoted(line);
  if (!quoted) return std::nullopt;
  if (quoted->closed) signal.unit = trimmed(quoted->inside);
  signal.receivers = trimmed(quoted->behind);

  if (signal.factor.isFloat || signal.offset.isFloat || signal.minimum.isFloat || signal.maximum.isFloat) {
    signal.valueType = ValueType::Double;
  } else {
    signal.valueType = signal.isSigned ? ValueType::Int64 : ValueType::UInt64;
  }
  return signal;
}

/// first "-" last, and more of them behind commas. Ranges that touch or overlap become one.
std::vector<MuxRange> parseRanges(std::string_view text) {
  std::vector<MuxRange> ranges;
  do {
    const auto first = takeNumber(text);
    skipBlanks(text);
    if (!first || !takeMark(text, '-')) return {};
    const auto last = takeNumber(text);
    if (!last || *first < 0 || *last < *first) return {};
    ranges.push_back({static_cast<std::uint64_t>(*first), static_cast<std::uint64_t>(*last)});
    skipBlanks(text);
  } while (takeMark(text, ','));
  std::ranges::sort(ranges, {}, &MuxRange::first);
  std::vector<MuxRange> apart;
  for (const MuxRange& range : ranges) {
    if (!apart.empty() && range.first <= apart.back().last + 1) {
      apart.back().last = std::max(apart.back().last, range.last);
    } else {
      apart.push_back(range);
    }
  }
  return apart;
}

/// Sets `repeat` of each entry to the number of entries before it that have its name.
template <class Entries>
void countRepeats(Entries& entries) {
  std::unordered_map<std::string_view, std::uint32_t> seen;
  for (auto& entry : entries) entry.repeat = seen[entry.name]++;
}

}  // namespace

std::string uniqueLabel(std::string_view name, std::uint32_t repeat) {
  std::string label(name);
  if (repeat > 0) label += "." + std::to_string(repeat);
  return label;
}

std::string CanMessage::label() const {
  return uniqueLabel(name, repeat);
}
std::string CanSignal::label() const {
  return uniqueLabel(name, repeat);
}

CanDatabase::CanDatabase(std::string_view text) : text_(plainText(text)) {
  readDefinitions();
  readComments();
  readMultiplexers();
  countRepeats(messages_);
  countRepeats(signals_);
}

void CanDatabase::readDefinitions() {
  bool inMessage = false;
  forEachLine({text_.data(), text_.size()}, [&](std::string_view line) {
    std::string_view rest = line;
    const std::string_view keyword = takeWord(rest);
    if (keyword == "BO_") {
      const auto message = parseMessage(line);
      inMessage = message && addMessage(*message);
    } else if (keyword == "SG_") {
      if (!inMessage || signals_.size() == kMaxSignals) return;
      if (auto signal = parseSignal(line)) addSignal(std::move(*signal));
    } else if (keyword == "BU_" || keyword.starts_with("BU_:")) {
      const std::size_t colon = line.find(':');
      if (colon != std::string_view::npos) nodes_ = trimmed(line.substr(colon + 1));
    }
  });
}

// CM_ "BO_" id quoted-text, CM_ "SG_" id name quoted-text. Comments can stand before what they belong to.
void CanDatabase::readComments() {
  // The last comment of a name counts, for every signal of that name in its message.
  std::map<std::pair<std::uint32_t, std::string_view>, std::string_view> signalComments;
  forEachLine({text_.data(), text_.size()}, [&](std::string_view line) {
    if (takeWord(line) != "CM_") return;
    const std::string_view subject = takeWord(line);
    const auto id = takeNumber(line);
    // A negative id wraps like any unsigned read.
    if (!id || *id > UINT32_MAX || *id < -std::int64_t{UINT32_MAX}) return;
    const std::uint32_t index = indexById_.find(static_cast<std::uint32_t>(*id));
    if (index == CanIdIndex::kNone) return;
    if (subject == "BO_") {
      const auto quoted = findQuoted(line);
      if (quoted && !quoted->inside.empty()) messages_[index].comment = quoted->inside;
    } else if (subject == "SG_") {
      const std::string_view name = takeWord(line);
      if (const auto quoted = findQuoted(line)) signalComments[{index, name}] = quoted->inside;
    }
  });
  for (CanSignal& signal : signals_) {
    const auto found = signalComments.find({signal.messageIndex, signal.name});
    if (found != signalComments.end()) signal.comment = found->second;
  }
}

// A multiplexed signal is selected by its message's first multiplexer, unless a line gives it another one:
// SG_MUL_VAL_ id name name-of-multiplexer ranges ";". Of several lines for a signal the last one counts.
void CanDatabase::readMultiplexers() {
  // By message and name, the first signal of that name.
  std::map<std::pair<std::uint32_t, std::string_view>, CanSignal*> named;
  for (const CanMessage& message : messages_) {
    const auto signals = std::span(signals_).subspan(message.firstSignal, message.signalCount);
    const auto main = std::ranges::find(signals, MuxKind::Switch, &CanSignal::muxKind);
    for (CanSignal& signal : signals) {
      named.emplace(std::pair(message.index, signal.name), &signal);
      if (signal.muxKind != MuxKind::Multiplexed || main == signals.end()) continue;
      const auto value = static_cast<std::uint64_t>(signal.muxValue);
      signal.muxSwitch = main->index;
      signal.muxRanges = {{value, value}};
    }
  }
  forEachLine({text_.data(), text_.size()}, [&](std::string_view line) {
    if (takeWord(line) != "SG_MUL_VAL_") return;
    const auto id = takeNumber(line);
    if (!id || *id < 0 || *id > UINT32_MAX) return;
    const std::uint32_t message = indexById_.find(static_cast<std::uint32_t>(*id));
    const auto signal = named.find({message, takeWord(line)});
    const auto multiplexer = named.find({message, takeWord(line)});
    if (signal == named.end() || multiplexer == named.end() || signal == multiplexer) return;
    if (signal->second->muxKind != MuxKind::Multiplexed || !multiplexer->second->isSwitch) return;
    std::vector<MuxRange> ranges = parseRanges(line);
    if (ranges.empty()) return;
    signal->second->muxSwitch = multiplexer->second->index;
    signal->second->muxRanges = std::move(ranges);
  });
}

bool CanDatabase::addMessage(CanMessage message) {
  if (messages_.size() == kMaxMessages || find(message.id) != nullptr) return false;
  message.index = static_cast<std::uint32_t>(messages_.size());
  message.firstSignal = static_cast<std::uint32_t>(signals_.size());
  indexById_.insert(message.id, message.index);
  messages_.push_back(message);
  return true;
}

void CanDatabase::addSignal(CanSignal signal) {
  signal.messageIndex = messages_.back().index;
  signal.index = static_cast<std::uint32_t>(signals_.size());
  signals_.push_back(std::move(signal));
  ++messages_.back().signalCount;
}

}  // namespace Kvex::Can
