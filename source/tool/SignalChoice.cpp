#include "tool/SignalChoice.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <numeric>
#include <set>

#include "tool/Glob.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

constexpr std::size_t kMaxSuggestions = 5;
/// Longer names are not compared letter by letter.
constexpr std::size_t kMaxComparedName = 64;

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return result;
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

/// How far a name is from what was asked for, both in lower case; none if they have nothing to do with each other.
std::optional<std::size_t> farness(std::string_view asked, std::string_view name) {
  if (name.find(asked) != std::string_view::npos) return name.size() - asked.size();
  if (name.size() > kMaxComparedName || asked.size() > kMaxComparedName) return std::nullopt;
  constexpr std::size_t kBehindContained = kMaxComparedName;
  const std::size_t distance = editDistance(asked, name);
  if (distance * 3 > std::max(asked.size(), name.size())) return std::nullopt;
  return kBehindContained + distance;
}

}  // namespace

SignalPattern::SignalPattern(std::string_view text) : text_(text), glob_(text) {
  const std::size_t colon = text.find(':');
  if (colon == 0 || colon == std::string_view::npos) return;
  std::uint32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + colon, id);
  if (error != std::errc{} || end != text.data() + colon) return;
  streamId_ = id;
  glob_ = text.substr(colon + 1);
}

bool SignalPattern::matches(std::uint32_t streamId, std::string_view name) const {
  return (!streamId_ || *streamId_ == streamId) && globMatches(glob_, name);
}

bool SignalChoice::takesStream(std::uint32_t streamId) const {
  return streamIds.empty() || std::ranges::find(streamIds, streamId) != streamIds.end();
}

void checkStreamIds(const OpenedFile& file, const SignalChoice& choice) {
  for (const std::uint32_t id : choice.streamIds) {
    if (std::ranges::find(file.streamIds, id) == file.streamIds.end()) {
      throw Failure(fmt::format("there is no stream {}; the file has {}, numbered from 0", id,
                                counted(file.streamIds.size(), "stream")));
    }
  }
}

std::vector<Sto::SignalListing> chooseSignals(const OpenedFile& file, const SignalChoice& choice) {
  checkStreamIds(file, choice);
  const std::vector<SignalPattern> patterns(choice.patterns.begin(), choice.patterns.end());
  std::vector<bool> hasMatch(patterns.size());
  std::vector<Sto::SignalListing> chosen;
  std::vector<std::string> offered;
  file.forEachStream([&](const Sto::Stream& stream, const Sto::Resource&) {
    const auto id = static_cast<std::uint32_t>(stream.entry.index);
    if (!stream.hasTime() || !choice.takesStream(id)) return;
    for (Sto::SignalListing& listing : stream.namedSignals()) {
      offered.push_back(listing.name);
      bool matches = patterns.empty();
      for (std::size_t i = 0; i < patterns.size(); ++i) {
        if (!patterns[i].matches(id, listing.name)) continue;
        hasMatch[i] = true;
        matches = true;
      }
      if (matches) chosen.push_back(std::move(listing));
    }
  });
  if (offered.empty()) throw Failure("no stream has time, so there are no values over time");
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    if (hasMatch[i]) continue;
    throw Failure(
        fmt::format("no signal matches \"{}\"{}", printable(patterns[i].text()), nearNames(patterns[i], offered)));
  }
  return chosen;
}

std::string nearNames(const SignalPattern& pattern, const std::vector<std::string>& names) {
  std::string asked = lowerCase(pattern.glob());
  std::erase_if(asked, [](char c) { return c == '*' || c == '?'; });
  std::set<std::pair<std::size_t, std::string>> found;
  for (const std::string& name : names) {
    if (const auto far = farness(asked, lowerCase(name))) found.emplace(*far, name);
  }
  std::string result;
  std::size_t count = 0;
  for (const auto& [far, name] : found) {
    if (count++ == kMaxSuggestions) break;
    result += (count == 1 ? "; did you mean " : ", ") + printable(name);
  }
  return result.empty() ? "; \"vrel signals\" lists the names" : result + '?';
}

}  // namespace Kvex::Tool
