#pragma once

#include <cstdint>

namespace Kvex::Lib {

/// The result of a decoder routine: 0 is success, any other value is a code of `statusMessage`.
using Status = std::uint32_t;

inline constexpr Status kSuccess = 0;
inline constexpr Status kOutOfMemory = 1;

/// How grave a report is.
enum class Severity : std::int32_t { Warning = 0, Error = 1, FatalError = 2, Killed = 3, Info = 4 };

/// The message of a code, never null; a code without one reads "unknown status".
const char* statusMessage(Status code);

/// Prints a report to standard error: where it comes from, and `text`, or the message of `code` where `text` is null.
/// Of `sourceFile` only the part behind the last "/" or "\" is shown; `sourceFile` and `functionName` may be null or
/// empty and `line` negative, which prints as unknown. A severity outside the enumeration counts as `Error`. With
/// `Severity::Killed` the program exits with code 1; otherwise gives 0.
Status report(Status code, Severity severity, const char* sourceFile, std::int32_t line, const char* functionName,
              const char* text);

}  // namespace Kvex::Lib
