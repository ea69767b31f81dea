#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Kvex::Lib {

/// A file opened for binary reading at any offset. Reads carry their own offset, so that a file can be closed and
/// opened again without losing a place.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile() { close(); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// Opens a file; does nothing if one is open already. False if it cannot be opened.
  bool open(const std::string& path);
  void close();
  bool isOpen() const { return descriptor_ >= 0; }

  /// Length of the open file in bytes; 0 where it is not known.
  std::int64_t size() const;
  /// Reads up to `count` bytes at `offset`. Gives the number read: 0 at the end, on an error, or with no file open.
  std::size_t readAt(std::int64_t offset, void* bytes, std::size_t count) const;

 private:
  int descriptor_ = -1;
};

}  // namespace Kvex::Lib
