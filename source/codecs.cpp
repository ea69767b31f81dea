#include "codecs.h"

#include "can/StreamCan.h"
#include "nav/NavFraming.h"
#include "nav/StreamDask.h"
#include "nav/StreamQuon.h"
#include "range/RangeFormat.h"
#include "range/StreamYeld.h"
#include "zint/StreamZint.h"

namespace Kvex {

namespace {

using Lib::StreamCodec;
using Sto::makeResource;
using Sto::makeStream;
using Sto::RangeRole;

constexpr Sto::Codec kCodecs[] = {
    {StreamCodec::Dask, makeStream<Sto::StreamDask>, RangeRole::None, ".dask", makeResource<Nav::ResourceNav>},
    {StreamCodec::Quon, makeStream<Sto::StreamQuon>, RangeRole::Source, ".quon", makeResource<Nav::ResourceNav>},
    {StreamCodec::Yeld, makeStream<Sto::StreamYeld>, RangeRole::Range, ".yeld", makeResource<Rng::ResourceRng>},
    {StreamCodec::Zint, makeStream<Sto::StreamZint>},
    {StreamCodec::Can, makeStream<Sto::StreamCan>},
};

}  // namespace

Sto::CodecList allCodecs() {
  return kCodecs;
}

}  // namespace Kvex
