#pragma once

#include <cstdint>
#include <filesystem>

namespace Kvex::Tool {

/// Exit codes of `vrel2fix`.
enum ExitCode : int {
  kSuccess = 0,
  kBadPeriod = -1,     ///< The seconds per sample are not a positive integer.
  kBadArguments = -2,  ///< Wrong number of arguments, or an unknown flag.
  kNoInput = -3,       ///< The input file does not exist, or its status cannot be read.
  kNoStreams = -4,     ///< The file yielded no streams.
  kNoZintStream = -5,  ///< No stream of self-describing signals.
  kOutputFailed = -6,  ///< The output file could not be opened or written.
};

struct ConversionOptions {
  std::filesystem::path inputPath;
  std::filesystem::path outputPath;
  std::int32_t secondsPerSample = 1;  ///< Above 0.
};

/// Converts a recording to a text file of time;latitude;longitude;altitude, one line per period. Says what it does on
/// standard output and what goes wrong on standard error; returns the process's exit code.
int convert(const ConversionOptions& options);

}  // namespace Kvex::Tool
