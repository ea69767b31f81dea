#pragma once

#include <cstdint>
#include <kvex/Signal.h>
#include <set>
#include <string>
#include <vector>

namespace Kvex::Tool {

/// What a table has of one signal, or of one element of an array.
struct TableField {
  std::uint32_t signal = 0;   ///< The place in the list of signals.
  std::uint32_t element = 0;  ///< 0 for a scalar.
  std::string name;           ///< "Lat", "SatUsed[3]".
  std::string longName;       ///< The name that a long table shows: with its stream if all names are to have it.
  std::string key;            ///< The name that a wide table shows, with its unit: "2:Lat [°]".
  std::string flagsKey;       ///< The same for the field of flags: "2:Lat flags".
};

/// The fields of a table with the elements of these signals, in their order. A key has the stream's number if several
/// streams have the name, if it is the one of the first field, "time", and with `qualified` always.
std::vector<TableField> fieldsOf(const std::vector<Signal>& signals, bool qualified = false,
                                 const std::set<std::string>& taken = {"time"});

}  // namespace Kvex::Tool
