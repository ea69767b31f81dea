#pragma once

#include <kvex/Signal.h>
#include <memory>
#include <string>
#include <vector>

#include "tables/SignalInfo.h"

namespace Kvex {

struct Signal::Data {
  Sto::SignalListing listing;
  std::vector<ValueText> texts;
  std::optional<Multiplexer> multiplexer;
  std::optional<Value> first;
  std::optional<Value> last;
  std::uint64_t file = 0;  ///< The number of the opened file that it is of.
  bool hasTime = false;    ///< Whether its stream has time.
  bool named = true;       ///< Whether its name means this signal, and not another one of its stream.
};

/// What the front door's own code may do with a `Signal`.
class SignalAccess {
 public:
  using Data = Signal::Data;

  static Signal make(std::shared_ptr<const Data> data) { return Signal(std::move(data)); }
  static const Data& of(const Signal& signal) { return *signal.data_; }
};

}  // namespace Kvex
