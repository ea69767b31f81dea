#include "codecs.h"

#include "zint/StreamZint.h"

namespace Kvex {

namespace {

using Lib::StreamCodec;
using Sto::Framing;
using Sto::makeStream;

constexpr Sto::Codec kCodecs[] = {
    {StreamCodec::Zint, "", Framing::None, makeStream<Sto::StreamZint>},
};

}  // namespace

Sto::CodecList allCodecs() { return kCodecs; }

}  // namespace Kvex
