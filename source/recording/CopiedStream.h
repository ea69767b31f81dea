#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "recording/PacketAssembler.h"
#include "recording/VrelStreamDec.h"

namespace Kvex::Com {

/// The header of a logical stream, byte for byte.
struct RawHeader {
  std::string primary;
  std::vector<std::string> headers;
};

/// One logical stream of a recording that is to be copied: first its header, read from its first page on, then its data
/// packets, read from the start of the file in the way of a walk, both without decoding anything. Takes the packets of
/// a page as soon as the page is there, so that no packet is missing that any reader gets.
///
/// A foreign stream, of another kind than Kvex writes, has a first packet and no further header; all its pages count.
class CopiedStream {
 public:
  CopiedStream(std::uint32_t serial, bool foreign);

  std::uint32_t serial() const { return pages_.serial(); }
  bool isForeign() const { return foreign_; }

  /// A page while the header is read, from the stream's first page on.
  void readHeader(const ogg_page& page);
  bool headerSettled() const { return foreign_ ? !header_.primary.empty() : pages_.headerSettled(); }
  /// Whether the header ended as it announced, and no part of it is missing.
  bool headerWhole() const;
  const RawHeader& header() const { return header_; }
  const TaggedHeader& tagged() const { return pages_.header(); }
  const TaggedPacket& trailer() const { return pages_.trailer(); }

  /// Ends the reading of the header: pages come from the start of the file from now on.
  void beginData();
  /// A page of data, or one of a header that comes again.
  void addDataPage(const ogg_page& page);
  /// Calls `visitor(packet bytes, granule)` for each data packet that the pages have completed; the granule position is
  /// below 0 but for the last packet of a page.
  template <class Visitor>
  void takeData(Visitor&& visitor) {
    ogg_packet packet;
    while (const int result = foreign_ ? foreignPackets_.takePacket(packet) : pages_.takePacket(packet)) {
      if (result < 0) {
        ++holes_;
      } else if (!isPassedOver(packet)) {
        visitor(std::span<const std::uint8_t>(packet.packet, static_cast<std::size_t>(packet.bytes)),
                static_cast<std::int64_t>(packet.granulepos));
      }
    }
  }

  /// Pages whose numbers are missing, that came too late, or that came after the order of pages was broken.
  std::uint64_t pagesLost() const;
  /// Places where a packet was torn.
  std::uint64_t holes() const { return holes_; }
  /// Whether the newest page was an end page.
  bool ended() const { return ended_; }
  /// Whether a packet is begun and not complete.
  bool hasBegunPacket() const;

 private:
  void addForeignPage(const ogg_page& page);
  /// The header of a foreign stream, and the empty packet that ends it.
  bool isPassedOver(const ogg_packet& packet);
  void takeHeaderPackets(const ogg_page& page, std::size_t count);

  const bool foreign_;
  VrelStreamDec pages_;
  PacketAssembler rawPackets_;      ///< The header packets as bytes, beside `pages_`, which parses them.
  PacketAssembler foreignPackets_;  ///< Of a foreign stream.
  RawHeader header_;
  std::int64_t lastForeignPage_ = -1;
  bool foreignBegun_ = false;  ///< The first packet of a foreign stream was passed over.
  std::uint64_t foreignLost_ = 0;
  std::uint64_t brokenPages_ = 0;
  std::uint64_t holes_ = 0;
  std::uint64_t headerLosses_ = 0;  ///< Holes and missing pages while the header was read.
  bool ended_ = false;
};

}  // namespace Kvex::Com
