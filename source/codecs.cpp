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
    {StreamCodec::Dask, makeStream<Sto::StreamDask>, RangeRole::None, ".dask", makeResource<Nav::ResourceNav>,
     Sto::holdsPacket<Nav::NavFraming>},
    {StreamCodec::Quon, makeStream<Sto::StreamQuon>, RangeRole::Source, ".quon", makeResource<Nav::ResourceNav>,
     Sto::holdsPacket<Nav::NavFraming>},
    {StreamCodec::Yeld, makeStream<Sto::StreamYeld>, RangeRole::Range, ".yeld", makeResource<Rng::ResourceRng>,
     Sto::holdsPacket<Rng::RangeFormat>},
    {StreamCodec::Zint, makeStream<Sto::StreamZint>},
    {StreamCodec::Can, makeStream<Sto::StreamCan>},
};

}  // namespace

Sto::CodecList allCodecs() {
  return kCodecs;
}

}  // namespace Kvex
