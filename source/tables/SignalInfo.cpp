#include "tables/SignalInfo.h"

#include <cmath>

namespace Kvex::Sto {

std::int32_t decimalsOf(double resolution) {
  if (!(resolution > 0.0)) return -1;
  if (resolution < 1e-20) return 20;
  if (resolution < 1.0) return static_cast<std::int32_t>(std::ceil(-std::log10(resolution)));
  return 0;
}

std::string SignalInfo::elementName(std::uint32_t element) const {
  if (!isArray) return name;
  return name + "[" + (elementLabel != nullptr ? elementLabel(element) : std::to_string(element)) + "]";
}

}  // namespace Kvex::Sto
