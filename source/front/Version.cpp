#include <kvex/Version.h>

namespace Kvex {

std::string_view version() {
  return KVEX_VERSION;
}

std::string_view build() {
  return KVEX_BUILD;
}

}  // namespace Kvex
