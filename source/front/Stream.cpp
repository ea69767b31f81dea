#include <kvex/Stream.h>
#include <unordered_map>

#include "front/Samples.h"
#include "front/SignalData.h"
#include "front/StreamData.h"
#include "library/Enumerations.h"

namespace Kvex {

namespace {

struct CounterRow {
  std::string_view name;
  std::uint64_t Sto::StreamCounters::*counter;
};

constexpr CounterRow kPageRows[] = {
    {"pages", &Sto::StreamCounters::pages},
    {"pagesAccepted", &Sto::StreamCounters::pagesAccepted},
    {"pagesRejected", &Sto::StreamCounters::pagesRejected},
    {"pagesLost", &Sto::StreamCounters::pagesLost},
    {"holes", &Sto::StreamCounters::holes},
    {"repeatBlocks", &Sto::StreamCounters::repeatBlocks},
    {"flaggedPages", &Sto::StreamCounters::flaggedPages},
    {"endPages", &Sto::StreamCounters::endPages},
};

std::vector<Counter> countersOf(const Sto::Stream& stream, const Sto::Resource& resource) {
  std::vector<Counter> counters{{"packets", stream.counters.packets}};
  if (resource.kind == Sto::ResourceKind::Recording) {
    for (const CounterRow& row : kPageRows) counters.push_back({std::string(row.name), stream.counters.*row.counter});
  }
  std::vector<Counter> ofFile = fileCounters(resource);
  counters.insert(counters.end(), std::make_move_iterator(ofFile.begin()), std::make_move_iterator(ofFile.end()));
  return counters;
}

Header headerOf(const Com::TaggedPacket& packet) {
  return {packet.tag, {packet.values.begin(), packet.values.end()}};
}

/// The value that was found by a row's name: none where the name means a row of another type.
std::optional<Value> rowValue(const Lib::Sample& found, const Sto::SignalListing& row) {
  if (found.type != row.valueType) return std::nullopt;
  return Front::valueOf(found);
}

std::vector<ValueText> textsOf(const Lib::Enumeration* enumeration) {
  std::vector<ValueText> texts;
  if (enumeration == nullptr) return texts;
  for (std::int64_t value = 0; value <= enumeration->last(); ++value) {
    texts.push_back({value, std::string(enumeration->name(static_cast<std::uint64_t>(value)))});
  }
  return texts;
}

std::optional<Multiplexer> multiplexerOf(const Sto::SignalListing& row) {
  if (row.multiplexer == nullptr) return std::nullopt;
  Multiplexer multiplexer{.signal = row.multiplexer->signal, .values = {}};
  for (const auto& [first, last] : row.multiplexer->values) multiplexer.values.push_back({first, last});
  return multiplexer;
}

std::vector<Signal> signalsOf(const Sto::Stream& stream, std::uint64_t file) {
  // Of a name that stands in several runs, a search finds the one that `namedSignals` lists.
  std::unordered_map<std::string, Lib::Run> named;
  for (const Sto::SignalListing& row : stream.namedSignals()) named.emplace(row.name, row.run());
  std::vector<Sto::SignalListing> listings;
  stream.listSignals(listings, ~0U);
  std::vector<Signal> signals;
  signals.reserve(listings.size());
  for (Sto::SignalListing& row : listings) {
    auto data = std::make_shared<SignalAccess::Data>();
    data->file = file;
    data->hasTime = stream.hasTime();
    const auto found = named.find(row.name);
    data->named = found != named.end() && found->second == row.run();
    if (data->named) named.erase(found);
    data->texts = textsOf(row.enumeration);
    data->multiplexer = multiplexerOf(row);
    if (!row.isArray && stream.hasTime()) {
      data->first = rowValue(stream.firstValue(row.name), row);
      data->last = rowValue(stream.lastValue(row.name), row);
    }
    data->listing = std::move(row);
    signals.push_back(SignalAccess::make(std::move(data)));
  }
  return signals;
}

}  // namespace

std::vector<Counter> fileCounters(const Sto::Resource& resource) {
  const Sto::FileHealth& health = resource.health;
  if (resource.kind == Sto::ResourceKind::Recording) {
    return {{"skippedBytes", health.gaps.skippedBytes},
            {"skippedRuns", health.gaps.skippedRuns},
            {"truncatedBytes", health.truncatedBytes}};
  }
  return {{"packetsInAll", health.scan.packets},
          {"junkBytes", health.scan.junkBytes},
          {"junkRuns", health.scan.lostSyncs},
          {"truncatedBytes", health.truncatedBytes}};
}

Stream StreamAccess::make(const Sto::Stream& stream, const Sto::Resource& resource, std::uint64_t file) {
  auto data = std::make_shared<Stream::Data>();
  data->info = stream.info();
  data->info.resourceIndex = static_cast<std::int32_t>(resource.index);
  data->info.resourceKind = static_cast<std::int32_t>(resource.kind);
  data->info.resourcePath = resource.path;
  data->info.resourceExtension = resource.extension;
  data->codec = Lib::kStreamCodecNames.nameOfRaw(static_cast<std::uint8_t>(stream.codec()));
  data->header = headerOf(stream.header().primary);
  for (const Com::TaggedPacket& packet : stream.header().headers) data->headers.push_back(headerOf(packet));
  data->counters = countersOf(stream, resource);
  data->signals = signalsOf(stream, file);
  return Stream(std::move(data));
}

std::uint32_t Stream::id() const {
  return static_cast<std::uint32_t>(data_->info.index);
}

std::uint32_t Stream::serial() const {
  return data_->info.serial;
}

std::string_view Stream::codec() const {
  return data_->codec;
}

int Stream::codecNumber() const {
  return static_cast<int>(data_->info.codec);
}

const std::string& Stream::name() const {
  return data_->info.name;
}

int Stream::group() const {
  return data_->info.groupIndex;
}

int Stream::fileIndex() const {
  return data_->info.resourceIndex;
}

FileKind Stream::fileKind() const {
  return static_cast<FileKind>(data_->info.resourceKind);
}

const std::string& Stream::filePath() const {
  return data_->info.resourcePath;
}

const std::string& Stream::fileExtension() const {
  return data_->info.resourceExtension;
}

bool Stream::headerSeen() const {
  return data_->info.headerSeen;
}

bool Stream::headerAccepted() const {
  return data_->info.headerAccepted;
}

bool Stream::hasTime() const {
  return data_->info.hasTime;
}

Nano Stream::start() const {
  return data_->info.startTime;
}

Nano Stream::end() const {
  return data_->info.endTime;
}

const Header& Stream::header() const {
  return data_->header;
}

const std::vector<Header>& Stream::headers() const {
  return data_->headers;
}

const std::vector<Counter>& Stream::counters() const {
  return data_->counters;
}

const std::vector<Signal>& Stream::signals() const {
  return data_->signals;
}

}  // namespace Kvex
