// The bytes of a recording: libogg finds the pages, and each of the first logical streams reads its own, twice.

#include <cstring>
#include <map>
#include <numeric>
#include <ogg/ogg.h>

#include "recording/VrelStreamDec.h"
#include "support/Check.h"
#include "support/RecordingMutator.h"

namespace {

using namespace Kvex;

constexpr std::size_t kMaxStreams = 4;
/// Small, so that short inputs reach them.
constexpr Com::VrelLimits kLimits = {.heldBytes = 4096, .headerBytes = 4096};

constexpr std::size_t kLargestPage = 255 * (255 + 12);

using Streams = std::map<int, Com::VrelStreamDec>;

/// Gives each page to its stream; takes data where the header is settled, but not after every page.
void readAll(Streams& streams, std::span<const std::uint8_t> recording) {
  ogg_sync_state sync;
  ogg_sync_init(&sync);
  std::memcpy(ogg_sync_buffer(&sync, static_cast<long>(recording.size())), recording.data(), recording.size());
  ogg_sync_wrote(&sync, static_cast<long>(recording.size()));
  ogg_page page;
  std::size_t turns = 0;
  while (const int result = ogg_sync_pageout(&sync, &page)) {
    if (result < 0) continue;
    const int serial = ogg_page_serialno(&page);
    if (streams.size() < kMaxStreams && !streams.contains(serial)) {
      streams.try_emplace(serial, static_cast<std::uint32_t>(serial), kLimits).first->second.expectPrimary();
    }
    const auto found = streams.find(serial);
    if (found == streams.end()) continue;
    Com::VrelStreamDec& stream = found->second;
    stream.addPage(page);
    Fuzz::check(stream.heldBytes() <= kLimits.heldBytes + kLargestPage || stream.state() == Com::VrelState::Failed);
    Lib::ByteView packet;
    while (stream.headerSettled() && ++turns % 3 != 0 && stream.takePacket(packet) != 0) {
    }
  }
  ogg_sync_clear(&sync);
}

void checkCounters(const Com::VrelStreamDec& stream) {
  const Com::PageCounters& counters = stream.pageCounters();
  Fuzz::check(counters.pages == counters.pagesAccepted + counters.pagesRejected);
  Fuzz::check(counters.pagesAccepted == counters.bosPages + counters.middlePages + counters.eosPages);
  Fuzz::check(counters.pages ==
              std::accumulate(counters.classCounts.begin(), counters.classCounts.end(), std::uint64_t{0}));
  Fuzz::check(stream.headersRead() <= stream.headersExpected());
  Fuzz::check(stream.header().headers.size() == stream.headersRead());
  Fuzz::check(stream.header().headers.size() * sizeof(Com::TaggedPacket) <= kLimits.headerBytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  Streams streams;
  readAll(streams, {data, size});
  for (auto& [serial, stream] : streams) {
    checkCounters(stream);
    const auto headers = stream.headersRead();
    stream.rewind();
    Fuzz::check(stream.headersRead() == headers && stream.state() == Com::VrelState::HeaderComplete);
  }
  readAll(streams, {data, size});
  for (const auto& [serial, stream] : streams) checkCounters(stream);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return Fuzz::RecordingMutator(data, size, maxSize, seed).mutate();
}
