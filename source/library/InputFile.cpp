#include "library/InputFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kvex::Lib {

bool InputFile::open(const std::string& path) {
  if (!isOpen()) descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  return isOpen();
}

void InputFile::close() {
  if (isOpen()) ::close(descriptor_);
  descriptor_ = -1;
}

std::int64_t InputFile::size() const {
  struct stat status {};
  return isOpen() && ::fstat(descriptor_, &status) == 0 ? status.st_size : 0;
}

std::size_t InputFile::readAt(std::int64_t offset, void* bytes, std::size_t count) const {
  if (!isOpen()) return 0;
  std::size_t total = 0;
  while (total < count) {
    const ssize_t got = ::pread(descriptor_, static_cast<char*>(bytes) + total, count - total,
                                offset + static_cast<std::int64_t>(total));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

}  // namespace Kvex::Lib
