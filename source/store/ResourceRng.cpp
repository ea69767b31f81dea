#include "store/ResourceRng.h"

#include <algorithm>

#include "store/RangeLinks.h"

namespace Kvex::Sto {

void ResourceRng::scan() {
  ResourceBare::scan();
  const SourceStreams sources = makeRangeStreams();
  firstRangePass(sources);
  secondRangePass(sources);
}

void ResourceRng::linkStreams() {
  linkRangeStreams(streams);
}

ResourceRng::SourceStreams ResourceRng::makeRangeStreams() {
  const PassProgress progress(*this, Phase::RangeStreams);
  SourceStreams made;
  if (streams.size() != 1) return made;
  Stream& rangeStream = *streams.begin()->second;
  const auto* range = dynamic_cast<const RangeSources*>(&rangeStream);
  const auto quon = std::ranges::find(context_.codecs, StreamCodec::Quon, &Codec::code);
  if (range == nullptr || quon == context_.codecs.end()) return made;

  const auto places = range->sources();
  for (std::size_t place = 0; place < places.size(); ++place) {
    if (!places[place]) continue;
    const std::uint32_t id = places[place]->address != 0 ? places[place]->address : places[place]->provenance;
    if (streams.contains(id)) continue;
    Stream& stream = addBareStream(*quon, id);
    Com::TaggedPacket packet = makeSourceTag(rangeStream.serial);
    if (Com::TaggedPacket* own = rangeStream.header.findHeader(kRangeTag)) bindSource(*range, *own, packet, place, id);
    stream.header.addHeader(std::move(packet));
    stream.headerReady();
    made.emplace(id, &stream);
  }
  return made;
}

void ResourceRng::firstRangePass(const SourceStreams& sources) {
  PassProgress progress(*this, Phase::FirstRangePass);
  SourceStreams feeding = sources;
  LogicalRngSources reader(path);
  reader.resume();
  ByteView packet;
  while (!feeding.empty() && !cancelled() && reader.next(packet)) {
    progress.moved(reader.filePosition());
    const std::uint32_t id = reader.selection().currentId;
    const auto found = feeding.find(id);
    if (found == feeding.end()) continue;
    Stream& stream = *found->second;
    if (stream.logical == nullptr) {
      stream.logical =
          std::make_unique<LogicalRngQuon>(path, clampToSize(reader.packetOffset()), SourcePackets{.sourceId = id});
    }
    if (stream.probeRaw(packet)) feeding.erase(found);
  }
  for (const auto& [id, stream] : sources) stream->probeDone();
}

void ResourceRng::secondRangePass(const SourceStreams& sources) {
  PassProgress progress(*this, Phase::SecondRangePass);
  LogicalRngSources reader(path);
  reader.resume();
  ByteView packet;
  while (!sources.empty() && !cancelled() && reader.next(packet)) {
    progress.moved(reader.filePosition());
    const auto found = sources.find(reader.selection().currentId);
    if (found == sources.end()) continue;
    ++found->second->counters.packets;
    found->second->scanRaw(packet);
  }
  for (const auto& [id, stream] : sources) stream->scanDone();
}

}  // namespace Kvex::Sto
