#include "recording/CopiedStream.h"

namespace Kvex::Com {

namespace {

std::string bytesOf(const ogg_packet& packet) {
  return {reinterpret_cast<const char*>(packet.packet), static_cast<std::size_t>(packet.bytes)};
}

}  // namespace

CopiedStream::CopiedStream(std::uint32_t serial, bool foreign)
    : foreign_(foreign), pages_(serial), rawPackets_(serial), foreignPackets_(serial) {
  pages_.expectPrimary();
}

void CopiedStream::readHeader(const ogg_page& page) {
  if (headerSettled()) return;
  if (foreign_) {
    if (ogg_page_bos(&page) != 0) takeHeaderPackets(page, 1);
    return;
  }
  const VrelState before = pages_.state();
  if (!pages_.addPage(page)) return;
  if (ogg_page_bos(&page) != 0) {
    if (before == VrelState::AwaitPrimary) takeHeaderPackets(page, 1);
  } else if (ogg_page_eos(&page) == 0 && before == VrelState::ReadHeaders) {
    takeHeaderPackets(page, pages_.headersExpected() - header_.headers.size());
  }
  if (pages_.headerSettled()) {
    const PacketCounters& counted = pages_.packetCounters();
    headerLosses_ = counted.primaryHoles + counted.headerHoles + pages_.pageCounters().pagesLost;
    rawPackets_.release();
  }
}

void CopiedStream::takeHeaderPackets(const ogg_page& page, std::size_t count) {
  const bool primary = ogg_page_bos(&page) != 0;
  if (primary) rawPackets_.reset();
  if (!rawPackets_.addPage(page)) return;
  ogg_packet packet;
  // As the reader does it: what follows a hole waits for the next page.
  while (count > 0 && rawPackets_.takePacket(packet) > 0) {
    if (primary) {
      header_.primary = bytesOf(packet);
    } else {
      header_.headers.push_back(bytesOf(packet));
    }
    --count;
  }
  if (primary) rawPackets_.reset();
}

bool CopiedStream::headerWhole() const {
  if (foreign_) return headerSettled();
  return pages_.headerSettled() && headerLosses_ == 0 && header_.headers.size() == pages_.headersExpected();
}

void CopiedStream::beginData() {
  pages_.rewind();
}

void CopiedStream::addDataPage(const ogg_page& page) {
  ended_ = ogg_page_eos(&page) != 0;
  if (foreign_) return addForeignPage(page);
  if (pages_.addPage(page) && pages_.state() == VrelState::Failed) ++brokenPages_;
}

void CopiedStream::addForeignPage(const ogg_page& page) {
  const std::int64_t number = static_cast<std::int32_t>(ogg_page_pageno(&page));
  if (number <= lastForeignPage_) {
    if (number < lastForeignPage_) ++foreignLost_;
    return;
  }
  if (lastForeignPage_ >= 0) foreignLost_ += static_cast<std::uint64_t>(number - lastForeignPage_ - 1);
  lastForeignPage_ = number;
  if (!foreignPackets_.addPage(page)) foreignPackets_.reset();
}

bool CopiedStream::isPassedOver(const ogg_packet& packet) {
  if (!foreign_) return false;
  if (!foreignBegun_ && packet.b_o_s != 0) return foreignBegun_ = true;
  return packet.e_o_s != 0 && packet.bytes == 0;
}

std::uint64_t CopiedStream::pagesLost() const {
  const PageCounters& counted = pages_.pageCounters();
  return counted.pagesLost + counted.classCounts[static_cast<std::size_t>(PageClass::Old)] + foreignLost_ +
         brokenPages_;
}

bool CopiedStream::hasBegunPacket() const {
  return (foreign_ ? foreignPackets_.heldBytes() : pages_.heldBytes()) > 0;
}

}  // namespace Kvex::Com
