#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "library/NavField.h"
#include "store/SampleTally.h"
#include "store/StreamWalker.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// Calls `visitor(step)` for each step of a set, bit N for step N, in order.
template <class Visitor>
void forEachStep(std::uint64_t steps, Visitor&& visitor) {
  for (; steps != 0; steps &= steps - 1) visitor(static_cast<std::size_t>(std::countr_zero(steps)));
}

/// Reads all samples of some signals of one Stream as the recording carried them: the Stream is walked alone, from the
/// state of a new walk to the end of its data, step by step. A step is a packet; in a CAN packet its time is one step,
/// and then each frame is one.
///
/// A signal has a sample after a step that wrote it, or that took a usable value away without writing it: then a sample
/// without a usable value. A stamp that is no real time (`Flag::kUntimed`) makes no sample. If an element of an array
/// is written or stops being usable, all its elements have a sample, but for those of such a stamp.
///
/// Samples come in blocks of up to 64 steps, by element: a bit for each step says whether there is a sample. That way a
/// step costs little more than a look at the state of each field, and whoever takes the samples works column by column.
///
/// Not synchronised: nobody else may use the store meanwhile.
class NativeReader {
 public:
  static constexpr std::size_t kBlockSteps = 64;

  /// What of a sample is kept: its value, also its stamp, also its flags.
  enum class Detail : std::uint8_t { Value, ValueAndStamp, FlagsAndStamp };

  /// `rows` are rows of the walker's Stream. The walk ends where `cancel` becomes true.
  NativeReader(Stream& stream, StreamWalker& walker, const std::vector<const SignalRow*>& rows, Detail detail,
               const std::atomic<bool>& cancel);
  ~NativeReader() { walker_.forgetPlace(); }
  NativeReader(const NativeReader&) = delete;
  NativeReader& operator=(const NativeReader&) = delete;

  /// Walks up to 64 steps. False when there are no more, and when cancelled before the first.
  bool readBlock();

  /// The Stream's clock after each step of the block; for a CAN frame that of its packet.
  std::span<const Nano> times() const { return {times_.data(), steps_}; }
  /// Elements of all rows.
  std::size_t elements() const { return fields_.size(); }
  Lib::ValueType type(std::size_t element) const { return types_[element]; }
  /// The first element of a row, by its place in `rows`; its others follow.
  std::size_t firstElement(std::size_t row) const { return firstElement_[row]; }
  /// The steps in which an element has a sample, bit N for step N.
  std::uint64_t samples(std::size_t element) const { return samples_[element]; }
  /// Those of them whose value is usable.
  std::uint64_t usableSamples(std::size_t element) const { return usable_[element]; }
  /// The value of an element after a step; unspecified where it has no sample.
  template <class T>
  T value(std::size_t element, std::size_t step) const {
    T result;
    std::memcpy(&result, &values_[place(element, step)], sizeof result);
    return result;
  }
  /// REQUIRES: that flags are kept.
  std::uint8_t flags(std::size_t element, std::size_t step) const { return flags_[place(element, step)]; }
  /// REQUIRES: that stamps are kept.
  Nano stamp(std::size_t element, std::size_t step) const { return stamps_[place(element, step)]; }
  /// Adds the usable samples of some steps to tallies by element. REQUIRES: that stamps are kept.
  void tally(std::uint64_t steps, std::vector<SampleTally>& tallies) const;

 private:
  /// A row of words for each step, by element: so that what a step writes lies together.
  std::size_t place(std::size_t element, std::size_t step) const { return step * rowWords_ + element; }

  /// Elements whose fields lie one behind the other in the record, and that are nearly always alike: all written by a
  /// step, or none. So a step looks at a strip as a whole, and at its elements only where something else has happened.
  struct Strip {
    std::byte* fields;
    std::size_t element;
    std::size_t count;
    bool isArray;               ///< All elements of an array, and nothing else.
    std::uint64_t written = 0;  ///< Steps that wrote all elements and changed no flags; not yet in `samples_`.
  };
  /// Elements that lie one behind the other.
  struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  /// The signals that the same message can write; those of the first group any step can write.
  struct Group {
    Range scalars;
    std::vector<Range> arrays;
    std::vector<Strip> strips;
    std::uint64_t steps = 0;  ///< Those of the block that could write its signals.
  };

  void layOut(const std::vector<const SignalRow*>& rows);
  void layStrips(Group& group);
  bool advance();
  void takeStep();
  void takeGroup(Group& group);
  void takeWritten(Strip& strip);
  template <Detail kept>
  void keepFields(const Strip& strip);
  void takeChanged(Strip& strip);
  bool takeState(std::size_t element);
  void keepSample(std::size_t element);
  void keepField(const std::byte* field, std::size_t place);
  void enterWritten(Strip& strip);
  std::uint64_t usableIn(std::size_t element, std::uint64_t steps) const {
    return samples_[element] & usable_[element] & steps;
  }
  void tallyEach(std::size_t element, std::uint64_t steps, SampleTally& tally) const;
  template <std::size_t kLanes>
  void tallyDoubles(std::size_t element, std::uint64_t steps, SampleTally* tallies) const;

  Stream& stream_;
  StreamWalker& walker_;
  const std::atomic<bool>& cancel_;
  const Detail detail_;

  std::vector<Group> groups_;
  std::vector<std::size_t> firstElement_;

  // By element.
  std::vector<std::byte*> fields_;  ///< A `NavField` of the element's type, in the live record.
  std::vector<Lib::ValueType> types_;
  std::vector<std::uint32_t> knownFlags_;  ///< Of the field after the last step.
  std::vector<std::uint64_t> samples_;
  std::vector<std::uint64_t> usable_;

  // By `place`.
  std::size_t rowWords_ = 0;
  std::vector<std::uint64_t> values_;  ///< Each in the first bytes of its word.
  std::vector<std::uint8_t> flags_;
  std::vector<Nano> stamps_;

  std::array<Nano, kBlockSteps> times_{};
  std::size_t steps_ = 0;
  std::uint32_t blocks_ = 0;
  ByteView packet_;
  std::size_t position_ = 0;  ///< In the packet: where the next step begins.
  bool inPacket_ = false;
};

}  // namespace Kvex::Sto
