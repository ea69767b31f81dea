#pragma once

#include "nav/DaskDecoder.h"
#include "nav/StreamNav.h"

namespace Kvex::Sto {

/// A stream of Dask packets, of a recording or of a bare file.
class StreamDask final : public StreamNav<Nav::DaskDecoder> {
 public:
  explicit StreamDask(const StreamIdentity& identity) : StreamNav(identity, StaticAccessDask::table()) {}

 protected:
  Nav::FeedResult feedRaw(ByteView packet) override;
};

}  // namespace Kvex::Sto
