#include "synth/DamagedPages.h"

#include <algorithm>
#include <utility>

#include "recording/OggPage.h"

namespace Kvex::Synth {

using Com::bytesOf;
using Com::pageView;

void DamagedPages::setDamage(const DamagePlan& plan) {
  plan_ = plan;
  random_.seed(plan.seed);
}

bool DamagedPages::chance(double probability) {
  // Not drawn where it cannot happen: an undamaged recording costs nothing.
  return probability > 0 && static_cast<double>(random_() >> 11) * 0x1p-53 < probability;
}

void DamagedPages::writePage(std::string_view page) {
  if (chance(plan_.junk)) writeJunk();
  if (chance(plan_.drop)) return;
  if (chance(plan_.delay)) {
    std::string earlier = std::exchange(delayed_, page);
    writeRaw(earlier);
    return;
  }
  const bool turned = chance(plan_.flip);
  if (turned) turnBit(damaged_ = page);
  const std::string_view result = turned ? damaged_ : page;
  writeRaw(result);
  if (chance(plan_.repeat)) writeRaw(result);
  writeRaw(std::exchange(delayed_, {}));
}

void DamagedPages::writeRaw(std::string_view bytes) {
  const std::uint64_t room = plan_.truncateAt > written_ ? plan_.truncateAt - written_ : 0;
  bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(room, bytes.size())));
  out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  written_ += bytes.size();
}

void DamagedPages::writeJunk() {
  std::string junk(1 + random_() % 600, '\0');
  for (char& byte : junk) byte = static_cast<char>(random_());
  writeRaw(junk);
}

void DamagedPages::turnBit(std::string& page) {
  const std::uint64_t bit = random_() % (page.size() * 8);
  // The checksum goes over the page as it was laid out, also where the bit lies in the segment table.
  ogg_page view = pageView(bytesOf(page));
  page[bit / 8] = static_cast<char>(page[bit / 8] ^ 1 << bit % 8);
  if (plan_.repairChecksums) ogg_page_checksum_set(&view);
}

}  // namespace Kvex::Synth
