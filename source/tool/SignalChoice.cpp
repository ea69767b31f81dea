#include "tool/SignalChoice.h"

#include <algorithm>
#include <fmt/format.h>

#include "tool/Failure.h"
#include "tool/Text.h"

namespace Kvex::Tool {

bool SignalChoice::takesStream(std::uint32_t streamId) const {
  return streamIds.empty() || std::ranges::find(streamIds, streamId) != streamIds.end();
}

void checkStreamIds(const File& file, const SignalChoice& choice) {
  for (const std::uint32_t id : choice.streamIds) (void)file.stream(id);
}

std::vector<Signal> chooseSignals(const File& file, const SignalChoice& choice) {
  checkStreamIds(file, choice);
  std::vector<Signal> offered = file.match("*");
  std::erase_if(offered, [&](const Signal& signal) { return !choice.takesStream(signal.stream()); });
  if (offered.empty()) throw Failure("no stream has time, so there are no values over time");
  for (const std::string& pattern : choice.patterns) {
    const auto matches = [&](const Signal& signal) { return signal.matches(pattern); };
    if (std::ranges::none_of(offered, matches)) throw Failure(noMatchText(pattern, offered));
  }
  if (choice.patterns.empty()) return offered;
  std::vector<Signal> chosen = offered;
  std::erase_if(chosen, [&](const Signal& signal) {
    return std::ranges::none_of(choice.patterns, [&](const std::string& pattern) { return signal.matches(pattern); });
  });
  return chosen;
}

std::string noMatchText(std::string_view pattern, const std::vector<Signal>& offered) {
  std::string names;
  for (const std::string& name : nearNames(pattern, offered)) {
    names += (names.empty() ? "" : ", ") + printable(name);
  }
  return fmt::format("no signal matches \"{}\"; {}", printable(pattern),
                     names.empty() ? "\"vrel signals\" lists the names" : "did you mean " + names + '?');
}

}  // namespace Kvex::Tool
