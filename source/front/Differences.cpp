#include <algorithm>
#include <cstdio>
#include <kvex/Difference.h>
#include <kvex/File.h>
#include <map>
#include <tuple>
#include <utility>

namespace Kvex {

namespace {

/// The header packet that the scan of a file adds.
constexpr std::string_view kScanTag = "{Kvex-StreamScan}";

using Text = std::optional<std::string>;

/// A stream of each file; null where it has no partner.
struct StreamPair {
  const Stream* first = nullptr;
  const Stream* second = nullptr;
};

/// The signals that mean the same in both files.
struct SignalPair {
  StreamPair streams;
  Signal first;
  Signal second;
};

std::string subjectOf(const Stream& stream) {
  return std::string(stream.codec()) + " \"" + stream.name() + "\"";
}

/// Streams that agree by `alike` become partners, in their order.
template <class Alike>
void pairUp(std::vector<StreamPair>& pairs, std::vector<const Stream*>& left, Alike&& alike) {
  for (StreamPair& pair : pairs) {
    if (pair.second != nullptr) continue;
    const auto found = std::ranges::find_if(left, [&](const Stream* stream) { return alike(*pair.first, *stream); });
    if (found == left.end()) continue;
    pair.second = *found;
    left.erase(found);
  }
}

std::vector<StreamPair> pairStreams(const File& first, const File& second) {
  std::vector<StreamPair> pairs;
  std::vector<const Stream*> left;
  for (const Stream& stream : first.streams()) pairs.push_back({&stream, nullptr});
  for (const Stream& stream : second.streams()) left.push_back(&stream);
  const auto sameCodec = [](const Stream& a, const Stream& b) { return a.codec() == b.codec(); };
  pairUp(pairs, left, [&](const Stream& a, const Stream& b) { return sameCodec(a, b) && a.name() == b.name(); });
  pairUp(pairs, left, sameCodec);
  for (const Stream* stream : left) pairs.push_back({nullptr, stream});
  return pairs;
}

std::string spanText(const Stream& stream) {
  if (!stream.hasTime()) return "no time";
  // The end may lie so far behind the start that 64 bits do not hold it.
  const double seconds =
      static_cast<double>(static_cast<std::uint64_t>(stream.end()) - static_cast<std::uint64_t>(stream.start())) / 1e9;
  char length[48];
  std::snprintf(length, sizeof length, " (%.9g s)", seconds);
  return utcText(stream.start()) + " to " + utcText(stream.end()) + length;
}

std::string signalText(const Signal& signal) {
  std::string text(nameOf(signal.type()));
  if (signal.isArray()) text += "[" + std::to_string(signal.count()) + "]";
  return signal.unit().empty() ? text : text + " [" + signal.unit() + "]";
}

std::string valueText(const Signal& signal, const Value& value) {
  if (!signal.texts().empty()) return value.text() + " (" + signal.text(value) + ")";
  const std::string text = signal.text(value);
  return signal.unit().empty() || signal.unit() == "-" ? text : text + " " + signal.unit();
}

std::string numberText(double number) {
  return Value(number).text();
}

std::string enumerationText(const Signal& signal) {
  std::string text;
  for (const ValueText& entry : signal.texts()) {
    text += (text.empty() ? "" : ", ") + std::to_string(entry.value) + " " + entry.text;
  }
  return text;
}

/// What is known of a signal without its values, each with what it is called.
std::vector<std::pair<std::string, std::string>> attributesOf(const Signal& signal) {
  return {{"type", std::string(nameOf(signal.type()))},
          {"count", signal.isArray() ? std::to_string(signal.count()) : "no array"},
          {"unit", signal.unit()},
          {"description", signal.description()},
          {"table", signal.table()},
          {"resolution", numberText(signal.resolution())},
          {"range", numberText(signal.rangeLow()) + " to " + numberText(signal.rangeHigh())},
          {"value texts", enumerationText(signal)},
          {"multiplexer", signal.multiplexer() ? signal.multiplexer()->text() : "none"}};
}

/// "{Kvex-Grouping} Name".
std::string fieldName(const std::string& tag, const std::string& key) {
  std::string name = tag;
  return name.append(" ").append(key);
}

class Comparison {
 public:
  Comparison(File& first, File& second) : first_(first), second_(second) {}

  std::vector<Difference> compare(const ReadOptions& options) {
    for (const StreamPair& pair : pairStreams(first_, second_)) {
      if (pair.first == nullptr) {
        add(DifferenceKind::Stream, pair, subjectOf(*pair.second), std::nullopt, spanText(*pair.second));
      } else if (pair.second == nullptr) {
        add(DifferenceKind::Stream, pair, subjectOf(*pair.first), spanText(*pair.first), std::nullopt);
      } else {
        compareStreams(pair);
      }
    }
    compareSettings(options);
    return std::move(differences_);
  }

 private:
  void add(DifferenceKind kind, const StreamPair& streams, std::string subject, Text before, Text after) {
    const auto idOf = [](const Stream* stream) {
      return stream == nullptr ? std::nullopt : std::optional(stream->id());
    };
    differences_.push_back(
        {kind, idOf(streams.first), idOf(streams.second), std::move(subject), std::move(before), std::move(after)});
  }

  void compareTexts(DifferenceKind kind, const StreamPair& streams, const std::string& subject, const Text& before,
                    const Text& after) {
    if (before != after) add(kind, streams, subject, before, after);
  }

  void compareStreams(const StreamPair& pair) {
    compareTexts(DifferenceKind::Stream, pair, subjectOf(*pair.first) + " name", pair.first->name(),
                 pair.second->name());
    compareTexts(DifferenceKind::Span, pair, subjectOf(*pair.first), spanText(*pair.first), spanText(*pair.second));
    compareHeaders(pair);
    compareSignals(pair);
  }

  /// The values of all header packets, each by what it is called. Of several packets with the same tag the second one
  /// and the further ones have a number.
  static std::map<std::string, std::string> headerValues(const Stream& stream) {
    std::map<std::string, std::string> values;
    std::map<std::string, int> seen;
    const auto addHeader = [&](const Header& header) {
      if (header.tag == kScanTag) return;
      const int number = ++seen[header.tag];
      const std::string tag = number == 1 ? header.tag : header.tag + " " + std::to_string(number);
      values.emplace(tag, "there");
      for (const auto& [key, value] : header.values) values.insert_or_assign(fieldName(tag, key), value);
    };
    addHeader(stream.header());
    std::ranges::for_each(stream.headers(), addHeader);
    return values;
  }

  void compareHeaders(const StreamPair& pair) {
    const std::map<std::string, std::string> first = headerValues(*pair.first);
    const std::map<std::string, std::string> second = headerValues(*pair.second);
    const auto valueIn = [](const auto& values, const std::string& name) {
      const auto found = values.find(name);
      return found == values.end() ? Text() : Text(found->second);
    };
    for (const auto& [name, value] : first) {
      compareTexts(DifferenceKind::Header, pair, name, value, valueIn(second, name));
    }
    for (const auto& [name, value] : second) {
      if (!first.contains(name)) add(DifferenceKind::Header, pair, name, std::nullopt, value);
    }
  }

  void compareSignals(const StreamPair& pair) {
    // Of a name that stands in several types, the same type is the partner; else the only one.
    std::map<std::string, std::vector<Signal>> left;
    for (const Signal& signal : pair.second->signals()) left[signal.name()].push_back(signal);
    std::map<std::string, std::size_t> count;
    for (const Signal& signal : pair.first->signals()) ++count[signal.name()];
    for (const Signal& signal : pair.first->signals()) {
      std::vector<Signal>& candidates = left[signal.name()];
      auto partner = std::ranges::find_if(candidates, [&](const Signal& other) {
        return other.type() == signal.type() && other.isArray() == signal.isArray();
      });
      if (partner == candidates.end() && candidates.size() == 1 && count[signal.name()] == 1) {
        partner = candidates.begin();
      }
      if (partner == candidates.end()) {
        add(DifferenceKind::Signal, pair, signal.name(), signalText(signal), std::nullopt);
        continue;
      }
      compareAttributes(pair, signal, *partner);
      candidates.erase(partner);
    }
    for (const Signal& signal : pair.second->signals()) {
      const std::vector<Signal>& candidates = left[signal.name()];
      if (std::ranges::find(candidates, signal) == candidates.end()) continue;
      add(DifferenceKind::Signal, pair, signal.name(), std::nullopt, signalText(signal));
    }
  }

  void compareAttributes(const StreamPair& pair, const Signal& first, const Signal& second) {
    const auto before = attributesOf(first);
    const auto after = attributesOf(second);
    for (std::size_t i = 0; i < before.size(); ++i) {
      compareTexts(DifferenceKind::Signal, pair, first.name() + " " + before[i].first, before[i].second,
                   after[i].second);
    }
    const bool alike = first.type() == second.type() && first.count() == second.count();
    if (alike && pair.first->hasTime() && pair.second->hasTime()) paired_.push_back({pair, first, second});
  }

  void compareSettings(const ReadOptions& options) {
    if (paired_.empty()) return;
    std::vector<Signal> firsts;
    std::vector<Signal> seconds;
    std::vector<StreamPair> streams;  // by element
    for (const SignalPair& pair : paired_) {
      firsts.push_back(pair.first);
      seconds.push_back(pair.second);
      streams.insert(streams.end(), pair.first.count(), pair.streams);
    }
    const std::vector<Statistics> before = first_.statistics(firsts, options);
    const std::vector<Statistics> after = second_.statistics(seconds, options);
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i) {
      const auto isSetting = [](const Statistics& of) { return of.usable > 0 && of.changes == 0; };
      if (!isSetting(before[i]) || !isSetting(after[i])) continue;
      // By text: what is not a number equals what is not a number, and so does zero of either sign.
      const Value& a = before[i].first;
      const Value& b = after[i].first;
      if (a.text() == b.text() || (a.asDouble() == 0.0 && b.asDouble() == 0.0)) continue;
      add(DifferenceKind::Setting, streams[i], before[i].signal.name(), valueText(before[i].signal, a),
          valueText(after[i].signal, b));
    }
  }

  File& first_;
  File& second_;
  std::vector<SignalPair> paired_;
  std::vector<Difference> differences_;
};

}  // namespace

std::vector<Difference> differences(File& first, File& second, const ProgressCallback& progress,
                                    const std::stop_token& stop) {
  return Comparison(first, second).compare({.progress = progress, .stop = stop});
}

}  // namespace Kvex
