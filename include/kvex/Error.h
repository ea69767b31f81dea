#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex {

/// Why an operation failed. Later versions may add codes.
enum class ErrorCode : std::uint8_t {
  NotFound,         ///< There is no file of this path.
  Unreadable,       ///< The file is there, but cannot be read.
  UnknownKind,      ///< The file's name ends in none of the known endings.
  Empty,            ///< The file holds no stream of a known kind.
  NoTime,           ///< No stream of the file, or not the one asked for, has time: there are no values over time.
  Cancelled,        ///< The stop token asked for it.
  NoSuchStream,     ///< The file has no stream of this id.
  NoSuchSignal,     ///< No signal has this name; `candidates` holds near ones.
  Ambiguous,        ///< Several signals have this name; `candidates` holds them.
  InvalidArgument,  ///< An argument that makes no sense, or a column read as another type than it has.
  Superseded,       ///< A later reading of the same file has taken the place of this one.
  Unwritable,       ///< A file cannot be written; the reason says why.
  Refused,          ///< What was asked for would not be true; the reason says what can be had.
};

/// "NoSuchSignal": the name of a code.
std::string_view nameOf(ErrorCode code);

/// The one exception type of the library. `what()` is a whole sentence for a person.
/// Thread safety: a value; copies may be used by several threads.
class Error : public std::runtime_error {
 public:
  Error(ErrorCode code, const std::string& reason, const std::string& file = {},
        std::optional<std::uint64_t> offset = {}, std::vector<std::string> candidates = {});

  ErrorCode code() const noexcept;
  /// The path of the file that was read; empty where no file is concerned.
  const std::string& file() const noexcept;
  /// The byte of the file at which the reason lies; none where it is no single place.
  std::optional<std::uint64_t> offset() const noexcept;
  /// What is wrong, without the file: "no such file".
  const std::string& reason() const noexcept;
  /// For a name that is ambiguous, the qualified names that it can mean; for one that is unknown, those near to it.
  const std::vector<std::string>& candidates() const noexcept;

 private:
  struct Data;
  std::shared_ptr<const Data> data_;
};

}  // namespace Kvex
