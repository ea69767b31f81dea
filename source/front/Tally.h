#pragma once

#include "store/SampleTally.h"

namespace Kvex::Front {

using Sto::isNumber;
using Sto::same;

}  // namespace Kvex::Front
