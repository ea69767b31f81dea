#pragma once

#include <string>

namespace Kvex::Support {

/// Path of a file in tests/data.
std::string dataPath(const std::string& name);

/// Adds tests/data/NAME to a store, reads all that NAME's ".info.json" asks for and holds it against the answers beside
/// it (".all.csv.gz", ".some.csv.gz"): spans, tags, and for each element of each step flags, stamp and value. Gives a
/// text with the first differences; empty where all agrees.
std::string differencesFromAnswers(const std::string& name);

/// The same for the samples as the recording carried them (".native.csv.gz").
std::string differencesFromNativeAnswers(const std::string& name);

}  // namespace Kvex::Support
