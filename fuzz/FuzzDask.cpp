// Packets of the Dask protocol with good check bytes and any content.

#include "nav/DaskDecoder.h"
#include "support/NavWalks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Kvex::Fuzz::walkNavPackets<Kvex::Nav::DaskDecoder>(Kvex::Nav::kDaskProtocol, {data, size});
  return 0;
}
