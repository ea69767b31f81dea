#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Kvex::Can {

/// One message of a database. The texts are bytes of the database, in whatever encoding it has.
struct CanMessage {
  std::uint32_t id = 0;  ///< As it stands in the database, with any flag bit it holds.
  std::uint32_t index = 0;
  std::string_view name;     ///< At most 255 bytes.
  std::uint32_t repeat = 0;  ///< How many earlier messages have this name.
  std::uint32_t size = 0;    ///< The byte count of the line; frames are taken as they come.
  std::string_view sender;   ///< At most 255 bytes.
  std::string_view comment;
  std::uint32_t firstSignal = 0;  ///< Its signals stand next to each other in the database.
  std::uint32_t signalCount = 0;

  /// The name, made unique in its database: N, N.1, N.2 and so on.
  std::string label() const;
};

/// `name`, and behind a point how often it came before.
std::string uniqueLabel(std::string_view name, std::uint32_t repeat);

}  // namespace Kvex::Can
