#pragma once

namespace Kvex::Sto {

/// Sets the flag of everything that a wanted value is worked out from, directly or through others. `visit` goes over
/// all requirements, calling the given `require(wanted, required)` for each; it runs until a pass sets no flag.
template <class Visit>
void settleRequirements(const Visit& visit) {
  bool changed = true;
  const auto require = [&changed](bool wanted, bool& required) {
    if (!wanted || required) return;
    required = true;
    changed = true;
  };
  while (changed) {
    changed = false;
    visit(require);
  }
}

}  // namespace Kvex::Sto
