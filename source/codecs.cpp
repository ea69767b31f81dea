#include "codecs.h"

#include "range/StreamYeld.h"
#include "zint/StreamZint.h"

namespace Kvex {

namespace {

using Lib::StreamCodec;
using Sto::Framing;
using Sto::makeStream;

constexpr Sto::Codec kCodecs[] = {
    {StreamCodec::Yeld, ".yeld", Framing::Range, makeStream<Sto::StreamYeld>},
    {StreamCodec::Zint, "", Framing::None, makeStream<Sto::StreamZint>},
};

}  // namespace

Sto::CodecList allCodecs() { return kCodecs; }

}  // namespace Kvex
