#include "front/Cut.h"

#include <algorithm>
#include <functional>
#include <kvex/Error.h>
#include <kvex/File.h>
#include <set>

#include "front/CutPlan.h"
#include "front/DamageTexts.h"
#include "front/Reading.h"
#include "front/RecordingOutput.h"
#include "front/RecordingSource.h"
#include "store/Resource.h"

namespace Kvex::Front {

namespace {

/// Where the end of a refused span is moved to, to find one whose times can be known.
constexpr Nano kSteps[] = {kNanosPerSecond, 10 * kNanosPerSecond, 60 * kNanosPerSecond, 600 * kNanosPerSecond};

/// The plans of the streams of a cut, by serial.
using Plans = std::map<std::uint32_t, StreamPlan>;

/// A cut in the making: all of the work but what goes into the report.
class Cutter {
 public:
  Cutter(OpenedFile& file, const CutOptions& options, std::vector<Stream> streams, WriteWatch& watch)
      : file_(file), options_(options), streams_(std::move(streams)), watch_(watch) {}

  Plans plan(const CutSpan& span) {
    Plans plans;
    for (const Stream& stream : streams_) {
      if (stream.hasTime()) plans.emplace(stream.serial(), planStream(file_, stream, span, watch_));
    }
    return plans;
  }

  void write(const std::string& out, const Plans& plans, const std::function<void(const std::string& written)>& prove) {
    if (Sto::lowerExtension(file_.path) == Sto::kRecordingExtension) {
      RecordingOutput output(out);
      copyRecording(output, plans);
      finish(output.file(), prove);
    } else {
      WrittenFile output(out);
      copyBare(output, plans);
      finish(output, prove);
    }
  }

 private:
  void finish(WrittenFile& output, const std::function<void(const std::string& written)>& prove) {
    if (const std::string written = output.readablePath(); !written.empty()) prove(written);
    watch_.check();
    output.commit();
  }

  void copyBare(WrittenFile& output, const Plans& plans) {
    Sto::PacketRanges ranges;
    for (const auto& [serial, plan] : plans) ranges.emplace(serial, plan.range);
    if (ranges.empty()) return;
    file_.store.copyPackets(plans.begin()->second.id, ranges, [&](Lib::ByteView packet) {
      watch_.check();
      output.write({reinterpret_cast<const char*>(packet.data()), packet.size()});
    });
  }

  /// A stream on its way. One without time, or of another kind, is copied while the others are.
  struct Copied {
    Com::LogicalWriter* writer = nullptr;
    const StreamPlan* plan = nullptr;
    std::uint64_t packets = 0;

    bool begun() const { return plan != nullptr && packets > plan->range.first; }
    bool done() const { return plan == nullptr || packets >= plan->range.end; }
  };

  bool isChosen(const SourceStream& stream) const {
    if (stream.codec == nullptr) return options_.streams.empty();
    return std::ranges::any_of(streams_, [&](const Stream& s) { return s.serial() == stream.copy.serial(); });
  }

  void copyRecording(RecordingOutput& output, const Plans& plans) {
    const auto seen = std::ranges::count_if(file_.streams, [](const Stream& s) { return s.headerSeen(); });
    RecordingSource source(file_.path, watch_, static_cast<std::size_t>(seen));
    std::map<const SourceStream*, Copied> copies;
    for (const SourceStream& stream : source.streams()) {
      if (!isChosen(stream) || !stream.canBeCopied()) continue;
      Copied& copy = copies[&stream];
      copy.writer = &output.addStream(stream.copyForm());
      const auto plan = plans.find(stream.copy.serial());
      if (plan != plans.end()) copy.plan = &plan->second;
    }
    output.begin();
    source.restart();
    bool more = true;
    while (more) {
      more = source.readBlock([&](SourceStream& stream, const ogg_page& page) {
        if (copies.contains(&stream)) stream.copy.addDataPage(page);
      });
      const bool begun = plans.empty() || std::ranges::any_of(copies, [](const auto& c) { return c.second.begun(); });
      for (SourceStream& stream : source.streams()) {
        if (const auto copy = copies.find(&stream); copy != copies.end()) copyBlock(stream, copy->second, begun);
      }
      if (!plans.empty() && std::ranges::all_of(copies, [](const auto& c) { return c.second.done(); })) break;
    }
    output.end();
    watch_.endPass();
  }

  static void copyBlock(SourceStream& stream, Copied& copy, bool othersBegun) {
    stream.copy.takeData([&](std::span<const std::uint8_t> packet, std::int64_t granule) {
      const std::uint64_t place = copy.packets++;
      if (copy.plan != nullptr ? !copy.plan->range.holds(place) : !othersBegun) return;
      copy.writer->addCopied(packet, granule);
      if (granule >= 0) copy.writer->flush();
    });
  }

  OpenedFile& file_;
  const CutOptions& options_;
  std::vector<Stream> streams_;
  WriteWatch& watch_;
};

/// The streams of a cut whose times are not those that they have in the file that was cut.
std::vector<std::uint32_t> wrongTimes(OpenedFile& cut, const Plans& plans, WriteWatch& watch) {
  std::vector<std::uint32_t> wrong;
  for (const auto& [serial, plan] : plans) {
    const auto found = std::ranges::find(cut.streams, serial, [](const Stream& s) { return s.serial(); });
    const bool hasPackets = plan.range.first + plan.ahead < plan.range.end;
    if (!hasPackets) continue;
    if (found == cut.streams.end() || timesBehind(cut, *found, plan.ahead, watch) != plan.times)
      wrong.push_back(plan.id);
  }
  return wrong;
}

void addLeads(const OpenedFile& cut, Nano start, const OpenedFile& file, CutReport& report) {
  for (const Stream& stream : cut.streams) {
    const auto original = std::ranges::find(file.streams, stream.serial(), [](const Stream& s) { return s.serial(); });
    const auto entry = std::ranges::find(report.streams, original->id(), &CutStream::id);
    const bool leads = entry != report.streams.end() && stream.hasTime() && start != INT64_MIN;
    if (leads && stream.start() < start) entry->lead = start - stream.start();
  }
}

/// The names of those signals of a stream that have a usable value at a time.
std::set<std::string> knownAt(File& file, const std::vector<Signal>& signals, Nano time) {
  std::set<std::string> names;
  if (signals.empty()) return names;
  for (const Batch& batch : file.grid(signals, Grid::at({time}))) {
    for (std::size_t column = 0; column < batch.columns(); ++column) {
      if (bitAt(batch.buffers(column).validity, 0)) names.insert(batch.signals()[column].name());
    }
  }
  return names;
}

std::vector<Signal> scalarsOf(const Stream& stream) {
  std::vector<Signal> scalars;
  if (!stream.hasTime()) return scalars;
  std::ranges::copy_if(stream.signals(), std::back_inserter(scalars), [](const Signal& s) { return !s.isArray(); });
  return scalars;
}

/// The signals that are known at a time in one file and not in the other.
std::vector<std::string> lostSignals(File& original, File& cut, const Stream& stream, Nano time) {
  const auto twin = std::ranges::find(cut.streams(), stream.serial(), [](const Stream& s) { return s.serial(); });
  std::set<std::string> kept;
  if (twin != cut.streams().end()) kept = knownAt(cut, scalarsOf(*twin), time);
  // Of the long way from the start of the original only those are read that may be lost.
  std::vector<Signal> missing = scalarsOf(stream);
  std::erase_if(missing, [&](const Signal& signal) { return kept.contains(signal.name()); });
  const std::set<std::string> known = knownAt(original, missing, time);
  std::vector<std::string> lost;
  for (const Signal& signal : missing) {
    if (known.contains(signal.name())) lost.push_back(signal.name());
  }
  return lost;
}

std::vector<Stream> chosenStreams(const OpenedFile& file, const CutOptions& options) {
  std::vector<Stream> chosen;
  for (const std::uint32_t id : options.streams) {
    if (id >= file.streams.size()) file.finder().failNoStream(id);
  }
  for (const Stream& stream : file.streams) {
    if (options.streams.empty() || std::ranges::count(options.streams, stream.id()) > 0) chosen.push_back(stream);
  }
  return chosen;
}

void noteDamage(const OpenedFile& file, const CutSpan& span, const std::vector<Stream>& chosen, CutReport& report) {
  const bool isRecording = Sto::lowerExtension(file.path) == Sto::kRecordingExtension;
  for (const Place& place : file.damage->places()) {
    const auto isOfPlace = [&](const Stream& stream) { return !place.stream || stream.id() == *place.stream; };
    if (!place.lost || std::ranges::none_of(chosen, isOfPlace)) continue;
    const bool isEnd = place.kind == DamageKind::EndMissing || place.kind == DamageKind::CutOff;
    if (isEnd && span.end <= file.span.end) continue;
    // Of the data that the junk of a recording has replaced, the missing pages beside it tell.
    const bool isPoint = isRecording && place.kind == DamageKind::JunkBytes;
    const Nano to = isPoint ? place.from : place.to;
    const bool before = to != kNoTime && to < span.start;
    if (before || (place.from != kNoTime && place.from >= span.end)) continue;
    report.notes.push_back("missing in the file that is cut: " + place.text);
    report.damaged |= place.kind != DamageKind::EndMissing;
  }
}

/// A span from the same start that can be cut, in words.
std::string advice(Cutter& cutter, OpenedFile& file, const CutSpan& refused, const std::string& out,
                   WriteWatch& watch) {
  std::vector<CutSpan> tries;
  if (refused.lead) tries.push_back({refused.start, refused.end, {}});
  for (const Nano step : kSteps) {
    if (refused.end < file.span.end && refused.end + step < file.span.end) {
      tries.push_back({refused.start, refused.end + step, refused.lead});
    }
  }
  tries.push_back({refused.start, INT64_MAX, refused.lead});
  const std::string probe = out + ".probe" + Sto::lowerExtension(file.path);
  for (const CutSpan& span : tries) {
    struct Found {};
    const Plans plans = cutter.plan(span);
    try {
      // Never brought to its place: what ends the writing is thrown.
      cutter.write(probe, plans, [&](const std::string& written) {
        OpenedFile cut(written, {});
        if (wrongTimes(cut, plans, watch).empty()) throw Found();
        throw Error(ErrorCode::Refused, "");
      });
    } catch (const Found&) {
      if (refused.lead && !span.lead) return "; with the lead that is taken by default it would do";
      const std::string end = span.end == INT64_MAX ? "the end of the file" : utcText(span.end);
      return "; a span that goes on to " + end + " would do";
    } catch (const Error& error) {
      if (error.code() != ErrorCode::Refused && error.code() != ErrorCode::Empty) throw;
    }
  }
  return "; a span from the start to the end of the file would do";
}

}  // namespace

CutReport cutFile(File& original, const std::shared_ptr<OpenedFile>& file, const std::string& out,
                  const CutOptions& options) {
  file->checkTime();
  checkOutput(out, Sto::lowerExtension(file->path), {file->path}, options);
  const std::vector<Stream> chosen = chosenStreams(*file, options);
  CutSpan span{options.start.value_or(INT64_MIN), options.end.value_or(INT64_MAX), options.lead};
  if (span.start >= span.end || span.start > file->span.end || span.end <= file->span.start) {
    throw Error(ErrorCode::InvalidArgument, "the span to cut holds no data", file->path);
  }
  if (options.lead && *options.lead < 0) throw Error(ErrorCode::InvalidArgument, "the lead is negative", file->path);
  Reading reading(file, {.stop = options.stop});
  WriteWatch watch(options, static_cast<unsigned>(2 * chosen.size() + 2));
  Cutter cutter(*file, options, chosen, watch);
  const Plans plans = cutter.plan(span);
  reading.check();
  CutReport report;
  for (const auto& [serial, plan] : plans) {
    report.streams.push_back({.id = plan.id, .packets = plan.range.end - plan.range.first});
  }
  std::ranges::sort(report.streams, {}, &CutStream::id);
  std::vector<std::uint32_t> wrong;
  struct Refused {};
  try {
    cutter.write(out, plans, [&](const std::string& written) {
      {
        OpenedFile cut(written, {});
        wrong = wrongTimes(cut, plans, watch);
        if (!wrong.empty()) throw Refused();
        addLeads(cut, span.start, *file, report);
      }
      if (std::ranges::none_of(plans, [](const auto& entry) { return entry.second.losesKinds; })) return;
      File cut(written);
      for (const auto& [serial, plan] : plans) {
        if (!plan.losesKinds) continue;
        const auto stream = std::ranges::find(report.streams, plan.id, &CutStream::id);
        stream->lostSignals = lostSignals(original, cut, file->streams[plan.id], span.start);
      }
    });
  } catch (const Refused&) {
    throw Error(ErrorCode::Refused,
                "the times of stream " + std::to_string(wrong.front()) + " cannot be known from this span alone" +
                    advice(cutter, *file, span, out, watch),
                file->path);
  }
  noteDamage(*file, span, chosen, report);
  return report;
}

}  // namespace Kvex::Front
