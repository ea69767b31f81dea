#pragma once

#include <cstdlib>

namespace Kvex::Fuzz {

/// Ends the run as a finding where a statement about the program does not hold; libFuzzer shows the place.
inline void check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace Kvex::Fuzz
