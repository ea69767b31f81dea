#pragma once

#include <cstdint>
#include <string_view>

namespace Kvex::Sto {

/// The code of a store operation's result.
enum class StoreCode : std::uint32_t {
  Success = 0,
  NotFound = 3,  ///< Nothing found, or no data.
  Cancelled = 7,
};

/// The result of a store operation: its code, and for any but success the reason.
struct StoreStatus {
  using enum StoreCode;

  StoreCode code = Success;
  std::string_view reason;  ///< A sentence part of static storage, such as "no such signal".

  bool operator==(StoreCode other) const { return code == other; }
};

// The reasons, one name each.
namespace Reason {
inline constexpr std::string_view kNoFile = "no such file, or no regular one";
inline constexpr std::string_view kUnknownKind = "no kind of file has this ending";
inline constexpr std::string_view kNoStreams = "no packets of a known kind of stream found";
inline constexpr std::string_view kCancelled = "cancelled";
inline constexpr std::string_view kNoTime = "no stream has time";
inline constexpr std::string_view kNoMode = "no such mode";
inline constexpr std::string_view kNoStream = "no such stream";
inline constexpr std::string_view kTimelessStream = "the stream has no time";
inline constexpr std::string_view kNoSignal = "no such signal";
inline constexpr std::string_view kNotSubscribed = "the signal is not subscribed";
inline constexpr std::string_view kNoElement = "the array has no such element";
inline constexpr std::string_view kEmptyQuery = "the query has no signals";
}  // namespace Reason

}  // namespace Kvex::Sto
