#pragma once

#include "store/Codec.h"

namespace Kvex {

/// Every protocol that the project decodes.
Sto::CodecList allCodecs();

}  // namespace Kvex
