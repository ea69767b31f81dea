#include "tool/Spool.h"

#include <array>
#include <cerrno>
#include <system_error>

#include "tool/Failure.h"

namespace Kvex::Tool {

namespace {

[[noreturn]] void fail() {
  throw Failure("cannot write a temporary file: " + std::generic_category().message(errno));
}

}  // namespace

void Spool::write(std::string_view text) {
  if (file_ == nullptr) file_.reset(std::tmpfile());
  if (file_ == nullptr || std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) fail();
  size_ += text.size();
}

void Spool::moveTo(Output& output) {
  if (size_ == 0) return;
  std::rewind(file_.get());
  std::array<char, 0x4000> piece;
  while (size_ > 0) {
    const std::size_t got = std::fread(piece.data(), 1, std::min(piece.size(), size_), file_.get());
    if (got == 0) fail();
    output.write({piece.data(), got});
    size_ -= got;
  }
  std::rewind(file_.get());
}

}  // namespace Kvex::Tool
