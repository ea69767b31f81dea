#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <ogg/ogg.h>
#include <string>
#include <string_view>
#include <vector>

#include "recording/PageReader.h"
#include "recording/VrelStreamDec.h"

namespace Kvex::Testing {

/// What was read of a recording, in order, as texts: its pages, packets and holes, and what the gaps came to.
using ReadingLog = std::vector<std::string>;

/// The logical streams of a recording, which write down what they are given and what they give.
class LoggedStreams {
 public:
  explicit LoggedStreams(Com::VrelStreamDec::PageBytes bytes) : bytes_(bytes) {}

  void addPage(const ogg_page& page) {
    const auto serial = static_cast<std::uint32_t>(ogg_page_serialno(&page));
    log.push_back("page " + std::to_string(serial) + " " + std::to_string(ogg_page_pageno(&page)) + " of " +
                  std::to_string(page.header_len + page.body_len));
    if (streams_.size() < kMaxStreams && streams_.try_emplace(serial, serial).second) {
      streams_.at(serial).expectPrimary();
    }
    if (const auto found = streams_.find(serial); found != streams_.end()) found->second.addPage(page, bytes_);
  }

  void takePackets() {
    for (auto& [serial, stream] : streams_) {
      Lib::ByteView packet;
      while (const int result = stream.takePacket(packet)) {
        log.push_back(std::to_string(serial) + (result < 0 ? " hole" : " packet "));
        if (result > 0) log.back().append(reinterpret_cast<const char*>(packet.data()), packet.size());
      }
    }
  }

  void end(const Com::GapCounters& gaps, std::uint64_t pending) {
    log.push_back(std::to_string(gaps.skippedBytes) + " bytes in " + std::to_string(gaps.skippedRuns) + " gaps, " +
                  std::to_string(pending) + " pending");
    for (const auto& [serial, stream] : streams_) {
      log.push_back(std::to_string(serial) + " is " + std::to_string(static_cast<int>(stream.state())) + " with " +
                    std::to_string(stream.pageCounters().pagesAccepted) + " pages");
    }
  }

  ReadingLog log;

 private:
  static constexpr std::size_t kMaxStreams = 8;

  Com::VrelStreamDec::PageBytes bytes_;
  std::map<std::uint32_t, Com::VrelStreamDec> streams_;
};

/// Reads a recording by libogg alone, block by block.
inline ReadingLog readPlainly(std::string_view recording, std::size_t blockSize) {
  LoggedStreams streams(Com::VrelStreamDec::PageBytes::Pass);
  Com::GapCounters gaps;
  bool inGap = false;
  ogg_sync_state sync;
  ogg_sync_init(&sync);
  while (!recording.empty()) {
    const std::size_t count = std::min(blockSize, recording.size());
    std::memcpy(ogg_sync_buffer(&sync, static_cast<long>(count)), recording.data(), count);
    ogg_sync_wrote(&sync, static_cast<long>(count));
    recording.remove_prefix(count);
    ogg_page page;
    while (const long result = ogg_sync_pageseek(&sync, &page)) {
      if (result > 0) {
        streams.addPage(page);
      } else {
        gaps.skippedBytes += static_cast<std::uint64_t>(-result);
        gaps.skippedRuns += inGap ? 0 : 1;
      }
      inGap = result < 0;
    }
    streams.takePackets();
  }
  streams.end(gaps, static_cast<std::uint64_t>(sync.fill - sync.returned));
  ogg_sync_clear(&sync);
  return streams.log;
}

/// Reads the same in a file as the library does.
inline ReadingLog readInPlace(const std::string& path, std::size_t blockSize) {
  LoggedStreams streams(Com::VrelStreamDec::PageBytes::Stay);
  Com::PageReader reader;
  Lib::InputFile file;
  file.open(path);
  while (reader.readBlock(file, blockSize, [&](const ogg_page& page) { streams.addPage(page); })) streams.takePackets();
  streams.end(reader.gaps(), reader.pendingBytes());
  return streams.log;
}

}  // namespace Kvex::Testing
