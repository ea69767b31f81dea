#pragma once

#include <kvex/Value.h>

#include "library/Sample.h"

namespace Kvex::Front {

/// The same value with the same state, as the public `Value` and as the record of the floors below.
inline Value valueOf(const Lib::Sample& sample) {
  Value value;
  Lib::withType(sample.type,
                [&](auto tag) { value = Value(sample.as<typename decltype(tag)::Type>(), sample.time, sample.flags); });
  return value;
}

inline Lib::Sample sampleOf(const Value& value) {
  Lib::Sample sample;
  Lib::withType(value.type(), [&](auto tag) { sample.set(value.get<typename decltype(tag)::Type>()); });
  sample.flags = value.flags();
  sample.time = value.stamp();
  return sample;
}

}  // namespace Kvex::Front
