#include "store/ResourceOgg.h"

#include <algorithm>

#include "store/RangeLinks.h"

namespace Kvex::Sto {

namespace {

constexpr std::size_t kIdentificationBlock = 0x10000;

/// Data that may pile up for a Stream while another one is still waiting for its header. The first pass reads what lies
/// beyond once more.
constexpr std::size_t kMaxHeldData = 0x40000;

std::uint32_t serialOf(const ogg_page& page) {
  return static_cast<std::uint32_t>(ogg_page_serialno(&page));
}

/// Gives `visitor` the data packets at hand until it answers true. Gives whether it did.
template <class Visitor>
bool takePackets(LogicalVrel& logical, Visitor&& visitor) {
  ByteView packet;
  while (const int result = logical.pages().takePacket(packet)) {
    if (result < 0) continue;  // a hole; counted there
    if (visitor(packet)) return true;
  }
  return false;
}

/// The counts of a second pass. The header that a pass from the start of the file meets again is no repeat block.
StreamCounters countersOf(const Com::VrelStreamDec& stream) {
  const Com::PageCounters& pages = stream.pageCounters();
  const Com::PacketCounters& packets = stream.packetCounters();
  return {.packets = packets.dataPackets,
          .pages = pages.pages,
          .pagesAccepted = pages.pagesAccepted,
          .pagesRejected = pages.pagesRejected,
          .pagesLost = pages.pagesLost,
          .holes = packets.primaryHoles + packets.repeatPrimaryHoles + packets.headerHoles + packets.repeatHeaderHoles +
                   packets.dataHoles,
          .repeatBlocks = packets.repeatPrimaries - (packets.repeatPrimaries > 0 ? 1 : 0),
          .flaggedPages = pages.flaggedPages,
          .endPages = pages.eosPages};
}

}  // namespace

void ResourceOgg::scan() {
  identify();
  firstPass();
  secondPass();
}

void ResourceOgg::linkStreams() {
  linkRangeStreams(streams, context_.codecs);
}

const Codec* ResourceOgg::matchCodec(const ogg_page& page) const {
  const std::string_view body(reinterpret_cast<const char*>(page.body), static_cast<std::size_t>(page.body_len));
  const auto found = std::find_if(context_.codecs.begin(), context_.codecs.end(),
                                  [&](const Codec& codec) { return body.starts_with(primaryTag(codec.code)); });
  return found == context_.codecs.end() ? nullptr : &*found;
}

void ResourceOgg::meetPage(const ogg_page& page) {
  const std::uint64_t place = pagesMet_++;
  const std::uint32_t serial = serialOf(page);
  auto member = members_.find(serial);
  if (member == members_.end()) {
    if (!ogg_page_bos(&page) || members_.size() >= kMaxStreams) return;
    const Codec* codec = matchCodec(page);
    if (codec == nullptr) return;
    std::unique_ptr<Stream>& stream = streams[serial];
    stream = codec->makeStream({codec->code, kind, serial});
    auto logical = std::make_unique<LogicalVrel>(path, serial);
    logical->pages().expectPrimary();
    member = members_
                 .insert({serial,
                          {.stream = stream.get(),
                           .logical = logical.get(),
                           .firstPage = place,
                           .restartPage = place,
                           .gaps = DamageTimes(damage)}})
                 .first;
    logicals.emplace(serial, std::move(logical));
  }
  Member& known = member->second;
  Com::VrelStreamDec& pages = known.logical->pages();
  if (pages.addPage(page) && ogg_page_bos(&page)) {
    known.restartPage = place;
    known.overfull = false;
  }
  if (pages.headerSettled() && pages.heldBytes() > kMaxHeldData) {
    pages.dropData();
    known.overfull = true;
  }
}

bool ResourceOgg::settleHeaders() {
  bool pending = false;
  for (auto& [serial, member] : members_) {
    Stream& stream = *member.stream;
    if (stream.headerSeen()) continue;
    const Com::VrelStreamDec& pages = member.logical->pages();
    if (!pages.headerSettled()) {
      pending = true;
      continue;
    }
    stream.takeHeader(pages.header(), pages.trailer());
  }
  return pending;
}

void ResourceOgg::identify() {
  PassProgress progress(*this, Phase::Identification);
  while (!cancelled()) {
    const bool more = reader_.readBlock(file_, kIdentificationBlock, [&](const ogg_page& page) { meetPage(page); });
    const bool pending = settleHeaders();
    if (!more || !pending) return;
    progress.moved(reader_.position());
  }
}

void ResourceOgg::firstPass() {
  PassProgress progress(*this, Phase::FirstPass);
  bool overfull = false;
  for (auto& [serial, member] : members_) {
    member.feeding = member.stream->headerAccepted();
    overfull |= member.overfull;
    if (member.overfull) member.logical->rewind();
  }
  std::uint64_t place = pagesMet_;
  if (overfull) {
    reader_.restart();
    place = 0;
  }
  // A Stream that has had enough gets no more pages either: they would pile up, and its rewind forgets them anyway.
  const auto addPage = [&](const ogg_page& page) {
    const auto member = members_.find(serialOf(page));
    if (member != members_.end() && member->second.feeding) addProbedPage(member->second, page, place);
    ++place;
  };
  while (!cancelled()) {
    bool feeding = false;
    for (auto& [serial, member] : members_) {
      if (!member.feeding) continue;
      feeding = true;
      // Nothing was taken during identification. From data on it makes no difference when packets are taken.
      const bool identified = place >= pagesMet_;
      if (!identified && (place <= member.restartPage || member.logical->pages().state() != Com::VrelState::ReadData)) {
        continue;
      }
      Stream& stream = *member.stream;
      member.feeding = !takePackets(*member.logical, [&](ByteView packet) { return stream.take(packet, Pass::Probe); });
    }
    if (!feeding || !reader_.readBlock(file_, kRecordingBlock, addPage)) break;
    progress.moved(reader_.position());
  }
  for (auto& [serial, member] : members_) {
    member.logical->rewind();
    member.stream->endProbe();
  }
  reader_.restart();
}

void ResourceOgg::scanPackets(Member& member) {
  Stream& stream = *member.stream;
  ByteView packet;
  while (const int result = member.logical->pages().takePacket(packet)) {
    if (result < 0) {
      member.gaps.reach(stream.knownTime());
      continue;
    }
    // The packets of a Stream without an accepted header are taken all the same, so that they do not pile up.
    if (!stream.headerAccepted()) continue;
    stream.take(packet, Pass::Scan);
    if (member.gaps.expects()) member.gaps.read(stream.knownTime());
  }
}

void ResourceOgg::scanPage(Member& member, const ogg_page& page) {
  Com::VrelStreamDec& pages = member.logical->pages();
  const std::uint64_t lostBefore = pages.pageCounters().pagesLost;
  const std::uint64_t holesBefore = pages.packetCounters().dataHoles;
  const Com::VrelState before = pages.state();
  pages.addPage(page, Com::VrelStreamDec::PageBytes::Stay);
  const auto note = [&](DamageKind kind, std::uint64_t count) {
    if (count == 0) return;
    damage.note({kind, count, member.stream, member.stream->knownTime()}, kind == DamageKind::PagesLate);
  };
  if (const std::uint64_t lost = pages.pageCounters().pagesLost - lostBefore; lost > 0) {
    // This pass meets the header once more, as it meets a repeat block.
    const bool ofHeader = before == Com::VrelState::ReadRepeat && pages.pageCounters().bosPages == 1;
    const bool unreadable = member.stream->headerSeen() && !member.stream->headerAccepted();
    note(ofHeader && unreadable ? DamageKind::HeaderIncomplete : DamageKind::PagesMissing, lost);
    if (before != Com::VrelState::ReadRepeat) member.gaps.expect();
    if (before == Com::VrelState::RepeatComplete) {
      const bool isFirst = pages.pageCounters().bosPages == 1;
      member.gaps.reach(isFirst ? Lib::kNoTime : member.stream->knownTime());
    }
  }
  note(DamageKind::PagesLate, pages.pageClass() == Com::PageClass::Old ? 1 : 0);
  note(DamageKind::PagesTwice, pages.pageClass() == Com::PageClass::Repeated ? 1 : 0);
  note(DamageKind::PacketsDropped, pages.packetCounters().dataHoles - holesBefore);
  note(DamageKind::StructureBroken,
       pages.state() == Com::VrelState::Failed && before != Com::VrelState::Failed ? 1 : 0);
}

bool ResourceOgg::isForeign(const ogg_page& page) {
  const std::uint32_t serial = serialOf(page);
  if (ogg_page_bos(&page) && matchCodec(page) == nullptr && foreign_.size() < kMaxStreams) foreign_.insert(serial);
  return foreign_.size() >= kMaxStreams || foreign_.contains(serial);
}

void ResourceOgg::noteInFile(DamageKind kind, std::uint64_t count, bool continues) {
  if (count == 0) return;
  Nano time = Lib::kNoTime;
  for (const auto& [serial, stream] : streams) time = std::max(time, stream->knownTime());
  damage.note({kind, count, nullptr, time}, continues);
}

void ResourceOgg::addProbedPage(Member& member, const ogg_page& page, std::uint64_t place) {
  if (place < (member.overfull ? member.firstPage : pagesMet_)) return;
  Com::VrelStreamDec& pages = member.logical->pages();
  pages.addPage(page);
  if (place < member.restartPage && pages.heldBytes() > kMaxHeldData) pages.dropData();
}

void ResourceOgg::secondPass() {
  PassProgress progress(*this, Phase::SecondPass);
  for (auto& [serial, member] : members_) {
    if (!member.stream->headerSeen()) damage.note({.kind = DamageKind::HeaderIncomplete, .stream = member.stream});
  }
  std::uint64_t unclaimed = 0;
  const auto addPage = [&](const ogg_page& page) {
    const auto member = members_.find(serialOf(page));
    if (member != members_.end()) {
      scanPage(member->second, page);
    } else if (!isForeign(page)) {
      ++unclaimed;
    }
  };
  // Where no header was accepted the file is read all the same, for its damage.
  while (!members_.empty() && !cancelled()) {
    for (auto& [serial, member] : members_) scanPackets(member);
    const Com::GapCounters before = reader_.gaps();
    if (!reader_.readBlock(file_, kRecordingBlock, addPage)) break;
    const Com::GapCounters& now = reader_.gaps();
    noteInFile(DamageKind::JunkBytes, now.skippedBytes - before.skippedBytes, now.skippedRuns == before.skippedRuns);
    progress.moved(reader_.position());
  }
  health.gaps = reader_.gaps();
  health.truncatedBytes = reader_.pendingBytes();
  noteInFile(DamageKind::CutOff, health.truncatedBytes);
  damage.note({.kind = DamageKind::PagesUnclaimed, .count = unclaimed});
  const bool sound = health.sound() && !cancelled();
  for (auto& [serial, member] : members_) {
    Stream& stream = *member.stream;
    stream.counters = countersOf(member.logical->pages());
    if (stream.counters.endPages == 0) damage.note({DamageKind::EndMissing, 1, &stream, stream.knownTime()});
    member.gaps.finish(stream.knownTime());
    stream.endScan();
    if (sound) member.logical->trustFile();
  }
  file_.close();
}

}  // namespace Kvex::Sto
