#pragma once

#include <cstddef>
#include <cstdint>

#include "nav/NavProtocol.h"
#include "store/ResourceBare.h"

namespace Kvex::Nav {

/// How packets are found in a file of bare navigation packets, of either protocol: fixed sizes behind a sync byte.
struct NavFraming {
  static Sto::Frame inspect(const std::uint8_t* bytes, std::size_t available) {
    if (available == 0) return {Sto::Frame::State::Partial};
    for (const NavProtocol* protocol : {&kQuonProtocol, &kDaskProtocol}) {
      if (bytes[0] != protocol->sync) continue;
      const auto size = static_cast<std::uint32_t>(protocol->packetSize);
      return Sto::summedFrame(bytes, available, static_cast<std::uint32_t>(protocol->self), size);
    }
    return {Sto::Frame::State::Failed};
  }
};

/// A file of bare navigation packets.
using ResourceNav = Sto::ResourceBare<NavFraming, Sto::ResourceKind::NavigationFile>;

}  // namespace Kvex::Nav
