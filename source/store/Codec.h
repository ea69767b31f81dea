#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "library/StreamCodec.h"
#include "store/Stream.h"

namespace Kvex::Sto {

class Resource;
struct Codec;
struct ScanContext;

/// The part that Streams of a protocol play in a range system.
enum class RangeRole : std::uint8_t {
  None,
  Range,   ///< Measures between a hunter and its targets; answers `Stream::rangeSources`.
  Source,  ///< Navigation data of the hunter or of a target.
};

/// What the store must know of a protocol. Adding a protocol is one row of these.
struct Codec {
  StreamCodec code;
  /// Makes a Stream of this protocol.
  std::unique_ptr<Stream> (*makeStream)(const StreamIdentity& identity);
  RangeRole rangeRole = RangeRole::None;
  std::string_view extension;  ///< Of bare files, in lower case with the point; empty where there are none.
  /// Makes what reads such a file.
  std::unique_ptr<Resource> (*makeResource)(const ScanContext& context, std::uint32_t resourceIndex, std::string path,
                                            const Codec& codec) = nullptr;
  /// Whether a good packet of such a file stands anywhere in these bytes.
  bool (*holdsPacket)(ByteView bytes) = nullptr;
};

/// Makes a `StreamClass(identity)`: a column of a codec's row.
template <class StreamClass>
std::unique_ptr<Stream> makeStream(const StreamIdentity& identity) {
  return std::make_unique<StreamClass>(identity);
}

/// Makes a `ResourceClass(context, resourceIndex, path, codec)`: a column of a codec's row.
template <class ResourceClass>
std::unique_ptr<Resource> makeResource(const ScanContext& context, std::uint32_t resourceIndex, std::string path,
                                       const Codec& codec) {
  return std::make_unique<ResourceClass>(context, resourceIndex, std::move(path), codec);
}

/// All protocols, in the order in which a recording's primary packets are compared with their tags.
using CodecList = std::span<const Codec>;

/// The row of a codec, or none.
const Codec* findCodec(CodecList codecs, StreamCodec code);

}  // namespace Kvex::Sto
