// Packets of the Quon protocol with good check bytes and any content.

#include "nav/QuonDecoder.h"
#include "support/NavWalks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Kvex::Fuzz::walkNavPackets<Kvex::Nav::QuonDecoder>(Kvex::Nav::kQuonProtocol, {data, size});
  return 0;
}
