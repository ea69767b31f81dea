#pragma once

#include <cstdint>
#include <kvex/Signal.h>
#include <kvex/Stream.h>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Front {

/// Finds signals by what a person types: see `File` for the rules.
class SignalFinder {
 public:
  /// All must outlive the finder. `path` goes into errors.
  SignalFinder(const std::string& path, const std::vector<Stream>& streams, const std::vector<Signal>& signals)
      : path_(path), streams_(streams), signals_(signals) {}

  Signal one(std::string_view text) const;
  std::vector<Signal> match(std::string_view pattern) const;
  std::vector<Signal> choose(const std::vector<std::string>& texts, const std::vector<std::uint32_t>& streams) const;
  std::vector<Signal> search(std::string_view words) const;
  std::vector<Signal> resolve(const SignalList& list) const;

  [[noreturn]] void failNoStream(std::uint32_t id) const;

 private:
  std::vector<Signal> named(std::string_view text) const;
  [[noreturn]] void failUnknown(std::string_view text) const;
  /// Throws for a text that asks for a stream that the file does not have.
  void checkStream(std::string_view text) const;
  /// Throws for the name of a signal of a stream without time.
  void checkTime(std::string_view text) const;

  const std::string& path_;
  const std::vector<Stream>& streams_;
  const std::vector<Signal>& signals_;
};

}  // namespace Kvex::Front
