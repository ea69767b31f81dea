#include <algorithm>
#include <iterator>
#include <kvex/File.h>

#include "front/Cut.h"
#include "front/EventSearch.h"
#include "front/GridSource.h"
#include "front/NativeSource.h"
#include "front/OpenedFile.h"
#include "front/OverviewData.h"
#include "front/SignalStatistics.h"
#include "front/SpanChoice.h"
#include "front/StateTotals.h"
#include "front/StatesSource.h"
#include "front/TrackWalk.h"

namespace Kvex {

struct File::Data : Front::OpenedFile {
  using OpenedFile::OpenedFile;

  std::vector<Signal> readableOfOneStream(const SignalList& list) const {
    std::vector<Signal> found = readable(list);
    const auto sameStream = [&](const Signal& signal) { return signal.stream() == found.front().stream(); };
    if (!std::ranges::all_of(found, sameStream)) {
      throw Error(ErrorCode::InvalidArgument, "native samples are read from one stream at a time", path);
    }
    return found;
  }

  Signal readableScalar(const SignalList::Item& item, const std::string& what) const {
    const std::vector<Signal> found = readable(SignalList(item));
    if (found.size() != 1 || found.front().isArray()) {
      throw Error(ErrorCode::InvalidArgument, what + " are of one scalar signal or one element of an array", path);
    }
    return found.front();
  }
};

File::File(const std::string& path, const OpenOptions& options) : data_(std::make_shared<Data>(path, options)) {}
File::File(File&&) noexcept = default;
File& File::operator=(File&&) noexcept = default;
File::~File() = default;

const std::string& File::path() const {
  return data_->path;
}

bool File::hasTime() const {
  return data_->hasTime;
}

Span File::span() const {
  return data_->span;
}

ChosenSpan File::gridSpan(const TypedSpan& typed) const {
  data_->checkTime();
  return Front::chooseSpan(typed, {span(), false, "the file"}, span(), path());
}

ChosenSpan File::nativeSpan(const TypedSpan& typed, const std::vector<Signal>& signals) const {
  return Front::chooseSpan(typed, Front::dataOf(data_->readable(signals), streams()), span(), path());
}

const std::vector<Stream>& File::streams() const {
  return data_->streams;
}

const Stream& File::stream(std::uint32_t id) const {
  if (id < data_->streams.size()) return data_->streams[id];
  data_->finder().failNoStream(id);
}

const std::vector<Signal>& File::signals() const {
  return data_->signals;
}

const Damage& File::damage() const {
  return *data_->damage;
}

Signal File::signal(std::string_view text) const {
  return data_->finder().one(text);
}

std::vector<Signal> File::match(std::string_view pattern) const {
  return data_->finder().match(pattern);
}

std::vector<Signal> File::choose(const std::vector<std::string>& texts,
                                 const std::vector<std::uint32_t>& streams) const {
  for (const std::uint32_t id : streams) (void)stream(id);
  return data_->finder().choose(texts, streams);
}

std::vector<Signal> File::search(std::string_view words) const {
  return data_->finder().search(words);
}

std::vector<Signal> File::resolve(const SignalList& signals) const {
  return data_->finder().resolve(signals);
}

Reader File::native(const SignalList& signals, const ReadOptions& options) {
  return ReaderAccess::make(std::make_unique<Front::NativeSource>(data_, data_->readableOfOneStream(signals),
                                                                  Front::NativeSource::Tables::One, options));
}

Reader File::nativeTables(const SignalList& signals, const ReadOptions& options) {
  return ReaderAccess::make(std::make_unique<Front::NativeSource>(data_, data_->readableOfOneStream(signals),
                                                                  Front::NativeSource::Tables::BySignal, options));
}

Reader File::grid(const SignalList& signals, const Grid& grid, const ReadOptions& options) {
  return ReaderAccess::make(std::make_unique<Front::GridSource>(data_, data_->readable(signals), grid, options));
}

Overview File::overview(const SignalList& signals, std::size_t slices, const ReadOptions& options,
                        const OverviewWatcher& watcher) {
  const std::vector<Signal> elements = Front::elementsOf(data_->readable(signals));
  Front::Reading reading(data_, options);
  return OverviewAccess::read(reading, elements, slices, watcher);
}

std::vector<Statistics> File::statistics(const SignalList& signals, const ReadOptions& options) {
  const std::vector<Signal> elements = Front::elementsOf(data_->readable(signals));
  Front::Reading reading(data_, options);
  return Front::readStatistics(reading, elements);
}

States File::states(const SignalList::Item& signal, const ReadOptions& options) {
  return States(std::make_unique<States::Source>(data_, data_->readableScalar(signal, "states"), options,
                                                 Front::StateGaps::Left));
}

States File::timeline(const SignalList::Item& signal, const ReadOptions& options) {
  return States(std::make_unique<States::Source>(data_, data_->readableScalar(signal, "states"), options,
                                                 Front::StateGaps::Filled));
}

std::vector<std::vector<StateTotal>> File::stateTotals(const SignalList& signals, const ReadOptions& options) {
  const std::vector<Signal> elements = Front::elementsOf(data_->readable(signals));
  Front::Reading reading(data_, Front::wholeStream(options));
  return Front::readStateTotals(reading, elements, options);
}

Events File::events(const EventOptions& options) {
  return Front::findEvents(data_, options);
}

std::vector<Change> File::changes(const SignalList::Item& signal, const ReadOptions& options) {
  return Front::findChanges(data_, data_->readableScalar(signal, "changes"), options);
}

std::vector<TrackSignals> File::tracks() const {
  std::vector<TrackSignals> found;
  for (const Stream& known : streams()) {
    if (std::optional<TrackSignals> signals = Front::trackSignals(known)) found.push_back(*std::move(signals));
  }
  for (const Stream& known : streams()) {
    std::ranges::move(Front::objectSignals(known), std::back_inserter(found));
  }
  return found;
}

void File::track(const TrackOptions& options, const TrackVisitor& visitor) {
  if (options.stream) (void)stream(*options.stream);
  for (const TrackSignals& signals : tracks()) {
    const bool isObject = options.object.empty() || options.object == signals.object;
    if (isObject && options.stream.value_or(signals.stream) == signals.stream) {
      return Front::walkTrack(*this, signals, options, visitor);
    }
  }
  const std::string which = options.stream ? "stream " + std::to_string(*options.stream) + " has no" : "no stream has";
  const std::string what = options.object.empty() ? " positions" : " positions of \"" + options.object + '"';
  throw Error(ErrorCode::NoSuchSignal, which + what, path());
}

CutReport File::cut(const std::string& out, const CutOptions& options) {
  return Front::cutFile(*this, data_, out, options);
}

}  // namespace Kvex
