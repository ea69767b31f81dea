#pragma once

#include "range/RangeRecord.h"
#include "range/RangeWantTree.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// The 818 signals of the range protocol: 148 of each of the four targets, then 226 of the body. Built at the first
/// call, never changed and shared by all range streams.
const SignalTable& rangeTable();

}  // namespace Kvex::Sto
