#include "store/Codec.h"

#include <algorithm>

namespace Kvex::Sto {

const Codec* findCodec(CodecList codecs, StreamCodec code) {
  const auto found = std::ranges::find(codecs, code, &Codec::code);
  return found == codecs.end() ? nullptr : &*found;
}

}  // namespace Kvex::Sto
