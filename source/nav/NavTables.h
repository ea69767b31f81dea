#pragma once

#include "nav/NavRecord.h"
#include "nav/NavWantTree.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// The 694 signals of a Quon stream.
struct StaticAccessQuon {
  static const SignalTable& table();
};

/// The 647 signals of a Dask stream.
struct StaticAccessDask {
  static const SignalTable& table();
};

}  // namespace Kvex::Sto
