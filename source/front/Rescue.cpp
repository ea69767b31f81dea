#include <algorithm>
#include <kvex/Error.h>
#include <kvex/File.h>
#include <kvex/Writing.h>
#include <map>
#include <utility>

#include "front/OpenedFile.h"
#include "front/RecordingOutput.h"
#include "front/RecordingSource.h"
#include "library/Enumerations.h"
#include "library/Saturating.h"
#include "store/Resource.h"

namespace Kvex {

namespace {

using Front::RecordingOutput;
using Front::RecordingSource;
using Front::SourceStream;

constexpr unsigned kPasses = 2;

/// One stream on its way from the damaged recording to the sound one.
class Rescued {
 public:
  Rescued(SourceStream& source, RecordingOutput& output) : source_(source) {
    found_.serial = source.copy.serial();
    if (source.codec != nullptr)
      found_.codec = std::string(Lib::kStreamCodecNames.name(static_cast<std::uint8_t>(source.codec->code)));
    found_.saved = source.canBeCopied();
    if (found_.saved) writer_ = &output.addStream(source.copyForm());
  }

  const SourceStream& source() const { return source_; }
  bool isOurs() const { return found_.saved && source_.codec != nullptr; }

  void copyPage(const ogg_page& page) {
    ++pages_;
    if (writer_ == nullptr) return;
    const std::uint64_t before = found_.packets;
    source_.copy.addDataPage(page);
    source_.copy.takeData([&](std::span<const std::uint8_t> packet, std::int64_t granule) {
      writer_->addCopied(packet, granule);
      ++found_.packets;
    });
    if (found_.packets == before) return;
    ++fullPages_;
    writer_->flush();
  }

  /// What was lost, when all pages have been read.
  RescuedStream finish() {
    if (writer_ == nullptr) {
      found_.pagesLost = pages_;
      found_.packetsLost = pages_;
      return found_;
    }
    found_.pagesLost = source_.copy.pagesLost();
    const std::uint64_t perPage = fullPages_ > 0 ? (found_.packets + fullPages_ - 1) / fullPages_ : 1;
    const std::uint64_t torn = source_.copy.holes() + (source_.copy.hasBegunPacket() ? 1 : 0);
    found_.packetsLost = std::max(found_.pagesLost * perPage, torn);
    return found_;
  }

 private:
  SourceStream& source_;
  RescuedStream found_;
  Com::LogicalWriter* writer_ = nullptr;
  std::uint64_t pages_ = 0;
  std::uint64_t fullPages_ = 0;  ///< Pages that ended a packet.
};

/// Reads the result, to prove that it is whole, and takes over how much time the saved records span.
void prove(RecordingOutput& output, std::vector<RescuedStream>& streams, const std::string& out) {
  const std::string written = output.file().readablePath();
  if (written.empty()) return;
  const File result(written);
  std::map<std::uint32_t, const Stream*> bySerial;
  for (const Stream& stream : result.streams()) bySerial.emplace(stream.serial(), &stream);
  bool proven = result.judgement() == Judgement::Whole;
  for (RescuedStream& stream : streams) {
    if (!stream.saved || stream.codec.empty()) continue;
    const auto found = bySerial.find(stream.serial);
    if (found == bySerial.end()) {
      proven = false;
    } else if (found->second->hasTime()) {
      stream.time = std::max<Nano>(0, Lib::saturatingSubtract(found->second->end(), found->second->start()));
    }
  }
  if (!proven) throw Error(ErrorCode::Unwritable, "what was written is not whole: " + result.damage().sentence(), out);
}

/// The times that the damage took, as far as the damaged file itself can be read.
void addTimeLost(const std::string& path, std::vector<RescuedStream>& streams) try {
  const File damaged(path);
  for (const Stream& stream : damaged.streams()) {
    const auto found = std::ranges::find(streams, stream.serial(), &RescuedStream::serial);
    if (found != streams.end()) found->timeLost = damaged.damage().timeLost(stream.id());
  }
} catch (const Error&) {
  // Nothing of it could be read before, or it has another name than recordings have.
}

}  // namespace

RescueReport rescue(const std::string& path, const std::string& out, const WriteOptions& options) {
  Front::WriteWatch watch(options, kPasses);
  Front::checkOutput(out, Sto::kRecordingExtension, {path}, options);
  RecordingSource source(path, watch);
  RecordingOutput output(out);
  std::map<const SourceStream*, Rescued> rescued;
  for (SourceStream& stream : source.streams()) rescued.try_emplace(&stream, stream, output);
  if (std::ranges::none_of(rescued, [](const auto& entry) { return entry.second.isOurs(); })) {
    throw Error(ErrorCode::Empty, "nothing to save: no stream has a header that is whole", path);
  }
  output.begin();
  source.restart();
  while (source.readBlock([&](SourceStream& stream, const ogg_page& page) { rescued.at(&stream).copyPage(page); })) {
  }
  output.end();

  RescueReport report;
  report.junkBytes = source.junkBytes();
  report.pagesUnclaimed = source.pagesUnclaimed();
  report.lost = report.pagesUnclaimed > 0;
  for (const SourceStream& stream : source.streams()) {
    report.streams.push_back(rescued.at(&stream).finish());
    const bool endLost = !stream.copy.ended() && source.hasJunkBehind(stream.lastPage);
    report.endLost |= endLost;
    report.lost |= endLost || !report.streams.back().saved || report.streams.back().packetsLost > 0;
  }
  prove(output, report.streams, out);
  if (report.lost) addTimeLost(path, report.streams);
  watch.check();
  output.file().commit();
  return report;
}

}  // namespace Kvex
