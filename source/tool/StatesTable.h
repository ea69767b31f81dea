#pragma once

#include <kvex/Signal.h>
#include <kvex/States.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Kvex::Tool {

/// "8.980": nanoseconds as seconds, exactly, with at least three digits behind the point.
std::string secondsText(Nano nanos);

/// "95.1 %": a share between 0 and 1; what is there but rounds to nothing is "< 0.1 %".
std::string shareText(double share);

// Of one signal or element. Time without a usable value is shown as a line of its own: "-" in place of the value, and
// in JSON null with "usable" false.

/// A line for each value that the signal held.
std::string totalsTable(const Signal& signal, const std::vector<StateTotal>& totals);
nlohmann::ordered_json totalsJson(const Signal& signal, const std::vector<StateTotal>& totals);

/// A line for each interval.
std::string intervalsTable(const Signal& signal, const std::vector<State>& intervals);
nlohmann::ordered_json intervalJson(const Signal& signal, const State& interval);

/// What leads the JSON of a signal: its stream, name and unit.
nlohmann::ordered_json signalLead(const Signal& signal);

}  // namespace Kvex::Tool
