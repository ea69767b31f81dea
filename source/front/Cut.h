#pragma once

#include <kvex/Writing.h>
#include <memory>
#include <string>

#include "front/OpenedFile.h"

namespace Kvex {
class File;
}

namespace Kvex::Front {

/// What `File::cut` does. `file` is that of `original`.
CutReport cutFile(File& original, const std::shared_ptr<OpenedFile>& file, const std::string& out,
                  const CutOptions& options);

}  // namespace Kvex::Front
