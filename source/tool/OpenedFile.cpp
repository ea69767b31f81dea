#include "tool/OpenedFile.h"

#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>

#include "codecs.h"
#include "library/InputFile.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void failToRead(const std::string& path, const std::string& reason) {
  throw Failure(fmt::format("cannot read \"{}\": {}", printable(path), reason));
}

/// Why a file could not be added to a store.
[[noreturn]] void explainFailure(const std::string& path) {
  std::string endings = ".vrel";
  bool known = Sto::lowerExtension(path) == endings;
  for (const Sto::Codec& codec : allCodecs()) {
    if (codec.extension.empty()) continue;
    known |= Sto::lowerExtension(path) == codec.extension;
    endings.append(", ").append(codec.extension);
  }
  failToRead(path, known ? "it holds no stream of a known kind" : "its name must end in one of " + endings);
}

void checkReadable(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) failToRead(path, error ? error.message() : "no such file");
  if (!fs::is_regular_file(status)) failToRead(path, "it is no regular file");
  Lib::InputFile file;
  if (!file.open(path)) failToRead(path, std::generic_category().message(errno));
}

}  // namespace

OpenedFile::OpenedFile(const std::string& filePath) : path(filePath), store(Sto::StoreConfig{}, allCodecs()) {
  checkReadable(path);
  progress.follow(store.progress());
  const Sto::StoreStatus status = store.addFile(path, streamIds);
  progress.stop();
  if (status == Sto::StoreStatus::Cancelled) throw Interrupted();
  if (status != Sto::StoreStatus::Success) explainFailure(path);
  hasTime = store.startTime(start) == Sto::StoreStatus::Success;
  store.endTime(end);
  visitResource([&](const Sto::Resource& resource) { damaged_ = resource.damage.lossy(); });
}

std::vector<Sto::SignalListing> OpenedFile::signalsOf(const Sto::Stream& stream) {
  std::vector<Sto::SignalListing> listings;
  stream.listSignals(listings, ~0U);
  return listings;
}

void OpenedFile::warnOfDamage() const {
  if (!damaged_) return;
  fmt::print(stderr, "vrel: warning: data in \"{}\" was damaged or lost; \"vrel check\" tells what\n", printable(path));
}

}  // namespace Kvex::Tool
