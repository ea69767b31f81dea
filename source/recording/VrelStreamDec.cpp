#include "recording/VrelStreamDec.h"

#include <string>
#include <utility>

namespace Kvex::Com {

namespace {

constexpr std::size_t kHeaderTypeOffset = 5;
constexpr std::uint8_t kFlaggedPage = 0x08;

TaggedPacket parseTagged(Lib::ByteView packet) {
  return TaggedPacket(std::string(reinterpret_cast<const char*>(packet.data()), packet.size()));
}

/// Number of header packets that a primary packet announces; 0 where it does not say.
std::uint32_t announcedHeaders(const TaggedPacket& primary) {
  std::uint32_t count = 0;
  primary.getUnsigned("headers", count);
  return count;
}

}  // namespace

bool VrelStreamDec::addPage(const ogg_page& page, PageBytes bytes) {
  beforeLastPage_ = lastPage_;
  currentPage_ = static_cast<std::int32_t>(ogg_page_pageno(&page));
  pageClass_ = classify();
  ++pageCounters_.classCounts[static_cast<std::size_t>(pageClass_)];
  ++pageCounters_.pages;
  if (pageClass_ == PageClass::Old || pageClass_ == PageClass::Repeated) {
    ++pageCounters_.pagesRejected;
    return false;
  }
  lastPage_ = currentPage_;
  if (pageClass_ == PageClass::AfterGap) {
    pageCounters_.pagesLost += static_cast<std::uint64_t>(currentPage_ - beforeLastPage_ - 1);
  }
  ++pageCounters_.pagesAccepted;
  if ((page.header[kHeaderTypeOffset] & kFlaggedPage) != 0) ++pageCounters_.flaggedPages;

  if (ogg_page_bos(&page) != 0) {
    ++pageCounters_.bosPages;
    addBosPage(page);
  } else if (ogg_page_eos(&page) != 0) {
    ++pageCounters_.eosPages;
  } else {
    ++pageCounters_.middlePages;
    addMiddlePage(page, bytes);
  }
  return true;
}

PageClass VrelStreamDec::classify() const {
  if (pageCounters_.pages == 0) return PageClass::First;
  if (currentPage_ < lastPage_) return PageClass::Old;
  if (currentPage_ == lastPage_) return PageClass::Repeated;
  return currentPage_ == lastPage_ + 1 ? PageClass::InSequence : PageClass::AfterGap;
}

void VrelStreamDec::addBosPage(const ogg_page& page) {
  switch (state_) {
    case VrelState::AwaitPrimary:
      return readPrimary(page);
    case VrelState::HeaderComplete:
    case VrelState::ReadData:
    case VrelState::RepeatComplete:
      return readRepeatPrimary(page);
    default:
      return fail();
  }
}

void VrelStreamDec::addMiddlePage(const ogg_page& page, PageBytes bytes) {
  switch (state_) {
    case VrelState::ReadHeaders:
      return readHeaders(page, {headers_, packetCounters_.headerPackets, packetCounters_.headerHoles,
                                VrelState::HeaderComplete, /*kept=*/true});
    case VrelState::ReadRepeat:
      return readHeaders(page, {repeats_, packetCounters_.repeatHeaderPackets, packetCounters_.repeatHeaderHoles,
                                VrelState::RepeatComplete, /*kept=*/false});
    case VrelState::HeaderComplete:
    case VrelState::ReadData:
    case VrelState::RepeatComplete:
      return addData(page, bytes);
    default:
      return fail();
  }
}

void VrelStreamDec::readPrimary(const ogg_page& page) {
  std::optional<TaggedPacket> primary = takeFirstPacket(page, packetCounters_.primaryHoles);
  if (!primary) return;
  ++packetCounters_.primaryPackets;
  header_.primary = std::move(*primary);
  headers_ = {.expected = announcedHeaders(header_.primary)};
  enter(headers_.complete() ? VrelState::HeaderComplete : VrelState::ReadHeaders);
  if (!assembler_.reset()) fail();
}

void VrelStreamDec::readRepeatPrimary(const ogg_page& page) {
  const std::optional<TaggedPacket> primary = takeFirstPacket(page, packetCounters_.repeatPrimaryHoles);
  if (!primary) return;
  ++packetCounters_.repeatPrimaries;
  repeats_ = {.expected = announcedHeaders(*primary)};
  enter(repeats_.complete() ? VrelState::RepeatComplete : VrelState::ReadRepeat);
}

std::optional<TaggedPacket> VrelStreamDec::takeFirstPacket(const ogg_page& page, std::uint64_t& holes) {
  Lib::ByteView packet;
  const int result =
      assembler_.reset() && assembler_.addPage(page, PageBytes::Pass) ? assembler_.takePacket(packet) : 0;
  if (result > 0) return parseTagged(packet);
  if (result < 0) {
    ++holes;
  } else {
    fail();
  }
  return std::nullopt;
}

void VrelStreamDec::readHeaders(const ogg_page& page, BlockReading reading) {
  if (!assembler_.addPage(page, PageBytes::Pass)) return fail();
  Lib::ByteView packet;
  int result = 0;
  while ((result = assembler_.takePacket(packet)) > 0) {
    ++reading.packets;
    if (reading.block.complete()) continue;
    if (reading.kept && !keepHeader(packet)) return fail();
    ++reading.block.read;
  }
  if (assembler_.heldBytes() > limits_.headerBytes) return fail();
  if (result < 0) {
    // What follows the hole on this page waits for the next page.
    ++reading.holes;
    return;
  }
  if (reading.block.complete()) enter(reading.complete);
}

bool VrelStreamDec::keepHeader(Lib::ByteView packet) {
  headerBytes_ += packet.size() + VrelLimits::kHeaderOverhead;
  if (headerBytes_ > limits_.headerBytes) return false;
  header_.addHeader(parseTagged(packet));
  return true;
}

void VrelStreamDec::addData(const ogg_page& page, PageBytes bytes) {
  if (!assembler_.addPage(page, bytes)) return fail();
  enter(VrelState::ReadData);
  if (assembler_.heldBytes() <= limits_.heldBytes) return;
  ++packetCounters_.dataHoles;
  if (!assembler_.release()) fail();
}

}  // namespace Kvex::Com
