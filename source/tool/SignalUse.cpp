#include "tool/SignalUse.h"

#include <algorithm>
#include <fmt/format.h>

#include "tool/Failure.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

bool hasTime(const File& file, const Signal& signal) {
  return file.stream(signal.stream()).hasTime();
}

/// Of all signals, also those without values over time and each type of a name.
std::vector<Signal> chosenSignals(const File& file, const SignalChoice& choice) {
  for (const std::uint32_t id : choice.streamIds) (void)file.stream(id);
  std::vector<Signal> offered = file.signals();
  std::erase_if(offered, [&](const Signal& signal) { return !choice.takesStream(signal.stream()); });
  return choice.patterns.empty() ? offered : choose(choice.patterns, offered);
}

}  // namespace

std::vector<Signal> listSignals(const File& file, const SignalChoice& choice, const std::vector<std::string>& words) {
  std::vector<Signal> chosen = chosenSignals(file, choice);
  if (words.empty()) return chosen;
  const std::string text = fmt::format("{}", fmt::join(words, " "));
  std::vector<Signal> found = file.search(text);
  std::erase_if(found, [&](const Signal& signal) { return std::ranges::find(chosen, signal) == chosen.end(); });
  if (found.empty()) {
    throw Failure(
        fmt::format("\"{}\" is found in no signal's name, description, unit, table or value texts", printable(text)));
  }
  return found;
}

std::vector<ListedSignal> withoutStatistics(const std::vector<Signal>& signals) {
  std::vector<ListedSignal> listed;
  listed.reserve(signals.size());
  for (const Signal& signal : signals) listed.push_back({signal});
  return listed;
}

std::vector<ListedSignal> withStatistics(File& file, const std::vector<Signal>& signals, const ReadOptions& reading) {
  std::vector<ListedSignal> listed = withoutStatistics(signals);
  std::vector<Signal> readable = signals;
  std::erase_if(readable, [&](const Signal& signal) { return !hasTime(file, signal); });
  if (readable.empty()) return listed;
  const std::vector<Statistics> statistics = file.statistics(readable, reading);
  auto next = statistics.begin();
  for (ListedSignal& signal : listed) {
    if (!hasTime(file, signal.signal)) continue;
    const auto end = next + signal.signal.count();
    signal.elements.assign(next, end);
    next = end;
  }
  return listed;
}

std::vector<Signal> usedSignals(File& file, const std::vector<Signal>& signals, const ReadOptions& reading) {
  std::vector<Signal> used;
  for (const ListedSignal& listed : withStatistics(file, signals, reading)) {
    if (listed.used()) used.push_back(listed.signal);
  }
  if (used.empty()) throw Failure("none of these signals has a usable sample");
  return used;
}

}  // namespace Kvex::Tool
