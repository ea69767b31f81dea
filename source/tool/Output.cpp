#include "tool/Output.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <kvex/Content.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "tool/Failure.h"
#include "tool/Interrupt.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;

/// The permissions that a file gets when it is made in the ordinary way.
mode_t permissionsOf(const std::string& target) {
  struct stat status {};
  if (::stat(target.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

void checkReplaceable(const std::string& path, bool force) {
  if (force || !holdsRecording(path)) return;
  throw Failure(fmt::format("\"{}\" holds a recording, which is not replaced without --force", printable(path)));
}

Output::Output(std::string path) : Output(std::move(path), Options{}) {}

Output::Output(std::string path, Options options) : path_(std::move(path)) {
  if (path_.empty() || path_ == "-") {
    path_.clear();
    descriptor_ = STDOUT_FILENO;
  } else {
    checkReplaceable(path_, options.force);
    openFile();
  }
  if (!options.onlyToWrite || temporary_.empty()) return;
  onlyToWrite_ = true;
  flushSize_ = kSmallFlushSize;
  closeFile();
}

Output::~Output() {
  if (descriptor_ >= 0 && descriptor_ != STDOUT_FILENO) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void Output::openFile() {
  std::error_code ignored;
  const fs::file_status status = fs::status(path_, ignored);
  if (fs::is_directory(status)) fail(EISDIR);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail(errno);
    return;
  }
  const bool exists = fs::exists(status);
  if (exists && ::access(path_.c_str(), W_OK) != 0) fail(errno);
  target_ = exists ? fs::canonical(path_, ignored).string() : path_;
  const fs::path target(target_);
  temporary_ = (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
  descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    const int error = errno;
    temporary_.clear();
    fail(error);
  }
  ::fchmod(descriptor_, permissionsOf(target_));
}

void Output::fail(int error) const {
  // Who reads no further wants no message either ("vrel export ... | head").
  if (path_.empty() && error == EPIPE) throw Failure("");
  const std::string name = path_.empty() ? "standard output" : '"' + printable(path_) + '"';
  throw Failure("cannot write " + name + ": " + std::generic_category().message(error));
}

void Output::write(std::string_view records) {
  if (records.size() < flushSize_) {
    buffer_.append(records);
    return endRecord();
  }
  flush();
  writeOut(records);
}

void Output::flush() {
  if (onlyToWrite_ && buffer_.size() == 0) return;
  writeOut({buffer_.data(), buffer_.size()});
  buffer_.clear();
}

void Output::closeFile() {
  if (descriptor_ < 0 || descriptor_ == STDOUT_FILENO) return;
  if (::close(std::exchange(descriptor_, -1)) != 0) fail(errno);
}

void Output::writeOut(std::string_view rest) {
  if (onlyToWrite_) {
    descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (descriptor_ < 0) fail(errno);
  }
  bool atLineStart = true;
  while (!rest.empty()) {
    if (interrupted()) {
      // A line that has left in part is completed, what follows it is dropped.
      if (atLineStart) throw Interrupted();
      rest = rest.substr(0, rest.find('\n') + 1);
    }
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    if (written == 0) continue;
    atLineStart = rest[static_cast<std::size_t>(written) - 1] == '\n';
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
  if (interrupted()) throw Interrupted();
  if (onlyToWrite_) closeFile();
}

void Output::finish() {
  flush();
  closeFile();
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
  temporary_.clear();
}

bool Output::isTerminal() const {
  return ::isatty(descriptor_) != 0;
}

}  // namespace Kvex::Tool
