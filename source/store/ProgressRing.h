#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

namespace Kvex::Sto {

/// What the store is busy with.
enum class Phase : std::uint16_t {
  None = 0,
  Identification = 1,
  FirstPass = 2,
  SecondPass = 3,
  RangeStreams = 4,  ///< Making Streams of the sources inside a range file.
  FirstRangePass = 5,
  SecondRangePass = 6,
  Seek = 8,
  Last = 10,  ///< No phase has a higher number.
};

struct ProgressRecord {
  std::int32_t resource;  ///< Index of the Resource; -1 for the store itself.
  Phase phase;
  float percent;  ///< 0 to 100.
};

/// The reading end of a ring of progress records: all that a watcher in another thread gets to see.
class ProgressSource {
 public:
  /// Takes the oldest record, if there is one.
  std::optional<ProgressRecord> take();

 protected:
  explicit ProgressSource(std::uint32_t sizeBits);
  ~ProgressSource() = default;

  static constexpr std::uint32_t kRecordSize = 10;

  std::vector<std::uint8_t> buffer_;
  std::uint32_t mask_;
  std::atomic<std::uint32_t> writeCount_ = 0;  ///< Bytes written in all, running.
  std::atomic<std::uint32_t> readCount_ = 0;   ///< Bytes read in all, running: all that a reader writes.
};

/// A byte ring of progress records, with one writer (the store at work) and one reader (a watcher in another thread).
/// Neither ever waits: a report for which there is no room is lost.
/// A record takes 10 bytes, little-endian: resource (32 bits), phase (16 bits), percentage (32-bit float).
class ProgressRing : public ProgressSource {
 public:
  /// The ring has 2 to the power `sizeBits` bytes; the exponent is capped at 30.
  explicit ProgressRing(std::uint32_t sizeBits) : ProgressSource(sizeBits) {}

  /// Adds a record, unless it repeats the last one. A phase outside 1 to 10 is written as `None`. False if there is no
  /// room.
  bool report(std::int32_t resource, Phase phase, double percent);

 private:
  std::int32_t lastResource_ = 0;
  Phase lastPhase_ = Phase::None;
  double lastPercent_ = -1.0;
};

}  // namespace Kvex::Sto
