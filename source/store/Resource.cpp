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

Logical* Resource::logical(std::uint32_t serial) const {
  const auto found = logicals.find(serial);
  return found == logicals.end() ? nullptr : found->second.get();
}

Stream& Resource::addBareStream(const Codec& codec, std::uint32_t serial, std::vector<Com::TaggedPacket> headers) {
  std::unique_ptr<Stream>& stream = streams[serial];
  stream = codec.makeStream({codec.code, kind, serial});
  Com::TaggedHeader header;
  header.primary = Com::TaggedPacket(primaryTag(codec.code));
  const Com::TaggedPacket trailer = header.primary;
  for (Com::TaggedPacket& packet : headers) header.addHeader(std::move(packet));
  stream->takeHeader(std::move(header), trailer);
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
