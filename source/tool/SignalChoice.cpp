#include "tool/SignalChoice.h"

#include <algorithm>
#include <map>
#include <utility>

#include "tool/Failure.h"
#include "tool/Messages.h"
#include "tool/Text.h"

namespace Kvex::Tool {

bool SignalChoice::takesStream(std::uint32_t streamId) const {
  return streamIds.empty() || std::ranges::find(streamIds, streamId) != streamIds.end();
}

CLI::Option* addSignalOption(CLI::App& command, SignalChoice& choice, const std::string& description,
                             const std::string& names) {
  return command.add_option(names, choice.patterns, description)->type_name("PATTERN")->allow_extra_args(false);
}

CLI::Option* addStreamOption(CLI::App& command, SignalChoice& choice) {
  return command
      .add_option("--stream", choice.streamIds, "Only these streams: \"2\", \"2,3\"; may be given several times")
      ->type_name("ID")
      ->delimiter(',')
      ->allow_extra_args(false);
}

CLI::Option* addMultiplexedOption(CLI::App& command, bool& multiplexed) {
  return command.add_flag("--multiplexed", multiplexed,
                          "Take a multiplexed signal only from frames whose multiplexer selects it");
}

void noteMultiplexed(const std::vector<Signal>& signals, bool multiplexed) {
  const auto isMultiplexed = [](const Signal& signal) { return signal.multiplexer().has_value(); };
  const auto count = std::ranges::count_if(signals, isMultiplexed);
  if (multiplexed || count == 0) return;
  say("vrel: note: {} of the signals {} multiplexed: frames that do not select them give numbers without meaning; "
      "--multiplexed leaves these out",
      count, count == 1 ? "is" : "are");
}

std::vector<Signal> chooseSignals(const File& file, const SignalChoice& choice) {
  try {
    return file.choose(choice.patterns, choice.streamIds);
  } catch (const Error& error) {
    if (error.code() != ErrorCode::NoSuchSignal || !error.candidates().empty()) throw;
    throw Failure(printable(error.reason()) + "; \"vrel signals\" lists the names");
  }
}

std::vector<Signal> inListingOrder(const File& file, std::vector<Signal> signals) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> places;
  for (const Signal& signal : file.match("*"))
    places.emplace(std::pair(signal.stream(), signal.ordinal()), places.size());
  std::ranges::sort(signals, {}, [&](const Signal& signal) {
    return std::pair(places.at({signal.stream(), signal.ordinal()}), signal.element());
  });
  return signals;
}

}  // namespace Kvex::Tool
