#pragma once

#include <kvex/Damage.h>
#include <memory>
#include <string>
#include <vector>

#include "store/Resource.h"

namespace Kvex {

struct Damage::Data {
  Judgement judgement = Judgement::Whole;
  std::string sentence;
  bool lost = false;
  std::vector<Place> places;
  std::uint64_t placesInAll = 0;
  std::vector<Counter> counters;
  std::vector<std::string> notes;
};

/// What the front door's own code may do with a `Damage`.
class DamageAccess {
 public:
  /// Judges what the scan of a file met. `span` is that of the file; its start is `kNoTime` without time.
  static Damage judge(const Sto::Resource& resource, Span span);
};

}  // namespace Kvex
