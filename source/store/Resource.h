#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "library/InputFile.h"
#include "recording/PageReader.h"
#include "store/Codec.h"
#include "store/Logical.h"
#include "store/PacketScanner.h"
#include "store/ProgressRing.h"
#include "store/StoreConfig.h"
#include "store/Stream.h"

namespace Kvex::Sto {

/// What a scan needs of the store around it.
struct ScanContext {
  const StoreConfig& config;
  CodecList codecs;
  ProgressRing& progress;
  const std::atomic<bool>& cancel;  ///< Set by another thread: ends a scan at the next opportunity.
};

/// What the second pass over a file found out about its soundness.
struct FileHealth {
  Com::GapCounters gaps;             ///< Between the pages of a recording.
  ScanCounters scan;                 ///< In a bare protocol file.
  std::uint64_t truncatedBytes = 0;  ///< At the end of the file, of a page or packet cut off.

  bool sound() const { return gaps.skippedBytes == 0 && scan.junkBytes == 0 && truncatedBytes == 0; }
};

/// Places of packets among those of their Stream.
struct PacketRange {
  std::uint64_t first = 0;
  std::uint64_t end = 0;  ///< Behind the last one.

  bool holds(std::uint64_t place) const { return place >= first && place < end; }
};
using PacketRanges = std::map<std::uint32_t, PacketRange>;  ///< By serial.
using PacketWriter = std::function<void(ByteView packet)>;

/// One opened input file: finds out which Streams it holds, makes them, and drives them through the scan that gives
/// each its first and last record. Owns its Streams. The file is read up to three times over; one block of it is held.
class Resource {
 public:
  /// A file that cannot be opened has size 0 and no packets.
  Resource(const ScanContext& context, std::uint32_t index, ResourceKind kind, std::string path);
  virtual ~Resource() = default;
  Resource(const Resource&) = delete;
  Resource& operator=(const Resource&) = delete;

  /// Runs all passes. Ends early when cancelled.
  virtual void scan() = 0;
  /// Turns the links between Streams, given by serial number, into stream ids. Called once the Streams have theirs.
  virtual void linkStreams() {}
  /// What feeds the Stream of a serial, or null.
  Logical* logical(std::uint32_t serial) const;

  /// Copies packets of a bare file, see `DataStore::copyPackets`.
  virtual bool copyPackets(const PacketRanges&, const PacketWriter&) const { return false; }

  const std::uint32_t index;  ///< Place in the store's list.
  const ResourceKind kind;
  const std::string path;
  const std::string extension;                               ///< From the last point on, in lower case.
  std::map<std::uint32_t, std::unique_ptr<Stream>> streams;  ///< By serial.
  /// What feeds each Stream, by serial; none for a Stream of which the file has no packet.
  std::map<std::uint32_t, std::unique_ptr<Logical>> logicals;
  FileHealth health;
  DamageList damage;  ///< What the scan met.

 protected:
  /// Reports a pass: 0 at first, 100 at last, and in between whenever the file position has moved on by enough.
  class PassProgress {
   public:
    PassProgress(const Resource& resource, Phase phase);
    ~PassProgress();
    PassProgress(const PassProgress&) = delete;
    PassProgress& operator=(const PassProgress&) = delete;
    void moved(std::int64_t position);

   private:
    const Resource& resource_;
    Phase phase_;
    std::int64_t reported_ = 0;
  };

  bool cancelled() const { return context_.cancel.load(std::memory_order_relaxed); }
  std::int64_t clampToSize(std::int64_t offset) const { return offset < size_ ? offset : size_; }

  /// Makes a Stream of a bare file and enters it in `streams`. Its header is its tag, and the given packets.
  Stream& addBareStream(const Codec& codec, std::uint32_t serial, std::vector<Com::TaggedPacket> headers = {});

  ScanContext context_;
  Lib::InputFile file_;
  std::int64_t size_ = 0;
};

/// What names of recordings end in.
inline constexpr std::string_view kRecordingExtension = ".vrel";

/// The text from the last "." of a path on, in lower case; empty without one.
std::string lowerExtension(const std::string& path);

}  // namespace Kvex::Sto
