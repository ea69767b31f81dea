#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/DataStore.h"
#include "tool/Failure.h"
#include "tool/Interrupt.h"
#include "tool/ProgressBar.h"

namespace Kvex::Tool {

/// One file in a store of its own, scanned, with a progress bar meanwhile. An interrupt cancels what the store does.
class OpenedFile {
 public:
  /// Throws `Failure` for a file that cannot be read or has no streams, and `Interrupted`.
  explicit OpenedFile(const std::string& filePath);

  /// Calls `visitor(stream, resource)` for each stream, in the order of the ids.
  template <class Visitor>
  void forEachStream(Visitor&& visitor) const {
    for (const std::uint32_t id : streamIds) store.visitStream(id, visitor);
  }
  /// Calls `visitor(resource)` with the file as the store knows it.
  template <class Visitor>
  void visitResource(Visitor&& visitor) const {
    store.visitStream(streamIds.front(), [&](const Sto::Stream&, const Sto::Resource& resource) { visitor(resource); });
  }
  /// Every signal of a stream, in listing order.
  static std::vector<Sto::SignalListing> signalsOf(const Sto::Stream& stream);

  /// `Damaged` if the scan met a loss of data, else `Good`.
  VrelExit exit() const { return damaged_ ? VrelExit::Damaged : VrelExit::Good; }
  /// Tells on standard error if the file is damaged.
  void warnOfDamage() const;

  const std::string path;
  Sto::DataStore store;
  std::vector<std::uint32_t> streamIds;
  Lib::Nano start = 0;  ///< As `startTime` and `endTime` give them.
  Lib::Nano end = 0;
  bool hasTime = false;  ///< At least one stream has time.
  ProgressBar progress;

 private:
  CancelOnInterrupt cancelOnInterrupt_{store};
  bool damaged_ = false;
};

}  // namespace Kvex::Tool
