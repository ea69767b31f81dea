#include "store/RangeLinks.h"

#include <string>

namespace Kvex::Sto {

namespace {

using Com::TaggedPacket;

// The serial numbers of navigation streams stand in a range stream's packet under these keys.
std::string sourceKey(std::size_t place) {
  return "Codec.Quon.Index." + std::to_string(place);
}
std::string targetKey(std::size_t target) {
  return "Target.Index." + std::to_string(target);
}
constexpr std::string_view kSourceList = "Codec.Quon.Indices";
constexpr std::string_view kTargetList = "Target.Indices";
constexpr std::string_view kHunterKey = "Hunter";
// That of the range stream stands in a navigation stream's packet under both of these.
constexpr std::string_view kProtocolKey = "Codec.Yeld";
constexpr std::string_view kRangeKey = "Range";

std::string serialKey(std::string_view key) {
  return std::string(key) + ".Vrel.Serial";
}

/// Appends to a list of numbers separated by blanks.
void appendNumber(TaggedPacket& packet, std::string_view key, std::size_t number) {
  std::string list;
  packet.getText(key, list);
  if (!list.empty()) list += ' ';
  packet.setText(key, list + std::to_string(number));
}

/// Links from one Stream: from a serial in its range packet to an id in its scan packet.
class Linker {
 public:
  Linker(const std::map<std::uint32_t, std::unique_ptr<Stream>>& streams, const TaggedPacket& range, TaggedPacket& scan)
      : streams_(streams), range_(range), scan_(scan) {}

  void link(std::string_view key) {
    std::uint32_t serial = 0;
    if (!range_.getUnsigned(serialKey(key), serial)) return;
    const auto found = streams_.find(serial);
    if (found != streams_.end()) scan_.setNumber("Range." + std::string(key) + ".Stream", found->second->entry.index);
  }

  void copyList(std::string_view key) {
    std::string list;
    if (range_.getText(key, list)) scan_.setText("Range." + std::string(key), list);
  }

 private:
  const std::map<std::uint32_t, std::unique_ptr<Stream>>& streams_;
  const TaggedPacket& range_;
  TaggedPacket& scan_;
};

}  // namespace

TaggedPacket makeSourceTag(std::uint32_t rangeSerial) {
  TaggedPacket packet{std::string(kRangeTag)};
  packet.setNumber(serialKey(kProtocolKey), rangeSerial);
  packet.setNumber(serialKey(kRangeKey), rangeSerial);
  return packet;
}

void bindSource(const RangeSources& range, TaggedPacket& rangePacket, TaggedPacket& sourcePacket, std::size_t place,
                std::uint32_t sourceSerial) {
  const std::optional<std::uint32_t> address = range.sources()[place]->address;
  const auto setSerial = [&](std::string_view key) { rangePacket.setNumber(serialKey(key), sourceSerial); };
  if (range.hunterAddress() == address) {
    setSerial(kHunterKey);
    sourcePacket.setText("WhoAmI", "Hunter");
  }
  for (std::size_t target = 0; target < RangeSources::kTargets; ++target) {
    if (range.targetAddresses()[target] != address) continue;
    setSerial(targetKey(target));
    appendNumber(rangePacket, kTargetList, target);
    sourcePacket.setText("WhoAmI", "Target " + std::to_string(target));
  }
  setSerial(sourceKey(place));
  appendNumber(rangePacket, kSourceList, place);
}

void linkRangeStreams(const std::map<std::uint32_t, std::unique_ptr<Stream>>& streams, CodecList codecs) {
  for (const auto& [serial, stream] : streams) {
    const Codec* codec = findCodec(codecs, stream->codec());
    const TaggedPacket* range = stream->header().findHeader(kRangeTag);
    TaggedPacket* scan = stream->header().findHeader("{Kvex-StreamScan}");
    if (codec == nullptr || range == nullptr || scan == nullptr) continue;
    Linker linker(streams, *range, *scan);
    if (codec->rangeRole == RangeRole::Source) {
      linker.link(kProtocolKey);
      linker.link(kRangeKey);
    } else if (codec->rangeRole == RangeRole::Range) {
      for (std::size_t place = 0; place < RangeSources::kPlaces; ++place) linker.link(sourceKey(place));
      linker.copyList(kSourceList);
      linker.link(kHunterKey);
      for (std::size_t target = 0; target < RangeSources::kTargets; ++target) linker.link(targetKey(target));
      linker.copyList(kTargetList);
    }
  }
}

}  // namespace Kvex::Sto
