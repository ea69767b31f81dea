#include "front/RecordingSource.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <kvex/Error.h>
#include <string_view>
#include <system_error>
#include <utility>

#include "codecs.h"

namespace Kvex::Front {

namespace {

constexpr std::chrono::milliseconds kProgressInterval{50};

const Sto::Codec* codecOf(const ogg_page& page) {
  const std::string_view body(reinterpret_cast<const char*>(page.body), static_cast<std::size_t>(page.body_len));
  const Sto::CodecList codecs = allCodecs();
  const auto found = std::find_if(codecs.begin(), codecs.end(), [&](const Sto::Codec& codec) {
    return body.starts_with(Sto::primaryTag(codec.code));
  });
  return found == codecs.end() ? nullptr : &*found;
}

/// The primary packet with another number of header packets.
std::string withHeaderCount(std::string primary, std::size_t count) {
  constexpr std::string_view kKey = "headers=";
  const std::size_t key = primary.find(kKey);
  if (key == std::string::npos) return primary;
  const std::size_t value = key + kKey.size();
  const std::size_t end = std::min(primary.find_first_not_of("0123456789", value), primary.size());
  return primary.replace(value, end - value, std::to_string(count));
}

}  // namespace

void WriteWatch::check() const {
  if (options_.stop.stop_requested()) throw Error(ErrorCode::Cancelled, "writing was cancelled");
}

void WriteWatch::moved(double fraction) {
  if (!options_.progress) return;
  const Clock::time_point now = Clock::now();
  if (now - reportedAt_ < kProgressInterval) return;
  reportedAt_ = now;
  options_.progress({Activity::Writing, std::clamp((passesDone_ + fraction) / passes_, 0.0, 1.0)});
}

Com::StreamForm SourceStream::copyForm() const {
  const Com::RawHeader& header = copy.header();
  const std::size_t count = header.headers.size();
  std::string primary = header.primary;
  if (!saysItsKind()) {
    primary = Com::primaryText(Sto::primaryTag(codec->code), count);
  } else if (!copy.headerWhole()) {
    primary = withHeaderCount(primary, count);
  }
  return Com::copyForm(copy.serial(), std::move(primary), header.headers);
}

/// The first packet may be torn where the first page is not.
bool SourceStream::saysItsKind() const {
  return codec == nullptr || copy.header().primary.starts_with(Sto::primaryTag(codec->code));
}

std::unique_ptr<Sto::Stream> SourceStream::makeDecoder() const {
  if (codec == nullptr || !copy.headerSettled()) return nullptr;
  std::unique_ptr<Sto::Stream> stream = codec->makeStream({codec->code, Sto::ResourceKind::Recording, copy.serial()});
  stream->takeHeader(copy.tagged(), copy.trailer());
  return stream->headerAccepted() ? std::move(stream) : nullptr;
}

RecordingSource::RecordingSource(std::string path, WriteWatch& watch, std::size_t streams)
    : path_(std::move(path)), watch_(watch) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path_, error);
  if (!std::filesystem::exists(status)) throw Error(ErrorCode::NotFound, "no such file", path_);
  if (!std::filesystem::is_regular_file(status)) throw Error(ErrorCode::Unreadable, "it is no regular file", path_);
  if (!file_.open(path_)) throw Error(ErrorCode::Unreadable, std::generic_category().message(errno), path_);
  bool more = true;
  const auto settled = [](const SourceStream& stream) {
    return stream.codec != nullptr && stream.copy.headerSettled();
  };
  while (more && static_cast<std::size_t>(std::ranges::count_if(streams_, settled)) < streams) {
    watch_.check();
    more = reader_.readBlock(file_, kBlock, [&](const ogg_page& page) { meetPage(page); });
    watch_.moved(fraction());
  }
  watch_.endPass();
}

void RecordingSource::meetPage(const ogg_page& page) {
  if (ogg_page_bos(&page) != 0) meetFirstPage(page);
  const auto found = bySerial_.find(static_cast<std::uint32_t>(ogg_page_serialno(&page)));
  if (found != bySerial_.end()) found->second->copy.readHeader(page);
}

void RecordingSource::meetFirstPage(const ogg_page& page) {
  const auto serial = static_cast<std::uint32_t>(ogg_page_serialno(&page));
  const Sto::Codec* codec = codecOf(page);
  if (const auto known = bySerial_.find(serial); known != bySerial_.end()) {
    if (codec == nullptr || known->second->codec != nullptr) return;
    // A foreign page strayed ahead of it: for every reader the stream begins here.
    streams_.erase(known->second);
    bySerial_.erase(known);
    --foreign_;
  }
  const std::size_t alike = codec == nullptr ? foreign_ : streams_.size() - foreign_;
  if (alike >= kMaxStreams) return;
  foreign_ += codec == nullptr ? 1 : 0;
  bySerial_.emplace(serial, streams_.emplace(streams_.end(), serial, codec));
}

void RecordingSource::restart() {
  reader_.restart();
  pages_ = unclaimed_ = skippedBefore_ = pagesBeforeJunk_ = 0;
  for (SourceStream& stream : streams_) stream.copy.beginData();
}

double RecordingSource::fraction() const {
  const std::int64_t size = file_.size();
  return size > 0 ? static_cast<double>(reader_.position()) / static_cast<double>(size) : 1.0;
}

}  // namespace Kvex::Front
