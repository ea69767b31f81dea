#include "store/Content.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "library/InputFile.h"

namespace Kvex::Sto {

namespace {

constexpr std::size_t kBytesLookedAt = 0x10000;
/// The capture pattern of a page and its version.
constexpr std::string_view kPageStart("OggS\0", 5);

bool holdsPage(Lib::ByteView bytes) {
  return std::search(bytes.data(), bytes.data() + bytes.size(), kPageStart.begin(), kPageStart.end()) !=
         bytes.data() + bytes.size();
}

}  // namespace

bool holdsRecording(const std::string& path, CodecList codecs) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return false;  // a pipe would wait for its writer
  Lib::InputFile file;
  if (!file.open(path)) return false;
  std::vector<std::uint8_t> buffer(kBytesLookedAt);
  const Lib::ByteView bytes(buffer.data(), file.readAt(0, buffer.data(), buffer.size()));
  return holdsPage(bytes) || std::ranges::any_of(codecs, [&](const Codec& codec) {
           return codec.holdsPacket != nullptr && codec.holdsPacket(bytes);
         });
}

}  // namespace Kvex::Sto
