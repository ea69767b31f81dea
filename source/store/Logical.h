#pragma once

#include <cstdint>
#include <string>

#include "library/ByteView.h"
#include "library/InputFile.h"

namespace Kvex::Sto {

/// The reader that serves one Stream: its own handle on the file, its own position in it, and the packets of that
/// Stream. Streams of one file therefore walk independently.
class Logical {
 public:
  virtual ~Logical() = default;

  /// Back to the first packet.
  virtual void rewind() = 0;
  /// The next packet of this Stream, valid until the next call. False at the end of the data or with the file closed.
  virtual bool next(Lib::ByteView& packet) = 0;

  /// Opens the file if it is closed; reading goes on where it stood.
  void resume() { file_.open(path_); }
  /// Closes the file. The position is kept.
  void close() { file_.close(); }

  const std::string& path() const { return path_; }

 protected:
  explicit Logical(std::string path) : path_(std::move(path)) {}

  std::string path_;
  Lib::InputFile file_;
};

}  // namespace Kvex::Sto
