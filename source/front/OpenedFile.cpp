#include "front/OpenedFile.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <kvex/Error.h>
#include <system_error>

#include "codecs.h"
#include "front/DamageData.h"
#include "front/SignalData.h"
#include "front/StreamData.h"
#include "library/InputFile.h"
#include "store/Resource.h"

namespace Kvex::Front {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kProgressInterval{50};

std::atomic<std::uint64_t> openedFiles = 0;

void checkReadable(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) throw Error(ErrorCode::NotFound, "no such file", path);
  if (error) throw Error(ErrorCode::Unreadable, error.message(), path);
  if (!fs::is_regular_file(status)) throw Error(ErrorCode::Unreadable, "it is no regular file", path);
  Lib::InputFile file;
  if (!file.open(path)) throw Error(ErrorCode::Unreadable, std::generic_category().message(errno), path);
}

void checkKind(const std::string& path) {
  std::string endings(Sto::kRecordingExtension);
  const std::string extension = Sto::lowerExtension(path);
  bool known = extension == endings;
  for (const Sto::Codec& codec : allCodecs()) {
    if (codec.extension.empty()) continue;
    known |= extension == codec.extension;
    endings.append(", ").append(codec.extension);
  }
  if (!known) throw Error(ErrorCode::UnknownKind, "its name must end in one of " + endings, path);
}

Activity activityOf(Sto::Phase phase) {
  switch (phase) {
    case Sto::Phase::FirstPass:
    case Sto::Phase::FirstRangePass:
      return Activity::FirstPass;
    case Sto::Phase::SecondPass:
    case Sto::Phase::SecondRangePass:
      return Activity::SecondPass;
    case Sto::Phase::Seek:
      return Activity::Seek;
    default:
      return Activity::Identification;
  }
}

/// Takes all reports that are there, and hands the newest one on.
void handOn(Sto::ProgressSource& ring, const ProgressCallback& progress) {
  std::optional<Sto::ProgressRecord> newest;
  while (const auto record = ring.take()) newest = record;
  if (newest) progress({activityOf(newest->phase), static_cast<double>(newest->percent) / 100.0});
}

}  // namespace

void doWatched(Sto::DataStore& store, const ProgressCallback& progress, const std::function<void()>& work) {
  if (!progress) {
    work();
    return;
  }
  std::future<void> working = std::async(std::launch::async, work);
  try {
    while (working.wait_for(kProgressInterval) != std::future_status::ready) handOn(store.progress(), progress);
    handOn(store.progress(), progress);
  } catch (...) {
    store.cancel();
    working.wait();
    throw;
  }
  working.get();
}

OpenedFile::OpenedFile(const std::string& filePath, const OpenOptions& options)
    : number(++openedFiles), path(filePath), store(Sto::StoreConfig{}, allCodecs()) {
  checkReadable(path);
  checkKind(path);
  scan(options);
  describe();
}

void OpenedFile::scan(const OpenOptions& options) {
  const std::stop_callback cancelOnStop(options.stop, [this] { store.cancel(); });
  std::vector<std::uint32_t> ids;
  Sto::StoreStatus status;
  doWatched(store, options.progress, [&] { status = store.addFile(path, ids); });
  if (options.stop.stop_requested()) throw Error(ErrorCode::Cancelled, "opening was cancelled", path);
  if (!(status == Sto::StoreStatus::Success)) throw Error(ErrorCode::Empty, std::string(status.reason), path);
}

void OpenedFile::checkPackets(const Sto::Resource& resource) const {
  if (resource.kind == Sto::ResourceKind::Recording || resource.health.scan.packets > 0) return;
  throw Error(ErrorCode::Empty, "no packets of " + std::string(streams.front().codec()) + " found", path);
}

void OpenedFile::describe() {
  const bool hasStart = store.startTime(span.start) == Sto::StoreStatus::Success;
  hasTime = store.endTime(span.end) == Sto::StoreStatus::Success && hasStart;
  const Span damageSpan = hasTime ? span : Span{};
  std::uint32_t id = 0;
  while (store.visitStream(id, [&](const Sto::Stream& stream, const Sto::Resource& resource) {
    streams.push_back(StreamAccess::make(stream, resource, number));
    if (!damage) checkPackets(resource);
    if (!damage) damage = DamageAccess::judge(resource, damageSpan);
  })) {
    const std::vector<Signal>& ofStream = streams.back().signals();
    signals.insert(signals.end(), ofStream.begin(), ofStream.end());
    ++id;
  }
}

void OpenedFile::checkTime() const {
  if (!hasTime) throw Error(ErrorCode::NoTime, "no stream has time, so there are no values over time", path);
}

std::vector<Signal> OpenedFile::readable(const SignalList& list) const {
  checkTime();
  std::vector<Signal> found = finder().resolve(list);
  if (found.empty()) throw Error(ErrorCode::InvalidArgument, "no signal is asked for", path);
  for (const Signal& signal : found) {
    const SignalAccess::Data& data = SignalAccess::of(signal);
    if (data.file != number) {
      throw Error(ErrorCode::InvalidArgument, "\"" + signal.qualifiedName() + "\" is a signal of another file", path);
    }
    if (!data.hasTime) {
      throw Error(ErrorCode::NoTime,
                  "stream " + std::to_string(signal.stream()) + " has no time, so that its values cannot be read",
                  path);
    }
  }
  return found;
}

}  // namespace Kvex::Front
