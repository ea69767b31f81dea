#pragma once

#include <cstddef>
#include <kvex/Signal.h>
#include <kvex/Statistics.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Kvex::Tool {

/// A signal as `vrel signals` lists it.
struct ListedSignal {
  Signal signal;
  std::vector<Statistics> elements{};  ///< Of an array one for each element; none without values over time.

  /// Usable samples of all elements.
  bool used() const;
  bool changed() const;
};

/// One signal as JSON: what is known of it, and with `walked` what its samples say, of an array in lists with an entry
/// for each element. Without values over time these are null.
nlohmann::ordered_json signalJson(const ListedSignal& listed, bool walked);

/// A table with a line for each signal. Of arrays it shows the first and the last value of the first element, and what
/// all elements come to. Columns that do not fit into `width` characters are left out, the least useful ones first, and
/// the description is cut; names never are. 0: any width.
std::string signalsTable(const std::vector<ListedSignal>& signals, bool walked, std::size_t width);

}  // namespace Kvex::Tool
