#include <algorithm>
#include <filesystem>
#include <kvex/Error.h>
#include <kvex/File.h>
#include <kvex/Writing.h>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "front/RecordingOutput.h"
#include "front/RecordingSource.h"
#include "store/Resource.h"

namespace Kvex {

namespace {

using Front::RecordingOutput;
using Front::RecordingSource;
using Front::SourceStream;
using Front::WriteWatch;

/// Serial numbers that are changed, old to new.
using Renamed = std::map<std::uint32_t, std::uint32_t>;

/// A "{Kvex-Range}" header with other serial numbers; any other header as it is.
std::string withSerials(const std::string& header, const Renamed& renamed) {
  constexpr std::string_view kTag = "{Kvex-Range}";
  constexpr std::string_view kKey = ".Vrel.Serial=";
  constexpr std::string_view kDigits = "0123456789";
  if (renamed.empty() || !header.starts_with(kTag)) return header;
  std::string result;
  std::size_t copied = 0;
  for (std::size_t key = header.find(kKey); key != std::string::npos; key = header.find(kKey, key + 1)) {
    const std::size_t value = key + kKey.size();
    const std::size_t end = std::min(header.find_first_not_of(kDigits, value), header.size());
    constexpr std::size_t kMostDigits = 10;
    if (end == value || end - value > kMostDigits) continue;
    const auto found = renamed.find(static_cast<std::uint32_t>(std::stoull(header.substr(value, end - value))));
    if (found == renamed.end()) continue;
    result.append(header, copied, value - copied).append(std::to_string(found->second));
    copied = end;
  }
  return result.append(header, copied);
}

/// One recording on its way into the merge.
class Input {
 public:
  Input(const std::string& path, std::size_t number, WriteWatch& watch) : source_(path, watch), number_(number) {}

  void addSerials(std::set<std::uint32_t>& all) const {
    for (const SourceStream& stream : source_.streams()) all.insert(stream.copy.serial());
  }

  /// Opens the streams of the output. `taken`: the serial numbers of the output so far, `all`: those of all inputs.
  void open(RecordingOutput& output, std::set<std::uint32_t>& taken, std::set<std::uint32_t>& all) {
    Renamed renamed;
    for (const SourceStream& stream : source_.streams()) {
      const std::uint32_t serial = stream.copy.serial();
      if (taken.insert(serial).second) continue;
      std::uint32_t free = serial;
      while (!all.insert(++free).second) {
      }
      taken.insert(free);
      renamed.emplace(serial, free);
    }
    for (const SourceStream& stream : source_.streams()) {
      if (!stream.canBeCopied()) continue;
      const auto found = renamed.find(stream.copy.serial());
      const std::uint32_t serial = found == renamed.end() ? stream.copy.serial() : found->second;
      Com::StreamForm form = stream.copyForm();
      form.serial = serial;
      for (std::string& header : form.headers) header = withSerials(header, renamed);
      Merged& merged = streams_[&stream];
      merged.report = {.input = number_, .serial = stream.copy.serial(), .newSerial = serial};
      merged.writer = &output.addStream(std::move(form));
      merged.decoder = stream.makeDecoder();
    }
  }

  /// Finds out where the times of the streams begin, and goes back to the start.
  void probe() {
    source_.restart();
    std::set<const SourceStream*> probing;
    for (const auto& [stream, merged] : streams_) {
      if (merged.decoder != nullptr) probing.insert(stream);
    }
    while (!probing.empty() && readBlock([&](const SourceStream& stream, std::span<const std::uint8_t> packet, auto) {
      if (probing.contains(&stream) && streams_[&stream].decoder->take(packet, Sto::Pass::Probe))
        probing.erase(&stream);
    })) {
    }
    source_.restart();
    for (auto& [stream, merged] : streams_) {
      if (merged.decoder == nullptr) continue;
      merged.decoder->endProbe();
      merged.decoder->want({});
      merged.decoder->reset();
    }
  }

  /// Copies the next block of the file. The clock is then the newest time of any stream.
  void copyBlock() {
    more_ = readBlock([&](const SourceStream& stream, std::span<const std::uint8_t> packet, std::int64_t granule) {
      Merged& merged = streams_[&stream];
      if (merged.decoder != nullptr) {
        merged.decoder->take(packet, Sto::Pass::Walk);
        if (const Nano time = merged.decoder->knownTime(); time != kNoTime) clock_ = std::max(clock_, time);
      }
      merged.writer->addCopied(packet, granule);
      if (granule >= 0) merged.writer->flush();
      ++merged.report.packets;
    });
  }

  bool more() const { return more_; }
  Nano clock() const { return clock_; }
  void addReport(MergeReport& report) {
    for (const SourceStream& stream : source_.streams()) {
      if (const auto merged = streams_.find(&stream); merged != streams_.end()) {
        report.streams.push_back(merged->second.report);
      }
    }
  }

 private:
  struct Merged {
    Com::LogicalWriter* writer = nullptr;
    std::unique_ptr<Sto::Stream> decoder;  ///< None where the packets cannot be decoded.
    MergedStream report;
  };

  template <class Visitor>
  bool readBlock(Visitor&& visitor) {
    const bool more = source_.readBlock([&](SourceStream& stream, const ogg_page& page) {
      if (streams_.contains(&stream)) stream.copy.addDataPage(page);
    });
    for (SourceStream& stream : source_.streams()) {
      if (!streams_.contains(&stream)) continue;
      stream.copy.takeData(
          [&](std::span<const std::uint8_t> packet, std::int64_t granule) { visitor(stream, packet, granule); });
    }
    return more;
  }

  RecordingSource source_;
  const std::size_t number_;
  std::map<const SourceStream*, Merged> streams_;
  bool more_ = true;
  Nano clock_ = INT64_MIN;
};

/// Throws for what cannot be merged. Gives whether data of an input is damaged.
bool checkInputs(const std::vector<std::string>& paths, const WriteOptions& options) {
  if (paths.size() < 2) throw Error(ErrorCode::InvalidArgument, "a merge takes two recordings or more");
  bool damaged = false;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const File file(paths[i], {.stop = options.stop});
    if (Sto::lowerExtension(paths[i]) != Sto::kRecordingExtension) {
      throw Error(ErrorCode::InvalidArgument, "only recordings can be merged, not bare files", paths[i]);
    }
    std::error_code ignored;
    for (std::size_t j = 0; j < i; ++j) {
      if (std::filesystem::equivalent(paths[i], paths[j], ignored)) {
        throw Error(ErrorCode::InvalidArgument, "a recording is given twice: " + paths[i], paths[i]);
      }
    }
    if (!file.hasTime()) throw Error(ErrorCode::NoTime, "no stream has time: " + paths[i], paths[i]);
    damaged |= file.judgement() == Judgement::Damaged;
  }
  return damaged;
}

}  // namespace

MergeReport merge(const std::vector<std::string>& paths, const std::string& out, const WriteOptions& options) {
  Front::checkOutput(out, Sto::kRecordingExtension, paths, options);
  MergeReport report;
  report.damaged = checkInputs(paths, options);
  WriteWatch watch(options, static_cast<unsigned>(2 * paths.size()));
  std::vector<std::unique_ptr<Input>> inputs;
  std::set<std::uint32_t> all;
  for (const std::string& path : paths) {
    inputs.push_back(std::make_unique<Input>(path, inputs.size(), watch));
    inputs.back()->addSerials(all);
  }
  RecordingOutput output(out);
  std::set<std::uint32_t> taken;
  for (const auto& input : inputs) input->open(output, taken, all);
  output.begin();
  for (const auto& input : inputs) input->probe();
  for (;;) {
    Input* next = nullptr;
    for (const auto& input : inputs) {
      if (input->more() && (next == nullptr || input->clock() < next->clock())) next = input.get();
    }
    if (next == nullptr) break;
    next->copyBlock();
    if (!next->more()) watch.endPass();
  }
  output.end();
  for (const auto& input : inputs) input->addReport(report);
  if (const std::string written = output.file().readablePath(); !written.empty()) {
    const File result(written, {.stop = options.stop});
    if (result.judgement() != Judgement::Whole) {
      throw Error(ErrorCode::Unwritable, "what was written is not whole: " + result.damage().sentence(), out);
    }
  }
  watch.check();
  output.file().commit();
  return report;
}

}  // namespace Kvex
