#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Kvex::Sto {

// The tables that samples as the recording carried them fall into: signals that the same packets write share a table.
// `signal` and `group` are named as in the lists of signals, without prefixes. Unknown names give an empty name or one
// of nothing but the block.

/// The table of a signal of the navigation record: "position".
std::string navTableName(std::string_view signal, std::string_view group);
/// The table of a receiver's signal: "GpsInt1 status". `receiver`: "GpsInt1", "GpsExt1" or "GpsInt2".
std::string receiverTableName(std::string_view receiver, std::string_view signal, std::string_view group);
/// The table of a measurement point's signal: "point 1 track" for the point 0.
std::string pointTableName(std::uint32_t point, std::string_view signal, std::string_view group);
/// The table of a range target's signal: "target 1 range" for the target 0.
std::string targetTableName(std::uint32_t target, std::string_view signal, std::string_view group);
/// The table of a signal of the range record outside its targets: "hunter position".
std::string bodyTableName(std::string_view signal, std::string_view group);

}  // namespace Kvex::Sto
