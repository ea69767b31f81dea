#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "recording/TaggedPacket.h"
#include "store/Codec.h"
#include "store/RangeSources.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// The tag of the packet that says how a Stream belongs to a range system, by serial numbers.
inline constexpr std::string_view kRangeTag = "{Kvex-Range}";

/// The packet of a navigation stream that belongs to the range stream of this serial.
Com::TaggedPacket makeSourceTag(std::uint32_t rangeSerial);

/// Notes in the packets of a range stream and of a navigation stream made from the source in `place` how they belong
/// together: the navigation stream is that source, and the hunter or a target if the addresses say so.
void bindSource(const RangeSources& range, Com::TaggedPacket& rangePacket, Com::TaggedPacket& sourcePacket,
                std::size_t place, std::uint32_t sourceSerial);

/// Turns the serial numbers of the "{Kvex-Range}" packets into store-wide stream ids, which go into the
/// "{Kvex-StreamScan}" packets. A Stream that lacks one of the two is passed over, a serial without a Stream writes no
/// key.
void linkRangeStreams(const std::map<std::uint32_t, std::unique_ptr<Stream>>& streams, CodecList codecs);

}  // namespace Kvex::Sto
