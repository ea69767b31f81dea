#include "store/Resource.h"

#include <algorithm>

namespace Kvex::Sto {

std::string lowerExtension(const std::string& path) {
  const std::size_t point = path.rfind('.');
  if (point == std::string::npos) return {};
  std::string text = path.substr(point);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

Resource::Resource(const ScanContext& context, std::uint32_t resourceIndex, ResourceKind resourceKind,
                   std::string filePath)
    : index(resourceIndex),
      kind(resourceKind),
      path(std::move(filePath)),
      extension(lowerExtension(path)),
      context_(context) {
  file_.open(path);
  size_ = file_.size();
}

Nano Resource::earliestStart() const {
  Nano earliest = INT64_MAX;
  for (const auto& [serial, stream] : streams) {
    if (stream->hasTime) earliest = std::min(earliest, stream->startSample().asInteger());
  }
  return earliest;
}

Nano Resource::latestEnd() const {
  Nano latest = 0;
  for (const auto& [serial, stream] : streams) {
    if (stream->hasTime) latest = std::max(latest, stream->endSample().asInteger());
  }
  return latest;
}

Stream& Resource::addBareStream(const Codec& codec, std::uint32_t serial) {
  std::unique_ptr<Stream>& stream = streams[serial];
  stream = codec.makeStream(kind, serial);
  stream->headerSeen = true;
  stream->header.primary = Com::TaggedPacket(stream->headerTag());
  stream->trailer = stream->header.primary;
  return *stream;
}

Resource::PassProgress::PassProgress(const Resource& resource, Phase phase) : resource_(resource), phase_(phase) {
  resource_.context_.progress.report(static_cast<std::int32_t>(resource_.index), phase_, 0.0);
}

Resource::PassProgress::~PassProgress() {
  resource_.context_.progress.report(static_cast<std::int32_t>(resource_.index), phase_, 100.0);
}

void Resource::PassProgress::moved(std::int64_t position) {
  if (resource_.size_ == 0 || position - reported_ < resource_.context_.config.progressBytes) return;
  reported_ = position;
  resource_.context_.progress.report(static_cast<std::int32_t>(resource_.index), phase_,
                                     100.0 * static_cast<double>(position) / static_cast<double>(resource_.size_));
}

}  // namespace Kvex::Sto
