#pragma once

#include "store/RangeSources.h"
#include "store/ResourceBare.h"

namespace Kvex::Sto {

/// A file of bare range packets. Besides the range stream it holds a navigation stream for each source whose packets
/// lie in it.
class ResourceRng final : public ResourceBare<RangeFraming, OwnRangePackets> {
 public:
  using ResourceBare::ResourceBare;

  void scan() override;
  void linkStreams() override;

 private:
  /// The navigation streams, by the source that they are read from.
  using SourceStreams = std::map<std::uint32_t, Stream*>;

  SourceStreams makeRangeStreams();
  void firstRangePass(const SourceStreams& sources);
  void secondRangePass(const SourceStreams& sources);
};

}  // namespace Kvex::Sto
