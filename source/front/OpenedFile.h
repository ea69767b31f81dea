#pragma once

#include <cstdint>
#include <functional>
#include <kvex/Damage.h>
#include <kvex/Options.h>
#include <kvex/Signal.h>
#include <kvex/Stream.h>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "front/SignalFinder.h"
#include "store/DataStore.h"
#include "store/NativeReader.h"

namespace Kvex::Front {

/// Does `work` on a store, and meanwhile hands its reports of progress to a callback in the calling thread. With no
/// callback the work is done in the calling thread itself. When the callback throws, the work is cancelled first.
void doWatched(Sto::DataStore& store, const ProgressCallback& progress, const std::function<void()>& work);

/// One file in a store of its own, with all that is known of it without reading values.
class OpenedFile {
 public:
  /// Throws as `File` does.
  OpenedFile(const std::string& filePath, const OpenOptions& options);
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  SignalFinder finder() const { return {path, streams, signals}; }
  /// Throws `NoTime` where no stream has time.
  void checkTime() const;
  /// The signals of a list. Throws `Error` for none, for those of another file and for those without time.
  std::vector<Signal> readable(const SignalList& list) const;

  const std::uint64_t number;  ///< Of this opened file among all of the process.
  const std::string path;
  Sto::DataStore store;
  bool hasTime = false;
  Span span;
  std::vector<Stream> streams;
  std::vector<Signal> signals;
  std::optional<Damage> damage;
  std::mutex readingLock;           ///< Held to begin a reading and to cancel one from another thread.
  std::uint64_t newestReading = 0;  ///< The number of the reading that the store is at.
  /// What that reading walks with, if it reads native samples: it must be gone when the store is used in another way.
  std::unique_ptr<Sto::NativeReader> native;

 private:
  void scan(const OpenOptions& options);
  void describe();
  /// Throws `Error` for a bare protocol file without a packet.
  void checkPackets(const Sto::Resource& resource) const;
};

}  // namespace Kvex::Front
