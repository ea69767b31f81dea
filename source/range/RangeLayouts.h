#pragma once

#include "range/FieldRow.h"

namespace Kvex::Rng {

// Where the packets hold their fields. Fields that are no plain scaled numbers are read by the decoder.

/// Both sets of fields of one packet type or channel.
struct Layout {
  FieldRows<RangeTarget> target;
  FieldRows<RangeBody> body;
};

extern const Layout kShortLayout;
extern const Layout kLongLayout;
extern const Layout kLaneLayout;

}  // namespace Kvex::Rng
