#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "recording/PacketAssembler.h"
#include "recording/TaggedPacket.h"

namespace Kvex::Com {

/// How far the reading of a logical stream has come.
enum class VrelState : std::uint8_t {
  None = 0,            ///< Before the first state.
  Made = 1,            ///< No file yet: pages are not expected.
  AwaitPrimary = 2,    ///< The first page must bring the primary packet.
  ReadHeaders = 3,     ///< Reading the header packets.
  HeaderComplete = 4,  ///< Header complete, no data yet.
  ReadData = 5,        ///< Reading data.
  ReadRepeat = 6,      ///< Reading the header packets of a repeat block.
  RepeatComplete = 7,  ///< Repeat block complete.
  Failed = 9,          ///< Broken structure. Stays so until a rewind.
};

/// How a page's sequence number stands to the page before it.
enum class PageClass : std::uint8_t {
  None = 0,        ///< There was no page yet.
  First = 1,       ///< First page since the start or a rewind.
  Old = 2,         ///< Below the last number: rejected.
  Repeated = 3,    ///< Equal to the last number: rejected.
  InSequence = 4,  ///< The last number + 1.
  AfterGap = 5,    ///< Above the last number + 1: pages are missing.
};

/// What has become of the pages of a logical stream since its start or last rewind.
struct PageCounters {
  std::uint64_t pages = 0;
  std::uint64_t pagesAccepted = 0;
  std::uint64_t pagesRejected = 0;             ///< Old and repeated pages.
  std::uint64_t pagesLost = 0;                 ///< Numbers missing in the sequence.
  std::uint64_t bosPages = 0;                  ///< Accepted pages that open a logical stream or a repeat block.
  std::uint64_t middlePages = 0;               ///< Accepted pages that are neither first nor last.
  std::uint64_t eosPages = 0;                  ///< Accepted pages that close a logical stream; they are ignored.
  std::uint64_t flaggedPages = 0;              ///< Accepted pages with the header flag 0x08.
  std::array<std::uint64_t, 7> classCounts{};  ///< All pages, by `PageClass`.

  bool operator==(const PageCounters&) const = default;
};

/// Packets taken and holes met, by kind. A hole is a place where packets or a part of one were lost.
struct PacketCounters {
  std::uint64_t primaryPackets = 0;
  std::uint64_t repeatPrimaries = 0;
  std::uint64_t headerPackets = 0;
  std::uint64_t repeatHeaderPackets = 0;
  std::uint64_t dataPackets = 0;
  std::uint64_t primaryHoles = 0;
  std::uint64_t repeatPrimaryHoles = 0;
  std::uint64_t headerHoles = 0;
  std::uint64_t repeatHeaderHoles = 0;
  std::uint64_t dataHoles = 0;

  bool operator==(const PacketCounters&) const = default;
};

/// A counter with its name, for listings.
template <class Counters>
struct CounterRow {
  std::string_view name;
  std::uint64_t Counters::*counter;
};

inline constexpr CounterRow<PageCounters> kPageCounterRows[] = {
    {"pages", &PageCounters::pages},
    {"pagesAccepted", &PageCounters::pagesAccepted},
    {"pagesRejected", &PageCounters::pagesRejected},
    {"pagesLost", &PageCounters::pagesLost},
    {"bosPages", &PageCounters::bosPages},
    {"middlePages", &PageCounters::middlePages},
    {"eosPages", &PageCounters::eosPages},
    {"flaggedPages", &PageCounters::flaggedPages},
};

inline constexpr CounterRow<PacketCounters> kPacketCounterRows[] = {
    {"primaryPackets", &PacketCounters::primaryPackets},
    {"repeatPrimaries", &PacketCounters::repeatPrimaries},
    {"headerPackets", &PacketCounters::headerPackets},
    {"repeatHeaderPackets", &PacketCounters::repeatHeaderPackets},
    {"dataPackets", &PacketCounters::dataPackets},
    {"primaryHoles", &PacketCounters::primaryHoles},
    {"repeatPrimaryHoles", &PacketCounters::repeatPrimaryHoles},
    {"headerHoles", &PacketCounters::headerHoles},
    {"repeatHeaderHoles", &PacketCounters::repeatHeaderHoles},
    {"dataHoles", &PacketCounters::dataHoles},
};

/// What is known of one logical stream of a recording: its header, how far its reading has come, and what was counted.
/// Whoever reads the stream derives from this; see `VrelStreamDec`.
class VrelStream {
 public:
  VrelStream(const VrelStream&) = delete;
  VrelStream& operator=(const VrelStream&) = delete;

  std::uint32_t serial() const { return serial_; }

  /// The primary packet and the header packets read so far; both survive a rewind.
  const TaggedHeader& header() const { return header_; }
  /// Always empty: recordings have no trailer packet.
  const TaggedPacket& trailer() const { return trailer_; }

  /// Header packets read so far, and the number that the primary packet announced.
  std::uint32_t headersRead() const { return headers_.read; }
  std::uint32_t headersExpected() const { return headers_.expected; }

  VrelState state() const { return state_; }
  VrelState previousState() const { return previousState_; }
  /// Whether no more header packets are awaited, be it that all have come or that the stream has failed.
  bool headerSettled() const { return state_ >= VrelState::HeaderComplete; }

  /// The class of the last page, accepted or not.
  PageClass pageClass() const { return pageClass_; }
  /// Sequence number of the last page accepted.
  std::int64_t lastPage() const { return lastPage_; }

  const PageCounters& pageCounters() const { return pageCounters_; }
  const PacketCounters& packetCounters() const { return packetCounters_; }

 protected:
  /// How far a block of header packets has been read.
  struct HeaderBlock {
    std::uint32_t read = 0;
    std::uint32_t expected = 0;
    bool complete() const { return read == expected; }
  };

  explicit VrelStream(std::uint32_t serial) : serial_(serial), assembler_(serial) {}
  ~VrelStream() = default;

  void enter(VrelState state);
  /// Back to the place before the first page, with the header as it is.
  void rewindPages();

  const std::uint32_t serial_;
  TaggedHeader header_;
  TaggedPacket trailer_;
  PacketAssembler assembler_;
  VrelState previousState_ = VrelState::None;
  VrelState state_ = VrelState::Made;
  PageClass pageClass_ = PageClass::None;
  std::int64_t beforeLastPage_ = 0;
  std::int64_t lastPage_ = 0;
  std::int64_t currentPage_ = 0;
  HeaderBlock headers_;
  HeaderBlock repeats_;
  PacketCounters packetCounters_;
  PageCounters pageCounters_;
};

}  // namespace Kvex::Com
