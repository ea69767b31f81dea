#include <kvex/Version.h>

namespace Kvex {

std::string_view version() {
  return KVEX_VERSION;
}

}  // namespace Kvex
