#include "tool/ViewedFile.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <thread>

#include "tool/DrawnPath.h"
#include "tool/Seconds.h"
#include "tool/TableFormatter.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kTrackSlices = 4000;

/// A time that lies some seconds behind another one, brought to what a time can be.
Nano behind(Nano start, double seconds) {
  const double nanos = std::clamp(seconds, -9e9, 9e9) * 1e9;
  Nano time = 0;
  if (__builtin_add_overflow(start, static_cast<Nano>(nanos), &time)) return seconds < 0 ? INT64_MIN + 1 : INT64_MAX;
  return time;
}

/// Thrown where another request is to be answered first.
class GivesWay {};

/// Counts one more as long as it lives.
class Counted {
 public:
  explicit Counted(std::atomic<int>& count) : count_(count) { ++count_; }
  ~Counted() { --count_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  std::atomic<int>& count_;
};

constexpr std::chrono::milliseconds kPause{50};

std::unique_lock<std::timed_mutex> lockWhile(std::timed_mutex& mutex, const StillWanted& wanted) {
  std::unique_lock<std::timed_mutex> lock(mutex, std::defer_lock);
  while (!lock.try_lock_for(kPause)) {
    if (!wanted()) throw GivenUp();
  }
  return lock;
}

}  // namespace

/// A request with its signals found.
struct ViewedFile::Asked {
  std::vector<Signal> signals;
  Span span;
  std::size_t slices = 0;
};

bool zoomed(const DrawnSlices& all, Span span, std::size_t least, DrawnSlices& part) {
  const auto placeOf = [&](Nano time) {
    return (static_cast<double>(time) - static_cast<double>(all.start)) / all.width;
  };
  const double most = static_cast<double>(all.list.size());
  const auto first = static_cast<std::size_t>(std::clamp(std::floor(placeOf(span.start)), 0.0, most));
  const auto end = static_cast<std::size_t>(std::clamp(std::ceil(placeOf(span.end)), 0.0, most));
  const std::size_t count = end > first ? end - first : 0;
  const std::size_t together = std::max<std::size_t>(1, count / std::max<std::size_t>(1, least));
  part = {.start = all.start + static_cast<Nano>(all.startOf(first)),
          .width = all.width * static_cast<double>(together)};
  for (std::size_t at = first; at < end; at += together) {
    DrawnSlice slice = all.list[at];
    for (std::size_t next = at + 1; next < std::min(at + together, end); ++next) slice.append(all.list[next]);
    part.list.push_back(slice);
  }
  return count >= least;
}

ViewedFile::ViewedFile(const std::string& path, const OpenOptions& options) : path_(path), file_(path, options) {
  const bool hasTime = file_.hasTime();
  if (hasTime) start_ = file_.span().start;
  Json streams = Json::array();
  for (const Stream& stream : file_.streams()) {
    streams.push_back({{"id", stream.id()}, {"codec", stream.codec()}, {"name", stream.name()}});
    if (stream.hasTime())
      spans_[stream.id()] = {stream.start(), stream.end() < INT64_MAX ? stream.end() + 1 : INT64_MAX};
  }
  about_ = {{"name", std::filesystem::path(path).filename().string()},
            {"startMillis", hasTime ? Json(static_cast<double>(unixNanos(start_)) / 1e6) : Json()},
            {"seconds", hasTime ? Json(secondsBetween(start_, file_.span().end)) : Json()},
            {"judgement", nameOf(file_.judgement())},
            {"verdict", file_.damage().sentence()},
            {"streams", std::move(streams)}};
  list_ = Json::array();
  if (!hasTime) return;
  for (const Signal& signal : file_.match("*")) {
    list_.push_back({signal.stream(), signal.name(), signal.unit(), signal.description(), signal.table(),
                     signal.isArray() ? signal.count() : 0});
    byName_.emplace(signal.qualifiedName(), signal);
  }
}

Signal ViewedFile::signalNamed(const std::string& text) const {
  const auto fail = [&](ErrorCode code, const char* reason) {
    throw Error(code, fmt::format("\"{}\" {}", printable(text), reason), path_);
  };
  if (const auto found = byName_.find(text); found != byName_.end()) {
    if (found->second.isArray()) fail(ErrorCode::InvalidArgument, "is an array, which is seen by its elements");
    return found->second;
  }
  const std::size_t bracket = text.rfind('[');
  const auto array = byName_.find(text.substr(0, bracket));
  std::uint32_t element = 0;
  const bool isElement = bracket != std::string::npos && array != byName_.end() && array->second.isArray();
  const char* const end = text.data() + text.size();
  const auto read = isElement ? std::from_chars(text.data() + bracket + 1, end, element) : std::from_chars_result{};
  const bool isNumber = isElement && read.ec == std::errc() && std::string_view(read.ptr, end) == "]";
  if (!isNumber || element >= array->second.count()) fail(ErrorCode::NoSuchSignal, "is no signal of the file");
  return array->second.at(element);
}

std::unique_lock<std::timed_mutex> ViewedFile::lock(const StillWanted& wanted) {
  const Counted waiting(waiting_);
  return lockWhile(reading_, wanted);
}

ViewedFile::Asked ViewedFile::resolve(const ViewRequest& request) const {
  const auto fail = [&](const char* reason) { throw Error(ErrorCode::InvalidArgument, reason, path_); };
  if (request.signals.empty() || request.signals.size() > kMostSignals) fail("a view has 1 to 32 signals");
  if (request.slices == 0 || request.slices > kMostSlices) fail("a view has 1 to 8000 slices");
  Asked asked{.slices = request.slices};
  Span whole{INT64_MAX, INT64_MIN};
  for (const std::string& text : request.signals) {
    asked.signals.push_back(signalNamed(text));
    const Span span = spans_.at(asked.signals.back().stream());
    whole.start = std::min(whole.start, span.start);
    whole.end = std::max(whole.end, span.end);
  }
  asked.span = {request.from ? behind(start_, *request.from) : whole.start,
                request.to ? behind(start_, *request.to) : whole.end};
  if (asked.span.start >= asked.span.end) fail("the start is not before the end");
  return asked;
}

void ViewedFile::check(const ViewRequest& request) const {
  (void)resolve(request);
}

void ViewedFile::checkOneStream(const ViewRequest& request) const {
  const std::vector<Signal> signals = resolve(request).signals;
  const auto isOther = [&](const Signal& signal) { return signal.stream() != signals.front().stream(); };
  if (std::ranges::any_of(signals, isOther)) {
    throw Error(ErrorCode::InvalidArgument, "the samples of several streams make no one table", path_);
  }
}

ReadOptions ViewedFile::reading(const StillWanted& wanted) const {
  return {.progress = [&wanted](const Progress&) {
    if (!wanted()) throw GivenUp();
  }};
}

const ViewedFile::Pyramid* ViewedFile::find(const Signal& signal) {
  const auto found = std::ranges::find(pyramids_, signal, &Pyramid::signal);
  if (found == pyramids_.end()) return nullptr;
  pyramids_.splice(pyramids_.begin(), pyramids_, found);
  return &pyramids_.front();
}

double ViewedFile::secondsOf(Nano time) const {
  return secondsBetween(start_, time);
}

Json ViewedFile::lineOf(const std::vector<Signal>& signals, const std::vector<DrawnSlices>& slices,
                        bool isFinal) const {
  Json list = Json::array();
  for (std::size_t i = 0; i < signals.size(); ++i) {
    Json drawn = drawnSignal(signals[i], slices[i], {});
    drawn["from"] = secondsOf(slices[i].start);
    drawn["width"] = slices[i].width / 1e9;
    list.push_back(std::move(drawn));
  }
  return {{"final", isFinal}, {"signals", std::move(list)}};
}

/// Walks once for all signals of which nothing is known yet. Each has the span of its own stream, so that its pyramid
/// does not depend on what it was asked for with.
void ViewedFile::makePyramids(const Asked& asked, const StillWanted& wanted, const Emit& emit) {
  const auto showSoFar = [&](const Overview& overview) {
    if (!wanted()) throw GivenUp();
    std::vector<DrawnSlices> parts(overview.signals().size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
      zoomed(drawnSlices(overview, i), asked.span, asked.slices, parts[i]);
    }
    emit(jsonText(lineOf(overview.signals(), parts, false)) + '\n');
  };
  std::vector<Signal> missing;
  for (const Signal& signal : asked.signals) {
    if (find(signal) == nullptr && std::ranges::find(missing, signal) == missing.end()) missing.push_back(signal);
  }
  while (!missing.empty()) {
    std::vector<Signal> ofStream;
    std::ranges::copy_if(missing, std::back_inserter(ofStream),
                         [&](const Signal& signal) { return signal.stream() == missing.front().stream(); });
    std::erase_if(missing, [&](const Signal& signal) { return signal.stream() == ofStream.front().stream(); });
    const Overview overview = file_.overview(ofStream, kPyramidSlices, reading(wanted), showSoFar);
    for (std::size_t i = 0; i < ofStream.size(); ++i) pyramids_.push_front({ofStream[i], drawnSlices(overview, i)});
  }
}

void ViewedFile::overview(const ViewRequest& request, const StillWanted& wanted, const Emit& emit) {
  const auto held = lock(wanted);
  const Asked asked = resolve(request);
  makePyramids(asked, wanted, emit);
  std::vector<DrawnSlices> parts(asked.signals.size());
  std::vector<Signal> deeper;
  for (std::size_t i = 0; i < asked.signals.size(); ++i) {
    if (!zoomed(find(asked.signals[i])->slices, asked.span, asked.slices, parts[i])) deeper.push_back(asked.signals[i]);
  }
  while (pyramids_.size() > kMostPyramids) pyramids_.pop_back();
  emit(jsonText(lineOf(asked.signals, parts, deeper.empty())) + '\n');
  if (deeper.empty()) return;
  ReadOptions options = reading(wanted);
  options.start = asked.span.start;
  options.end = asked.span.end;
  const Overview found = file_.overview(deeper, asked.slices, options);
  for (std::size_t i = 0; i < asked.signals.size(); ++i) {
    const auto place = std::ranges::find(deeper, asked.signals[i]);
    if (place != deeper.end()) parts[i] = drawnSlices(found, static_cast<std::size_t>(place - deeper.begin()));
  }
  emit(jsonText(lineOf(asked.signals, parts, true)) + '\n');
}

/// A page asks for the tracks as it opens; what somebody chooses to see meanwhile shall not wait for all of them.
Overview ViewedFile::readBehindOthers(const std::vector<Signal>& signals, const StillWanted& wanted) {
  ReadOptions options;
  options.progress = [&](const Progress&) {
    if (!wanted()) throw GivenUp();
    if (waiting_ > 0) throw GivesWay();
  };
  for (;;) {
    try {
      const auto held = lockWhile(reading_, wanted);
      return file_.overview(signals, kTrackSlices, options);
    } catch (const GivesWay&) {
      while (waiting_ > 0 && wanted()) std::this_thread::sleep_for(kPause);
    }
  }
}

Json ViewedFile::findTracks(const StillWanted& wanted) {
  const std::vector<TrackSignals> tracks = [&] {
    const auto held = lock(wanted);
    return file_.tracks();
  }();
  std::map<std::uint32_t, std::vector<Signal>> places;  // by stream, each of which is walked once
  for (const TrackSignals& track : tracks) addPlaceSignals(track, places[track.stream]);
  std::map<std::uint32_t, Overview> overviews;
  for (const auto& [stream, signals] : places) overviews.emplace(stream, readBehindOthers(signals, wanted));
  Json list = Json::array();
  for (const TrackSignals& track : tracks) {
    const Overview& overview = overviews.at(track.stream);
    Json path = drawnPath(track, overview, {});
    const DrawnSlices slices = drawnSlices(overview, 0);
    path["from"] = secondsOf(slices.start);
    path["width"] = slices.width / 1e9;
    list.push_back(std::move(path));
  }
  return list;
}

void ViewedFile::tracks(const StillWanted& wanted, const Emit& emit) {
  const auto held = lockWhile(tracking_, wanted);
  if (tracks_.empty()) tracks_ = jsonText(findTracks(wanted));
  emit(tracks_);
}

void ViewedFile::samples(const ViewRequest& request, const StillWanted& wanted, const Emit& emit) {
  const auto held = lock(wanted);
  const Asked asked = resolve(request);
  TableFormatter formatter({.time = TimeForm::Utc, .qualified = true}, asked.signals, start_);
  ReadOptions options = reading(wanted);
  options.start = asked.span.start;
  options.end = asked.span.end;
  Reader reader = file_.native(asked.signals, options);
  fmt::memory_buffer text;
  formatter.appendHeader(text);
  for (const Batch& batch : reader) {
    formatter.appendRows(text, batch);
    emit({text.data(), text.size()});
    text.clear();
    if (!wanted()) throw GivenUp();
  }
  if (text.size() > 0) emit({text.data(), text.size()});
}

}  // namespace Kvex::Tool
