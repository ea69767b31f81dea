#include "store/Content.h"

#include <kvex/Content.h>

#include "codecs.h"

namespace Kvex {

bool holdsRecording(const std::string& path) {
  return Sto::holdsRecording(path, allCodecs());
}

}  // namespace Kvex
