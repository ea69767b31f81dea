#include "library/Status.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Kvex::Lib {

namespace {

constexpr std::array kMessages = {
    "successful operation",
    "unable to allocate required memory space",
    "NULL pointer encountered",
    "numerical argument out of range",
    "insufficient memory space allocated",
    "ill-conditioned operation",
    "unable to open file",
    "incorrect file format",
    "internal inconsistency",
    "protocol error",
    "file system error",
    "code not written yet",
    "hardware error",
};

constexpr std::array kSeverityNames = {"Warning", "Error", "Fatal error", "Killed", "Info"};

const char* severityName(Severity severity) {
  // A negative severity becomes a large index.
  const auto index = static_cast<std::size_t>(severity);
  return kSeverityNames[index < kSeverityNames.size() ? index : static_cast<std::size_t>(Severity::Error)];
}

const char* lastComponent(const char* path) {
  if (path == nullptr) return "";
  const std::size_t separator = std::string_view(path).find_last_of("\\/");
  return separator == std::string_view::npos ? path : path + separator + 1;
}

}  // namespace

const char* statusMessage(Status code) {
  return code < kMessages.size() ? kMessages[code] : "unknown status";
}

Status report(Status code, Severity severity, const char* sourceFile, std::int32_t line, const char* functionName,
              const char* text) {
  std::fprintf(stderr, "*** %s ", severityName(severity));
  if (functionName != nullptr && *functionName != '\0') {
    std::fprintf(stderr, "in function %s() ", functionName);
  } else {
    std::fputs("in unknown function ", stderr);
  }
  if (line >= 0) {
    std::fprintf(stderr, "at line %d ", line);
  } else {
    std::fputs("at unknown line ", stderr);
  }
  if (const char* const fileName = lastComponent(sourceFile); *fileName != '\0') {
    std::fprintf(stderr, "of file %s ***\n", fileName);
  } else {
    std::fputs("of unknown file ***\n", stderr);
  }
  std::fprintf(stderr, "--> %s\n", text != nullptr ? text : statusMessage(code));
  std::fflush(stderr);
  std::fflush(stdout);
  if (severity == Severity::Killed) std::exit(EXIT_FAILURE);
  return kSuccess;
}

}  // namespace Kvex::Lib
