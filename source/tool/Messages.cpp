#include "tool/Messages.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Kvex::Tool {

void openStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free number is the one that is missing.
    if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) (void)!::open("/dev/null", O_RDWR);
  }
}

void sayRaw(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace Kvex::Tool
