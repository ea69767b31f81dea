#include "recording/LogicalWriter.h"

#include <array>
#include <climits>
#include <new>
#include <utility>

#include "recording/OggPage.h"

namespace Kvex::Com {

namespace {

constexpr std::size_t kHeaderTypeOffset = 5;
constexpr std::size_t kMaxSegments = 255;
constexpr std::size_t kFullSegment = 255;

ogg_iovec_t part(const void* bytes, std::size_t count) {
  return {.iov_base = const_cast<void*>(bytes), .iov_len = count};
}

}  // namespace

std::string primaryText(std::string_view tag, std::size_t headerCount) {
  return std::string(tag) + "headers=" + std::to_string(headerCount) + '\n';
}

StreamForm copyForm(std::uint32_t serial, std::string primary, std::vector<std::string> headers) {
  return {.serial = serial,
          .primary = std::move(primary),
          .headers = std::move(headers),
          .bytesPerPage = SIZE_MAX,
          .numbersPackets = false};
}

LogicalWriter::LogicalWriter(PageSink& sink, StreamForm form) : sink_(sink), form_(std::move(form)) {
  if (ogg_stream_init(&state_, static_cast<int>(form_.serial)) != 0) throw std::bad_alloc();
}

void LogicalWriter::writePrimary() {
  flush();
  state_.b_o_s = 0;  // the next page is a first page, wherever the stream stands
  putText(form_.primary);
  flush();
}

void LogicalWriter::writeHeaders() {
  for (const std::string& header : form_.headers) putText(header);
  flush();
}

void LogicalWriter::writeHeader() {
  writePrimary();
  writeHeaders();
}

void LogicalWriter::add(std::span<const std::uint8_t> packet) {
  const ogg_iovec_t parts[] = {part(packet.data(), packet.size())};
  put(parts, false);
}

void LogicalWriter::addLed(std::span<const std::uint8_t> packet) {
  static constexpr std::array<std::uint8_t, 8> kLead{};
  const ogg_iovec_t parts[] = {part(kLead.data(), kLead.size()), part(packet.data(), packet.size())};
  put(parts, false);
}

void LogicalWriter::addCopied(std::span<const std::uint8_t> packet, std::int64_t granule) {
  const std::size_t segments = packet.size() / kFullSegment + 1;
  if (pendingSegments_ > 0 && pendingSegments_ + segments > kMaxSegments) flush();
  if (granule >= 0) granule_ = granule;
  pendingSegments_ = (pendingSegments_ + segments) % kMaxSegments;
  add(packet);
}

void LogicalWriter::flush() {
  ogg_page page;
  while (ogg_stream_flush_fill(&state_, &page, INT_MAX) != 0) writePage(page);
  pendingPackets_ = pendingBytes_ = pendingSegments_ = 0;
}

void LogicalWriter::end() {
  flush();
  putText("", /*last=*/true);
  flush();
  state_.e_o_s = 0;
}

void LogicalWriter::setPageNumber(std::uint32_t number) {
  flush();
  state_.pageno = number;
}

void LogicalWriter::skipPages(std::uint32_t count) {
  flush();
  const long next = state_.pageno == -1 ? 0 : state_.pageno;  // -1: no page was written yet
  setPageNumber(static_cast<std::uint32_t>(next) + count);
}

void LogicalWriter::putText(std::string_view packet, bool last) {
  const ogg_iovec_t parts[] = {part(packet.data(), packet.size())};
  put(parts, last);
}

void LogicalWriter::put(std::span<const ogg_iovec_t> parts, bool last) {
  for (const ogg_iovec_t& bytes : parts) pendingBytes_ += bytes.iov_len;
  ++pendingPackets_;
  const ogg_int64_t granule = form_.numbersPackets ? state_.packetno + 1 : granule_;
  const int result = ogg_stream_iovecin(&state_, const_cast<ogg_iovec_t*>(parts.data()), static_cast<int>(parts.size()),
                                        last ? 1 : 0, granule);
  if (result != 0) throw std::bad_alloc();
  if (pendingPackets_ >= form_.packetsPerPage || pendingBytes_ >= form_.bytesPerPage) return flush();
  ogg_page page;
  while (ogg_stream_pageout_fill(&state_, &page, INT_MAX) != 0) writePage(page);
}

void LogicalWriter::writePage(const ogg_page& page) {
  page_.assign(reinterpret_cast<const char*>(page.header), static_cast<std::size_t>(page.header_len));
  page_.append(reinterpret_cast<const char*>(page.body), static_cast<std::size_t>(page.body_len));
  if (extraFlags_ != 0) {
    page_[kHeaderTypeOffset] = static_cast<char>(page_[kHeaderTypeOffset] | extraFlags_);
    repairChecksum(bytesOf(page_));
  }
  sink_.writePage(page_);
}

}  // namespace Kvex::Com
