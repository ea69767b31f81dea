#pragma once

#include <cstdint>
#include <ostream>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "recording/PageSink.h"

namespace Kvex::Synth {

/// Damage to do to the pages of a recording. The chances are per page, from 0 to 1; the same plan does the same damage.
struct DamagePlan {
  std::uint64_t seed = 1;
  double drop = 0;               ///< The page is left out.
  double repeat = 0;             ///< The page comes twice.
  double delay = 0;              ///< The page comes after the one that follows it; the very last page is lost instead.
  double flip = 0;               ///< One bit of the page is turned round.
  double junk = 0;               ///< Up to 600 bytes of no meaning stand before the page.
  bool repairChecksums = false;  ///< A page with a turned bit gets a good checksum again.
  std::uint64_t truncateAt = UINT64_MAX;  ///< The recording ends after this many bytes.
};

/// Where the pages of a recording go: to a stream of bytes, on the way through the damage that was planned for them.
class DamagedPages : public Com::PageSink {
 public:
  explicit DamagedPages(std::ostream& out) : out_(out) {}

  /// What is done to the pages from now on.
  void setDamage(const DamagePlan& plan);

  void writePage(std::string_view page) override;
  /// Bytes that are no page. No damage is done to them.
  void writeRaw(std::string_view bytes);

  std::uint64_t bytesWritten() const { return written_; }

 private:
  bool chance(double probability);
  void writeJunk();
  void turnBit(std::string& page);

  std::ostream& out_;
  std::uint64_t written_ = 0;
  DamagePlan plan_;
  std::mt19937_64 random_;
  std::string damaged_;
  std::string delayed_;
};

}  // namespace Kvex::Synth
