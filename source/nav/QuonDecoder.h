#pragma once

#include "nav/NavDecoder.h"

namespace Kvex::Nav {

/// Decodes Quon packets: 72 bytes, sync byte 0xE7.
class QuonDecoder : public NavDecoder {
 public:
  explicit QuonDecoder(bool scanFirst) : NavDecoder(kQuonProtocol, scanFirst) {}

  /// Decodes a block: five bytes that name the source, an address and a provenance, and behind them whole packets.
  /// `check`: passes over packets that are not good; nothing is searched for inside a block. Returns the result of the
  /// last packet decoded. The end of the first pass ends the block.
  FeedResult feedBlock(Lib::ByteView block, bool check);

 private:
  void setSource(std::uint32_t address, std::uint8_t provenance);
};

}  // namespace Kvex::Nav
