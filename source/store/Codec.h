#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "library/StreamCodec.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// How packets are found in a bare protocol file.
enum class Framing : std::uint8_t {
  None,        ///< The protocol has no bare files.
  Navigation,  ///< Fixed-size packets behind a sync byte.
  Range,       ///< "W" frames with a length.
};

/// What the store must know of a protocol. Adding a protocol is one row of these.
struct Codec {
  StreamCodec code;
  std::string_view extension;  ///< Of bare files, in lower case with the point; empty where there are none.
  Framing framing;
  std::unique_ptr<Stream> (*makeStream)(ResourceKind resourceKind, std::uint32_t serial);
};

/// Makes a `StreamClass(resourceKind, serial)`: the last column of a codec's row.
template <class StreamClass>
std::unique_ptr<Stream> makeStream(ResourceKind resourceKind, std::uint32_t serial) {
  return std::make_unique<StreamClass>(resourceKind, serial);
}

/// All protocols, in the order in which a recording's primary packets are compared with their tags.
using CodecList = std::span<const Codec>;

}  // namespace Kvex::Sto
