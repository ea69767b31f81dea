#include "codecs.h"

#include "can/StreamCan.h"
#include "zint/StreamZint.h"

namespace Kvex {

namespace {

using Lib::StreamCodec;
using Sto::Framing;
using Sto::makeStream;

constexpr Sto::Codec kCodecs[] = {
    {StreamCodec::Zint, "", Framing::None, makeStream<Sto::StreamZint>},
    {StreamCodec::Can, "", Framing::None, makeStream<Sto::StreamCan>},
};

}  // namespace

Sto::CodecList allCodecs() { return kCodecs; }

}  // namespace Kvex
