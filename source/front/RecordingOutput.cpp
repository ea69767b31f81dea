#include "front/RecordingOutput.h"

#include <filesystem>
#include <kvex/Content.h>
#include <kvex/Error.h>
#include <system_error>
#include <utility>

#include "store/Resource.h"

namespace Kvex::Front {

void checkOutput(const std::string& out, std::string_view extension, const std::vector<std::string>& inputs,
                 const WriteOptions& options) {
  std::error_code ignored;
  for (const std::string& input : inputs) {
    if (std::filesystem::equivalent(input, out, ignored)) {
      throw Error(ErrorCode::InvalidArgument, "the output is the file that is read", out);
    }
  }
  const bool isFile = !std::filesystem::exists(out, ignored) || std::filesystem::is_regular_file(out, ignored);
  if (isFile && Sto::lowerExtension(out) != extension) {
    throw Error(ErrorCode::InvalidArgument, "the name of the output must end in " + std::string(extension), out);
  }
  if (!options.force && holdsRecording(out)) {
    throw Error(ErrorCode::Unwritable, "it holds a recording, which is not replaced unless that is forced", out);
  }
}

WrittenFile::WrittenFile(std::string path) : path_(std::move(path)) {
  doWork([&] { file_.emplace(path_); });
}

template <class Work>
void WrittenFile::doWork(Work&& work) try {
  work();
} catch (const std::system_error& error) {
  throw Error(ErrorCode::Unwritable, "it cannot be written: " + error.code().message(), path_);
}

void WrittenFile::write(std::string_view bytes) {
  doWork([&] { file_->write(bytes); });
}

std::string WrittenFile::readablePath() {
  doWork([&] { file_->flush(); });
  return file_->isRegular() ? file_->writtenPath() : std::string();
}

void WrittenFile::commit() {
  doWork([&] { file_->commit(); });
}

void RecordingOutput::begin() {
  for (Com::LogicalWriter& stream : streams_) stream.writePrimary();
  for (Com::LogicalWriter& stream : streams_) stream.writeHeaders();
}

void RecordingOutput::end() {
  for (Com::LogicalWriter& stream : streams_) stream.end();
}

}  // namespace Kvex::Front
