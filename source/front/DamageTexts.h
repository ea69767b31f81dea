#pragma once

#include <kvex/Damage.h>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Front {

/// "1 page", "18 pages".
std::string counted(std::uint64_t count, std::string_view noun);

/// What places of damage mean, in words.
class DamageTexts {
 public:
  /// `file` is the file's span, its start `kNoTime` without time. `unit` is what the file is made of: "page".
  DamageTexts(Span file, std::string unit) : file_(file), unit_(std::move(unit)) {}

  /// "stream 1: 18 pages missing, 3.1 s of data lost between 7.0 s and 10.1 s (09:00:07.0 to 09:00:10.1 UTC)". Seconds
  /// without a date count from the file's start. Takes all of a place but its text.
  std::string text(const Place& place) const;

 private:
  std::string what(const Place& place) const;
  std::string when(const Place& place) const;
  std::string lostBetween(Nano from, Nano to) const;
  std::string near(Nano time) const;

  Span file_;
  std::string unit_;
};

}  // namespace Kvex::Front
