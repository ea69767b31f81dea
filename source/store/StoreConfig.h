#pragma once

#include <cstdint>

#include "store/Mode.h"

namespace Kvex::Sto {

/// The store's settings.
struct StoreConfig {
  RetainSettings retain;
  double progressInterval = 0.1;          ///< Least time between progress reports of a seek, in seconds.
  std::int64_t progressBytes = 0x100000;  ///< Bytes of file read between progress reports of a scan.
  std::uint32_t progressRingBits = 10;    ///< The `ProgressRing` has 2 to this power bytes.
};

}  // namespace Kvex::Sto
