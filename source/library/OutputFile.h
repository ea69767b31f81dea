#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Lib {

/// A file that is written under a temporary name beside its own, which it gets when it is complete. A device or pipe is
/// written to directly. What goes wrong is thrown as `std::system_error`.
class OutputFile {
 public:
  explicit OutputFile(std::string path);
  /// Removes what was written, unless `commit` was called.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view bytes);
  /// Writes what is still held, so that the file can be read under `writtenPath`.
  void flush();
  /// Where the bytes are until `commit`; its ending is that of the path.
  const std::string& writtenPath() const { return temporary_.empty() ? path_ : temporary_; }
  /// Whether what was written can be read again.
  bool isRegular() const { return !temporary_.empty(); }
  /// Brings the file to its place. Nothing may be written afterwards.
  void commit();

 private:
  [[noreturn]] void fail() const;

  std::string path_;       ///< Links followed.
  std::string temporary_;  ///< Empty where nothing is renamed.
  int descriptor_ = -1;
  std::vector<char> buffer_;
};

}  // namespace Kvex::Lib
