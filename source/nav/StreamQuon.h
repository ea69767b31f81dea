#pragma once

#include "nav/QuonDecoder.h"
#include "nav/StreamNav.h"

namespace Kvex::Sto {

/// A stream of Quon packets: of a recording, of a bare file, or of one source of a range file, where packets come in
/// blocks behind an address.
class StreamQuon final : public StreamNav<Nav::QuonDecoder> {
 public:
  explicit StreamQuon(const StreamIdentity& identity) : StreamNav(identity, StaticAccessQuon::table()) {}

 protected:
  Nav::FeedResult feedRaw(ByteView packet) override;
  void wantForScan(Nav::NavWantTree& wants) const override;
  void describeSource() override;
};

}  // namespace Kvex::Sto
