#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "store/RangeLinks.h"
#include "store/ResourceBare.h"

namespace Kvex::Sto {

/// The packets of a range file that are the range protocol's own.
template <class Format>
struct OwnRangePackets {
  bool operator()(std::uint32_t type, ByteView&) const { return type != Format::kSourceType; }
};

/// The navigation packets that one source has put into a range file, unwrapped.
template <class Format>
struct SourcePackets {
  std::uint32_t sourceId = 0;

  bool operator()(std::uint32_t type, ByteView& packet) const {
    if (type != Format::kSourceType || Format::sourceId(packet) != sourceId) return false;
    packet = Format::unwrap(packet);
    return true;
  }
};

/// The navigation packets of all sources, unwrapped; `currentId` is the source of the newest one.
template <class Format>
struct AllSourcePackets {
  std::uint32_t currentId = 0;

  bool operator()(std::uint32_t type, ByteView& packet) {
    if (type != Format::kSourceType) return false;
    currentId = Format::sourceId(packet);
    packet = Format::unwrap(packet);
    return true;
  }
};

/// A file of bare range packets. Besides the range stream it holds a navigation stream for each source whose packets
/// lie in it. `Format` is the range protocol's: a `Framing` with `kSourceType`, the type of packets that wrap one of a
/// source, `sourceId(packet)` and `unwrap(packet)` for these, and `kSourceCodec`, their codec.
template <class Format>
class ResourceRng final : public ResourceBare<Format, ResourceKind::RangeFile, OwnRangePackets<Format>> {
  using Base = ResourceBare<Format, ResourceKind::RangeFile, OwnRangePackets<Format>>;

 public:
  using Base::Base;

  void scan() override {
    Base::scan();
    const SourceStreams sources = makeSourceStreams();
    firstSourcePass(sources);
    secondSourcePass(sources);
  }

  void linkStreams() override { linkRangeStreams(this->streams, this->context_.codecs); }

 protected:
  std::uint32_t serialOf(std::uint32_t type, ByteView packet) const override {
    return type == Format::kSourceType ? Format::sourceId(packet) : 0;
  }

 private:
  using PassProgress = typename Base::PassProgress;
  using AllReader = LogicalPackets<Format, AllSourcePackets<Format>>;
  using OneReader = LogicalPackets<Format, SourcePackets<Format>>;
  /// The navigation streams, by the source that they are read from.
  using SourceStreams = std::map<std::uint32_t, Stream*>;

  SourceStreams makeSourceStreams() {
    const PassProgress progress(*this, Phase::RangeStreams);
    SourceStreams made;
    if (this->streams.size() != 1) return made;
    Stream& rangeStream = *this->streams.begin()->second;
    const RangeSources* range = rangeStream.rangeSources();
    const Codec* codec = findCodec(this->context_.codecs, Format::kSourceCodec);
    if (range == nullptr || codec == nullptr) return made;

    const auto places = range->sources();
    for (std::size_t place = 0; place < places.size(); ++place) {
      if (!places[place]) continue;
      const std::uint32_t id = places[place]->address != 0 ? places[place]->address : places[place]->provenance;
      if (this->streams.contains(id)) continue;
      Com::TaggedPacket packet = makeSourceTag(rangeStream.serial());
      if (Com::TaggedPacket* own = rangeStream.header().findHeader(kRangeTag)) {
        bindSource(*range, *own, packet, place, id);
      }
      made.emplace(id, &this->addBareStream(*codec, id, {std::move(packet)}));
    }
    return made;
  }

  void firstSourcePass(const SourceStreams& sources) {
    PassProgress progress(*this, Phase::FirstRangePass);
    SourceStreams feeding = sources;
    AllReader reader(this->path);
    reader.resume();
    ByteView packet;
    while (!feeding.empty() && !this->cancelled() && reader.next(packet)) {
      progress.moved(reader.filePosition());
      const std::uint32_t id = reader.selection().currentId;
      const auto found = feeding.find(id);
      if (found == feeding.end()) continue;
      if (!this->logicals.contains(id)) {
        this->logicals.emplace(id, std::make_unique<OneReader>(this->path, this->clampToSize(reader.packetOffset()),
                                                               SourcePackets<Format>{.sourceId = id}));
      }
      if (found->second->take(packet, Pass::Probe)) feeding.erase(found);
    }
    for (const auto& [id, stream] : sources) stream->endProbe();
  }

  void secondSourcePass(const SourceStreams& sources) {
    PassProgress progress(*this, Phase::SecondRangePass);
    AllReader reader(this->path);
    reader.resume();
    ByteView packet;
    while (!sources.empty() && !this->cancelled() && reader.next(packet)) {
      progress.moved(reader.filePosition());
      const auto found = sources.find(reader.selection().currentId);
      if (found == sources.end()) continue;
      ++found->second->counters.packets;
      found->second->take(packet, Pass::Scan);
    }
    for (const auto& [id, stream] : sources) stream->endScan();
  }
};

}  // namespace Kvex::Sto
