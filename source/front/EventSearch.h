#pragma once

#include <kvex/Event.h>
#include <memory>
#include <vector>

#include "front/OpenedFile.h"

namespace Kvex::Front {

/// What `File::events` gives.
Events findEvents(const std::shared_ptr<OpenedFile>& file, const EventOptions& options);

/// What `File::changes` gives. `signal`: a scalar or an element that can be read.
std::vector<Change> findChanges(const std::shared_ptr<OpenedFile>& file, const Signal& signal,
                                const ReadOptions& options);

}  // namespace Kvex::Front
