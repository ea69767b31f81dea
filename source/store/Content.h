#pragma once

#include <string>

#include "store/Codec.h"

namespace Kvex::Sto {

/// Whether a file is by its first 64 KiB, and not by its name, a recording or a bare file of one of the protocols:
/// there is the beginning of a page, or a good packet.
bool holdsRecording(const std::string& path, CodecList codecs);

}  // namespace Kvex::Sto
