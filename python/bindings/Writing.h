#pragma once

#include <nanobind/nanobind.h>

namespace Kvex::Python {

/// Binds what makes recordings out of others, and the paths of streams.
void bindWriting(nanobind::module_& module);

}  // namespace Kvex::Python
