#pragma once

#include <kvex/Stream.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/Resource.h"
#include "store/Stream.h"

namespace Kvex {

struct Stream::Data {
  Sto::StreamInfo info;
  std::string_view codec;
  Header header;
  std::vector<Header> headers;
  std::vector<Counter> counters;
  std::vector<Signal> signals;
};

/// What the front door's own code may do with a `Stream`.
class StreamAccess {
 public:
  /// All that is known of a stream of the store. `file` is the number of the opened file.
  static Stream make(const Sto::Stream& stream, const Sto::Resource& resource, std::uint64_t file);
};

/// What the scan counted for a file as a whole.
std::vector<Counter> fileCounters(const Sto::Resource& resource);

}  // namespace Kvex
