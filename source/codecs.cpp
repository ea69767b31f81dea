#include "codecs.h"

#include "can/StreamCan.h"
#include "nav/StreamDask.h"
#include "nav/StreamQuon.h"
#include "range/StreamYeld.h"
#include "zint/StreamZint.h"

namespace Kvex {

namespace {

using Lib::StreamCodec;
using Sto::Framing;
using Sto::makeStream;

constexpr Sto::Codec kCodecs[] = {
    {StreamCodec::Dask, ".dask", Framing::Navigation, makeStream<Sto::StreamDask>},
    {StreamCodec::Quon, ".quon", Framing::Navigation, makeStream<Sto::StreamQuon>},
    {StreamCodec::Yeld, ".yeld", Framing::Range, makeStream<Sto::StreamYeld>},
    {StreamCodec::Zint, "", Framing::None, makeStream<Sto::StreamZint>},
    {StreamCodec::Can, "", Framing::None, makeStream<Sto::StreamCan>},
};

}  // namespace

Sto::CodecList allCodecs() {
  return kCodecs;
}

}  // namespace Kvex
