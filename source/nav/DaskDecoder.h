#pragma once

#include "nav/NavDecoder.h"

namespace Kvex::Nav {

/// Decodes Dask packets: 84 bytes, sync byte 0xE8, with heave. Jerk is not worked out, and no source is reported.
class DaskDecoder : public NavDecoder {
 public:
  explicit DaskDecoder(bool scanFirst) : NavDecoder(kDaskProtocol, scanFirst) {}
};

}  // namespace Kvex::Nav
