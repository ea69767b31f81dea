#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

#include "support/RecordingMutator.h"

namespace Kvex::Fuzz {

/// The file that an input becomes: the first byte picks its kind, the rest is its content. Removed at the end.
class InputAsFile {
 public:
  static bool takes(std::size_t size) { return size != 0 && size <= kMaxSize; }

  /// REQUIRES: `takes(size)`.
  InputAsFile(const std::uint8_t* data, std::size_t size)
      : path_((std::filesystem::temp_directory_path() / ("kvex-fuzz-" + std::to_string(::getpid()))).string() +
              kExtensions[data[0] % std::size(kExtensions)]) {
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(data) + 1, static_cast<std::streamsize>(size - 1));
  }
  ~InputAsFile() { std::filesystem::remove(path_); }
  InputAsFile(const InputAsFile&) = delete;
  InputAsFile& operator=(const InputAsFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  static constexpr std::size_t kMaxSize = 0x10000;
  static constexpr const char* kExtensions[] = {".vrel", ".QUON", ".dask", ".yeld", ".vrel"};

  std::string path_;
};

/// Changes an input, for a target's `LLVMFuzzerCustomMutator`; most of the time its kind stays.
inline std::size_t mutateFile(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
  if (size < 2 || seed % 64 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  return 1 + RecordingMutator(data + 1, size - 1, maxSize - 1, seed).mutate();
}

}  // namespace Kvex::Fuzz
