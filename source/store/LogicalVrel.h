#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording/PageReader.h"
#include "recording/VrelStreamDec.h"
#include "store/Logical.h"

namespace Kvex::Sto {

/// Bytes of a recording that are taken in before packets are asked for again. Where a damaged stream resumes, and which
/// packets a repeat block cuts off, depends on it.
inline constexpr std::size_t kRecordingBlock = 4096;

/// One logical stream of a recording. During a scan the Resource hands the pages in; during a walk it reads them
/// itself.
class LogicalVrel final : public Logical {
 public:
  LogicalVrel(std::string path, std::uint32_t serial) : Logical(std::move(path)), pages_(serial) {}

  /// The page reader that gets this stream's pages.
  Com::VrelStreamDec& pages() { return pages_; }
  const Com::VrelStreamDec& pages() const { return pages_; }

  /// Says that the whole file was seen to be sound: good pages from end to end and nothing between them. A walk may
  /// then hop from page header to page header, and check only its own pages.
  void trustFile() { hops_ = true; }

  void rewind() override;
  bool next(Lib::ByteView& packet) override;

 private:
  bool readMore();
  bool readBlock();
  bool hopBlock();
  /// `count` bytes of the file at `offset`; none where the file ends first.
  Lib::ByteView peek(std::int64_t offset, std::size_t count);

  Com::VrelStreamDec pages_;
  Com::PageReader reader_;

  bool hops_ = false;
  std::int64_t hopOffset_ = 0;        ///< Offset of the next page header.
  std::vector<std::uint8_t> window_;  ///< Bytes of the file from `windowOffset_` on.
  std::int64_t windowOffset_ = 0;
  std::size_t windowSize_ = 0;
};

}  // namespace Kvex::Sto
