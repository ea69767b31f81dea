#pragma once

#include <deque>
#include <kvex/Writing.h>
#include <string>
#include <string_view>
#include <vector>

#include "library/OutputFile.h"
#include "recording/LogicalWriter.h"

namespace Kvex::Front {

/// Throws `InvalidArgument` for an output that is one of the inputs, whose name does not end as asked, and that holds a
/// recording or packets that may not be replaced.
void checkOutput(const std::string& out, std::string_view extension, const std::vector<std::string>& inputs,
                 const WriteOptions& options);

/// A file that is written, with failures as `Error`.
class WrittenFile {
 public:
  explicit WrittenFile(std::string path);

  void write(std::string_view bytes);
  /// Where all that was written can be read until `commit`; empty where it cannot.
  std::string readablePath();
  void commit();

 private:
  template <class Work>
  void doWork(Work&& work);

  std::string path_;
  std::optional<Lib::OutputFile> file_;
};

/// A recording that is written of copied packets. Holds the page that each stream has begun.
class RecordingOutput : public Com::PageSink {
 public:
  explicit RecordingOutput(const std::string& path) : file_(path) {}

  /// A further stream; the reference is good for as long as the recording.
  Com::LogicalWriter& addStream(Com::StreamForm form) { return streams_.emplace_back(*this, std::move(form)); }
  /// Writes the first pages of all streams and then all headers.
  void begin();
  /// Writes the end pages.
  void end();

  WrittenFile& file() { return file_; }
  void writePage(std::string_view page) override { file_.write(page); }

 private:
  WrittenFile file_;
  std::deque<Com::LogicalWriter> streams_;
};

}  // namespace Kvex::Front
