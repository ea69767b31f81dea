#pragma once

#include <kvex/File.h>
#include <string>
#include <vector>

#include "tool/SignalChoice.h"
#include "tool/SignalsTable.h"

namespace Kvex::Tool {

/// The signals that are to be listed, also those of streams without time and all types that stand for a name: all of
/// the streams asked for, or those that the patterns choose, and of these with `words` those that `File::search` finds.
/// Throws a `Failure` for a pattern that matches nothing and for words that are found nowhere.
std::vector<Signal> listSignals(const File& file, const SignalChoice& choice, const std::vector<std::string>& words);

std::vector<ListedSignal> withoutStatistics(const std::vector<Signal>& signals);
/// Reads each stream once. Signals of streams without time have no statistics.
std::vector<ListedSignal> withStatistics(File& file, const std::vector<Signal>& signals, const ReadOptions& reading);

/// Those of some signals that have a usable sample anywhere in the file, arrays in any element. Throws a `Failure` if
/// none has. REQUIRES: signals that can be read.
std::vector<Signal> usedSignals(File& file, const std::vector<Signal>& signals, const ReadOptions& reading);

}  // namespace Kvex::Tool
