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

/// A text with its leading "2:" or "*:" taken off.
struct QualifiedText {
  explicit QualifiedText(std::string_view text) : name(text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return;
    stream = wholeNumber<std::uint32_t>(text.substr(0, colon));
    anyStream = text.starts_with("*:");
    if (stream || anyStream) name = text.substr(colon + 1);
  }

  /// The text as a name of its own.
  static QualifiedText plain(std::string_view text) {
    QualifiedText whole("");
    whole.name = text;
    return whole;
  }

  bool takes(const Signal& signal) const { return !stream || *stream == signal.stream(); }

  std::optional<std::uint32_t> stream;
  bool anyStream = false;
  std::string_view name;
};

bool isSame(std::string_view asked, std::string_view name) {
  return asked == name;
}

bool matchesAnyCase(std::string_view pattern, std::string_view name) {
  return globMatches(lowerCase(pattern), lowerCase(name));
}

/// Whether what is asked for, a name or a pattern, means a name.
using Compare = bool (*)(std::string_view asked, std::string_view name);

/// A text without the unit of a signal behind it, as headers show it: " [m/s]"; none where it ends otherwise.
std::optional<std::string_view> withoutUnit(std::string_view text, const std::string& unit) {
  const std::string shown = " [" + unit + ']';
  if (unit.empty() || !text.ends_with(shown)) return std::nullopt;
  return text.substr(0, text.size() - shown.size());
}

/// "Name[label]" taken apart.
struct ElementText {
  std::string_view array;
  std::string_view label;
};

std::optional<ElementText> elementText(std::string_view text) {
  const std::size_t bracket = text.rfind('[');
  if (bracket == std::string_view::npos || !text.ends_with(']')) return std::nullopt;
  return ElementText{text.substr(0, bracket), text.substr(bracket + 1, text.size() - bracket - 2)};
}

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

/// The element of an array that a text means; none if it means another array, or none of its elements.
std::optional<Signal> elementMeant(const Signal& signal, std::string_view text, Compare means) {
  const auto parts = elementText(text);
  if (!parts || !signal.isArray() || !means(parts->array, signal.name())) return std::nullopt;
  const auto element = elementOf(signal, parts->label);
  return element ? std::optional(signal.at(*element)) : std::nullopt;
}

/// The signals that are asked for: those of the name; without any, those of the name and unit; without any, elements of
/// arrays, with or without a unit.
std::vector<Signal> meantBy(const QualifiedText& asked, const std::vector<Signal>& offered, Compare means) {
  std::vector<Signal> found;
  for (const Signal& signal : offered) {
    if (asked.takes(signal) && means(asked.name, signal.name())) found.push_back(signal);
  }
  if (!found.empty() || !asked.name.ends_with(']')) return found;
  for (const Signal& signal : offered) {
    const auto name = asked.takes(signal) ? withoutUnit(asked.name, signal.unit()) : std::nullopt;
    if (name && means(*name, signal.name())) found.push_back(signal);
  }
  if (!found.empty()) return found;
  for (const Signal& signal : offered) {
    if (!asked.takes(signal) || !signal.isArray()) continue;
    auto element = elementMeant(signal, asked.name, means);
    if (const auto name = withoutUnit(asked.name, signal.unit()); !element && name) {
      element = elementMeant(signal, *name, means);
    }
    if (element) found.push_back(*std::move(element));
  }
  return found;
}

/// The same for a text. The name itself may begin as with a stream's number.
std::vector<Signal> meantBy(std::string_view text, const std::vector<Signal>& offered, Compare means) {
  const QualifiedText asked(text);
  std::vector<Signal> found = meantBy(asked, offered, means);
  if (found.empty() && asked.name != text) found = meantBy(QualifiedText::plain(text), offered, means);
  return found;
}

/// Throws for a text that names an array, and behind it an element that the array does not have: as a pattern, the
/// brackets would be a set of characters. REQUIRES: no signal has the text as its name.
void checkElement(std::string_view text, const std::vector<Signal>& offered, const std::string& path) {
  const QualifiedText asked(text);
  for (const Signal& signal : offered) {
    if (!asked.takes(signal) || !signal.isArray()) continue;
    for (const auto name : {std::optional(asked.name), withoutUnit(asked.name, signal.unit())}) {
      const auto parts = name ? elementText(*name) : std::nullopt;
      if (!parts || parts->array != signal.name()) continue;
      throw Error(ErrorCode::NoSuchSignal,
                  quoted(text) + " does not exist: " + signal.name() + " has " + std::to_string(signal.count()) +
                      (signal.count() == 1 ? " element" : " elements") + ", numbered from 0",
                  path, {}, {signal.name()});
    }
  }
}

/// The pieces of a text between commas outside brackets, without blanks around them. A bracket without its end is a
/// character like any other.
std::vector<std::string_view> pieces(std::string_view text) {
  std::vector<std::string_view> result;
  std::size_t begin = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] == '[') {
      const std::size_t end = text.find(']', i);
      if (end != std::string_view::npos) i = end;
    } else if (i == text.size() || text[i] == ',') {
      std::string_view piece = text.substr(begin, i - begin);
      piece.remove_prefix(std::min(piece.find_first_not_of(' '), piece.size()));
      piece = piece.substr(0, piece.find_last_not_of(' ') + 1);
      result.push_back(piece);
      begin = i + 1;
    }
  }
  return result;
}

[[noreturn]] void failNoMatch(std::string_view text, const std::vector<Signal>& offered, const std::string& path) {
  const std::vector<std::string> near = nearNames(text, offered);
  throw Error(ErrorCode::NoSuchSignal,
              "no signal matches " + quoted(text) + (near.empty() ? "" : "; did you mean " + listed(near) + '?'), path,
              {}, near);
}

/// Collects what is chosen, each signal and each element once.
class Choice {
 public:
  void add(const Signal& signal) {
    std::set<std::uint32_t>& taken = taken_[&SignalAccess::of(signal)];
    if (signal.isArray() && !taken.empty()) {
      for (std::uint32_t element = 0; element < signal.count(); ++element) {
        if (taken.insert(element).second) signals_.push_back(signal.at(element));
      }
      return;
    }
    const std::uint32_t first = signal.element().value_or(0);
    if (!taken.insert(first).second) return;
    for (std::uint32_t element = 1; element < signal.count(); ++element) taken.insert(element);
    signals_.push_back(signal);
  }

  std::vector<Signal> take() { return std::move(signals_); }

 private:
  std::map<const SignalAccess::Data*, std::set<std::uint32_t>> taken_;  ///< The elements of each signal.
  std::vector<Signal> signals_;
};

/// Throws where more is known of why a text chooses nothing.
using Explain = std::function<void(std::string_view text)>;

/// What one text without commas chooses.
std::vector<Signal> chosenByOne(std::string_view text, const std::vector<Signal>& offered, const std::string& path,
                                const Explain& explain) {
  if (text.empty()) throw Error(ErrorCode::InvalidArgument, "the name of a signal is empty", path);
  for (const Compare means : {isSame, globMatches, matchesAnyCase}) {
    std::vector<Signal> found = meantBy(text, offered, means);
    if (!found.empty()) return found;
    if (means == isSame) checkElement(text, offered, path);
  }
  if (explain) explain(text);
  failNoMatch(text, offered, path);
}

std::vector<Signal> chosenBy(const std::vector<std::string>& texts, const std::vector<Signal>& offered,
                             const std::string& path, const Explain& explain) {
  Choice choice;
  const auto addAll = [&](const std::vector<Signal>& signals) {
    for (const Signal& signal : signals) choice.add(signal);
  };
  for (const std::string& text : texts) {
    const std::vector<Signal> named = meantBy(text, offered, isSame);
    addAll(named);
    if (!named.empty()) continue;
    for (const std::string_view piece : pieces(text)) addAll(chosenByOne(piece, offered, path, explain));
  }
  return choice.take();
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
  std::vector<Signal> found = meantBy(text, signals_, isSame);
  std::erase_if(found, [](const Signal& signal) { return !SignalAccess::of(signal).named && !signal.element(); });
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
  checkElement(text, signals_, path_);
  checkStream(text);
  failNoMatch(text, signals_, path_);
}

void SignalFinder::checkStream(std::string_view text) const {
  const QualifiedText asked(text);
  if (asked.stream && *asked.stream >= streams_.size()) failNoStream(*asked.stream);
}

void SignalFinder::failNoStream(std::uint32_t id) const {
  const std::size_t count = streams_.size();
  throw Error(ErrorCode::NoSuchStream,
              "there is no stream " + std::to_string(id) + "; the file has " + std::to_string(count) +
                  (count == 1 ? " stream" : " streams") + ", numbered from 0",
              path_);
}

void SignalFinder::checkTime(std::string_view text) const {
  for (const Signal& signal : meantBy(text, signals_, isSame)) {
    if (SignalAccess::of(signal).hasTime) continue;
    throw Error(ErrorCode::NoTime,
                quoted(text) + " is a signal of stream " + std::to_string(signal.stream()) +
                    ", which has no time, so that there are no values over time",
                path_);
  }
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

std::vector<Signal> SignalFinder::choose(const std::vector<std::string>& texts,
                                         const std::vector<std::uint32_t>& streams) const {
  std::vector<Signal> offered = match("*");
  if (!streams.empty()) {
    std::erase_if(offered,
                  [&](const Signal& signal) { return std::ranges::find(streams, signal.stream()) == streams.end(); });
  }
  if (offered.empty()) throw Error(ErrorCode::NoTime, "no stream has time, so there are no values over time", path_);
  if (texts.empty()) return offered;
  return chosenBy(texts, offered, path_, [this](std::string_view text) {
    checkStream(text);
    checkTime(text);
  });
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
    const bool isPattern = named(item.text).empty();
    if (isPattern) checkElement(item.text, signals_, path_);
    if (isPattern || QualifiedText(item.text).anyStream) matching = match(item.text);
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

std::vector<Signal> choose(const std::vector<std::string>& texts, const std::vector<Signal>& offered) {
  return Front::chosenBy(texts, offered, {}, {});
}

std::vector<std::string> nearNames(std::string_view text, const std::vector<Signal>& signals) {
  std::string asked = Front::lowerCase(Front::QualifiedText(text).name);
  // Without a unit and an element.
  for (int i = 0; i < 2 && asked.ends_with(']') && asked.rfind('[') != std::string::npos; ++i) {
    asked.erase(asked.rfind('['));
    if (asked.ends_with(' ')) asked.pop_back();
  }
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
