#pragma once

#include <string_view>

namespace Kvex::Com {

/// Where the pages of a recording that is written go.
class PageSink {
 public:
  virtual ~PageSink() = default;
  /// REQUIRES: the bytes of exactly one page.
  virtual void writePage(std::string_view page) = 0;
};

}  // namespace Kvex::Com
