#include "front/SignalFinder.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <kvex/Error.h>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "front/Glob.h"
#include "front/SignalData.h"

namespace Kvex::Front {

namespace {

constexpr std::size_t kMaxSuggestions = 5;
/// Longer names are not compared letter by letter.
constexpr std::size_t kMaxComparedName = 64;

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return result;
}

std::string quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// A text with its leading "2:" taken off.
struct QualifiedText {
  explicit QualifiedText(std::string_view text) : name(text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return;
    stream = wholeNumber<std::uint32_t>(text.substr(0, colon));
    if (stream) name = text.substr(colon + 1);
  }

  bool takes(const Signal& signal) const { return !stream || *stream == signal.stream(); }

  std::optional<std::uint32_t> stream;
  std::string_view name;
};

/// The number of letters to insert, drop or change that makes one text of the other.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
    }
  }
  return row[b.size()];
}

/// How unlike a name is to what was asked for, both in lower case; none if they have nothing to do with each other.
std::optional<std::size_t> unlikeness(std::string_view asked, std::string_view name) {
  if (name.find(asked) != std::string_view::npos) return name.size() - asked.size();
  if (name.size() > kMaxComparedName || asked.size() > kMaxComparedName) return std::nullopt;
  constexpr std::size_t kBehindContained = kMaxComparedName;
  const std::size_t distance = editDistance(asked, name);
  if (distance * 3 > std::max(asked.size(), name.size())) return std::nullopt;
  return kBehindContained + distance;
}

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// The element that the brackets behind an array's name mean: a label or a number.
std::optional<std::uint32_t> elementOf(const Signal& array, std::string_view label) {
  for (std::uint32_t element = 0; element < array.count(); ++element) {
    if (array.elementLabel(element) == label) return element;
  }
  const auto number = wholeNumber<std::uint32_t>(label);
  return number && *number < array.count() ? number : std::nullopt;
}

void keepTimed(std::vector<Signal>& signals) {
  const auto hasTime = [](const Signal& signal) { return SignalAccess::of(signal).hasTime; };
  if (std::ranges::any_of(signals, hasTime)) std::erase_if(signals, std::not_fn(hasTime));
}

/// How many of the words stand in the signal's name; none unless each stands somewhere.
std::optional<std::size_t> wordsInName(const Signal& signal, const std::vector<std::string>& words) {
  const std::string name = lowerCase(signal.name());
  std::string rest = signal.description() + '\n' + signal.unit() + '\n' + signal.table();
  for (const ValueText& value : signal.texts()) rest += '\n' + value.text;
  rest = lowerCase(rest);
  std::size_t inName = 0;
  for (const std::string& word : words) {
    if (name.find(word) != std::string::npos) {
      ++inName;
    } else if (rest.find(word) == std::string::npos) {
      return std::nullopt;
    }
  }
  return inName;
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  for (const char c : lowerCase(text) + ' ') {
    if (c != ' ' && c != '\t') {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::exchange(word, {}));
    }
  }
  return words;
}

}  // namespace

std::vector<Signal> SignalFinder::named(std::string_view text) const {
  const QualifiedText asked(text);
  std::vector<Signal> found;
  for (const Signal& signal : signals_) {
    if (asked.takes(signal) && SignalAccess::of(signal).named && signal.name() == asked.name) found.push_back(signal);
  }
  const std::size_t bracket = asked.name.rfind('[');
  if (found.empty() && bracket != std::string_view::npos && asked.name.ends_with(']')) {
    const std::string_view label = asked.name.substr(bracket + 1, asked.name.size() - bracket - 2);
    for (const Signal& signal : signals_) {
      if (!asked.takes(signal) || !signal.isArray() || signal.name() != asked.name.substr(0, bracket)) continue;
      if (const auto element = elementOf(signal, label)) found.push_back(signal.at(*element));
    }
  }
  keepTimed(found);
  return found;
}

Signal SignalFinder::one(std::string_view text) const {
  const std::vector<Signal> found = named(text);
  if (found.empty()) failUnknown(text);
  if (found.size() == 1) return found.front();
  std::vector<std::string> names(found.size());
  std::ranges::transform(found, names.begin(), &Signal::qualifiedName);
  throw Error(ErrorCode::Ambiguous, quoted(text) + " is in several streams: " + listed(names), path_, {}, names);
}

void SignalFinder::failUnknown(std::string_view text) const {
  const QualifiedText asked(text);
  const auto isAsked = [&](const Stream& stream) { return stream.id() == asked.stream; };
  if (asked.stream && std::ranges::none_of(streams_, isAsked)) {
    failNoStream(*asked.stream);
  }
  const std::vector<std::string> near = nearNames(text, signals_);
  throw Error(ErrorCode::NoSuchSignal,
              "no signal matches " + quoted(text) + (near.empty() ? "" : "; did you mean " + listed(near) + '?'), path_,
              {}, near);
}

void SignalFinder::failNoStream(std::uint32_t id) const {
  const std::size_t count = streams_.size();
  throw Error(ErrorCode::NoSuchStream,
              "there is no stream " + std::to_string(id) + "; the file has " + std::to_string(count) +
                  (count == 1 ? " stream" : " streams") + ", numbered from 0",
              path_);
}

std::vector<Signal> SignalFinder::match(std::string_view pattern) const {
  std::vector<Signal> found;
  // A name that a stream carries in several types stands at the place of its first row.
  std::map<std::pair<std::uint32_t, std::string_view>, std::size_t> places;
  for (const Signal& signal : signals_) {
    const SignalAccess::Data& data = SignalAccess::of(signal);
    if (!data.hasTime || !signal.matches(pattern)) continue;
    const auto [place, isNew] =
        places.emplace(std::pair(signal.stream(), std::string_view(signal.name())), found.size());
    if (isNew) {
      found.push_back(signal);
    } else if (data.named) {
      found[place->second] = signal;
    }
  }
  return found;
}

std::vector<Signal> SignalFinder::search(std::string_view text) const {
  const std::vector<std::string> words = wordsOf(text);
  std::vector<std::pair<std::size_t, Signal>> found;
  for (const Signal& signal : signals_) {
    const SignalAccess::Data& data = SignalAccess::of(signal);
    if (!data.hasTime || !data.named) continue;
    if (const auto inName = wordsInName(signal, words)) found.emplace_back(*inName, signal);
  }
  std::ranges::stable_sort(found, std::greater{}, [](const auto& hit) { return hit.first; });
  std::vector<Signal> signals;
  signals.reserve(found.size());
  for (auto& [inName, signal] : found) signals.push_back(std::move(signal));
  return signals;
}

std::vector<Signal> SignalFinder::resolve(const SignalList& list) const {
  std::vector<Signal> signals;
  for (const SignalList::Item& item : list.items()) {
    if (item.signal) {
      signals.push_back(*item.signal);
      continue;
    }
    std::vector<Signal> matching;
    if (named(item.text).empty()) matching = match(item.text);
    if (matching.empty()) matching.push_back(one(item.text));
    signals.insert(signals.end(), matching.begin(), matching.end());
  }
  return signals;
}

}  // namespace Kvex::Front

namespace Kvex {

bool Signal::matches(std::string_view pattern) const {
  const Front::QualifiedText asked(pattern);
  return asked.takes(*this) && Front::globMatches(asked.name, name());
}

std::vector<std::string> nearNames(std::string_view text, const std::vector<Signal>& signals) {
  std::string asked = Front::lowerCase(Front::QualifiedText(text).name);
  std::erase_if(asked, [](char c) { return c == '*' || c == '?'; });
  std::set<std::pair<std::size_t, std::string>> found;
  for (const Signal& signal : signals) {
    if (const auto unlike = Front::unlikeness(asked, Front::lowerCase(signal.name()))) {
      found.emplace(*unlike, signal.name());
    }
  }
  std::vector<std::string> names;
  for (const auto& [unlike, name] : found) {
    if (names.size() == Front::kMaxSuggestions) break;
    names.push_back(name);
  }
  return names;
}

}  // namespace Kvex
