#include "library/OutputFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Kvex::Lib {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBuffered = 0x10000;

/// The permissions that a file gets when it is made in the ordinary way.
mode_t permissionsOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  buffer_.reserve(kBuffered);
  std::error_code ignored;
  const fs::file_status status = fs::status(path_, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail();
    return;
  }
  if (fs::exists(status)) {
    if (::access(path_.c_str(), W_OK) != 0) fail();
    path_ = fs::canonical(path_, ignored).string();
  }
  const fs::path target(path_);
  const std::string extension = target.extension().string();
  temporary_ = (target.parent_path() / ("." + target.filename().string() + ".XXXXXX" + extension)).string();
  descriptor_ = ::mkostemps(temporary_.data(), static_cast<int>(extension.size()), O_CLOEXEC);
  if (descriptor_ < 0) {
    const int error = errno;
    temporary_.clear();
    errno = error;
    fail();
  }
  ::fchmod(descriptor_, permissionsOf(path_));
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void OutputFile::fail() const {
  throw std::system_error(errno, std::generic_category());
}

void OutputFile::write(std::string_view bytes) {
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  if (buffer_.size() >= kBuffered) flush();
}

void OutputFile::flush() {
  std::string_view rest(buffer_.data(), buffer_.size());
  while (!rest.empty()) {
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail();
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
  buffer_.clear();
}

void OutputFile::commit() {
  flush();
  if (::close(std::exchange(descriptor_, -1)) != 0) fail();
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
  temporary_.clear();
}

}  // namespace Kvex::Lib
