#pragma once

#include "nav/NavRecord.h"
#include "nav/NavWantTree.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

using NavTable = SignalTable<Nav::NavRecord, Nav::NavWantTree>;

/// The 694 signals of a Quon stream.
struct StaticAccessQuon {
  static const NavTable& table();
};

/// The 647 signals of a Dask stream.
struct StaticAccessDask {
  static const NavTable& table();
};

}  // namespace Kvex::Sto
