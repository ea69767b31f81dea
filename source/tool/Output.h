#pragma once

#include <fmt/format.h>
#include <streambuf>
#include <string>
#include <string_view>

namespace Kvex::Tool {

/// Throws a `Failure` where a file of this path holds a recording or packets of a bare file, unless `force`.
void checkReplaceable(const std::string& path, bool force);

/// Where a command's results go: standard output, or a file that appears under its name only when it is complete.
/// What is written goes through one buffer, in whole records, so that an interrupt leaves no half of one behind.
/// Everything that goes wrong is thrown as a `Failure` that names the output.
class Output {
 public:
  struct Options {
    bool force = false;  ///< A recording in its place may be replaced.
    /// The descriptor is kept only while something is written, so that thousands of outputs can be there at a time.
    bool onlyToWrite = false;
  };

  /// An empty path, and "-", mean standard output. A path of a device or pipe is written to directly; any other file
  /// is written under a temporary name beside it.
  /// A recording or bare protocol file in its place is refused.
  explicit Output(std::string path = {});
  Output(std::string path, Options options);
  /// Removes what was written to a file, unless `finish` was called.
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// Append a record, or the next part of one, here.
  fmt::memory_buffer& buffer() { return buffer_; }
  /// What stands in the buffer ends with a whole record.
  void endRecord() {
    if (buffer_.size() >= flushSize_) flush();
  }
  /// Whole records; many at once do not go through the buffer.
  void write(std::string_view records);

  /// Writes what stands in the buffer.
  void flush();
  /// Brings everything to its place. Nothing may be written afterwards.
  void finish();

  bool isTerminal() const;

 private:
  static constexpr std::size_t kFlushSize = 0x10000;
  static constexpr std::size_t kSmallFlushSize = 0x2000;  ///< Of one of many.

  void openFile();
  void closeFile();
  void writeOut(std::string_view rest);
  [[noreturn]] void fail(int error) const;

  std::string path_;       ///< As given.
  std::string target_;     ///< The file's final name, links followed; empty where nothing is renamed.
  std::string temporary_;  ///< Its name until then.
  int descriptor_ = -1;
  bool onlyToWrite_ = false;  ///< The temporary file is opened for each write.
  std::size_t flushSize_ = kFlushSize;
  fmt::memory_buffer buffer_;
};

/// Writes to an `Output` through a standard stream.
class OutputStreambuf : public std::streambuf {
 public:
  explicit OutputStreambuf(Output& output) : output_(output) {}

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    output_.write({bytes, static_cast<std::size_t>(count)});
    return count;
  }
  int_type overflow(int_type character) override {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
      const char byte = traits_type::to_char_type(character);
      output_.write({&byte, 1});
    }
    return traits_type::not_eof(character);
  }

 private:
  Output& output_;
};

}  // namespace Kvex::Tool
