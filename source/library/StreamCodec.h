#pragma once

#include <cstdint>

namespace Kvex::Lib {

/// The code of a stream's protocol. Only the protocols that the project decodes have a name here; the printed names of
/// all codes are in `kStreamCodecNames` (Enumerations.h).
enum class StreamCodec : std::uint8_t {
  None = 0,
  Dask = 3,
  Quon = 4,
  Yeld = 5,
  Can = 6,
  Zint = 15,
  Unknown = 17,
};

}  // namespace Kvex::Lib
