#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <zlib.h>

namespace Kvex::Support {

/// The lines of a gzip file.
class GzLines {
 public:
  explicit GzLines(const std::string& path) : file_(gzopen(path.c_str(), "rb")) {}
  ~GzLines() {
    if (file_ != nullptr) gzclose(file_);
  }
  GzLines(const GzLines&) = delete;
  GzLines& operator=(const GzLines&) = delete;

  bool next(std::string& line) {
    std::array<char, 4096> buffer;
    if (file_ == nullptr || gzgets(file_, buffer.data(), buffer.size()) == nullptr) return false;
    line = buffer.data();
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return true;
  }

 private:
  gzFile file_;
};

/// Whether a floating value of a signal agrees with its answer within what the order of additions may change.
inline bool agreesWithin(double value, double expected, bool isFloat, std::string_view signal) {
  if (std::isnan(value) || std::isnan(expected)) return std::isnan(value) == std::isnan(expected);
  if (value == expected) return true;
  const double relative = isFloat ? 1e-6 : 1e-9;
  const double absolute = signal.starts_with("RefFrame") ? 1e-8 : 1e-12;
  return std::abs(value - expected) <= std::max(absolute, relative * std::abs(expected));
}

}  // namespace Kvex::Support
