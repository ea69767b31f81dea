#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "zint/Signal.h"

namespace Kvex::Zint {

/// A message of a self-describing stream: what a data packet with its id carries.
struct Message {
  std::uint64_t id = 0;
  SharedText name;  ///< Empty where it has none.
  /// The signals carried, in rising id order; the order in which they are decoded. Messages that inherit one list from
  /// a common parent share it.
  std::shared_ptr<const std::vector<Signal*>> signals;
};

/// What a definition document defines.
struct Definitions {
  std::map<std::uint64_t, std::unique_ptr<Signal>> signals;  ///< All that could be built, by id.
  std::vector<Message> messages;                             ///< Those that carry a signal, in rising id order.
  std::vector<Signal*> carriedSignals;                       ///< Those that a message carries, in rising id order.
};

/// Reads a definition document, version 1. Entries that it cannot use are dropped; a document that is none, or of
/// another version, defines nothing.
Definitions readDefinitions(const nlohmann::json& document);

}  // namespace Kvex::Zint
