#pragma once

#include <kvex/File.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Kvex::Python {

/// An opened file as Python has it: read as often as one likes, also several times at once. A `File` serves one reading
/// at a time, so that a second reading beside a first one opens the file again.
/// Thread safety: may be used by several threads.
class Recording : public std::enable_shared_from_this<Recording> {
 public:
  /// A `File` for one reading, which goes back to the recording at the end.
  class Lease {
   public:
    Lease(std::shared_ptr<Recording> recording, std::shared_ptr<File> file)
        : recording_(std::move(recording)), file_(std::move(file)) {}
    ~Lease();
    Lease(Lease&&) = default;
    Lease& operator=(Lease&&) = delete;

    File* operator->() const { return file_.get(); }
    /// The signals as this file has them.
    std::vector<Signal> own(const std::vector<Signal>& signals) const;

   private:
    std::shared_ptr<Recording> recording_;
    std::shared_ptr<File> file_;
  };

  /// With `multiplexed`, a multiplexed signal is taken only from records that select it.
  Recording(const std::string& path, const OpenOptions& options, bool multiplexed);

  /// For what is known of the file without reading values.
  const File& about() const { return *first_; }
  bool multiplexed() const { return multiplexed_; }
  Lease lease();

 private:
  std::shared_ptr<File> first_;
  bool multiplexed_;
  std::mutex lock_;
  std::vector<std::shared_ptr<File>> idle_;
};

}  // namespace Kvex::Python
