#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"
#include "store/StreamWalker.h"
#include "tables/SignalTable.h"

namespace Kvex::Sto {

/// Reads all samples of some signals of one Stream as the recording carried them: the Stream is walked alone, from the
/// state of a new walk to the end of its data, step by step. A step is a packet; in a CAN packet its time is one step,
/// and then each frame is one.
///
/// A signal has a sample after a step that wrote it, or that took a usable value away without writing it: then a sample
/// without value. A stamp that is no real time (`Flag::kUntimed`) makes no sample. If an element of an array is written
/// or stops being usable, all its elements have a sample, but for those of such a stamp.
///
///     while (reader.advance()) reader.visitSamples(visitor);
///
/// Not synchronised: nobody else may use the store meanwhile.
class NativeReader {
 public:
  /// `rows` are rows of the walker's Stream. The walk ends where `cancel` becomes true.
  NativeReader(Stream& stream, StreamWalker& walker, const std::vector<const SignalRow*>& rows,
               const std::atomic<bool>& cancel);
  ~NativeReader() { walker_.forgetPlace(); }
  NativeReader(const NativeReader&) = delete;
  NativeReader& operator=(const NativeReader&) = delete;

  /// Walks one step. False at the end of the data, and when cancelled.
  bool advance();
  /// The Stream's clock after the step; for a CAN frame that of its packet.
  Nano time() const { return walker_.clock(); }

  /// Calls `visitor(index, fields)` for each signal that has a sample after the last step: `index` is its place in
  /// `rows`, `fields` a span of its elements, one for a scalar; of an array, an element whose stamp is no real time has
  /// no sample. Signals come by value type, and by index within a type, except that those of one message follow the
  /// others. To be called once after each step.
  template <class Visitor>
  void visitSamples(Visitor&& visitor) {
    visitGroup(groups_[0], visitor);
    const std::int32_t message = stream_.stepMessage();
    if (message == SignalRow::kAnyMessage) {
      for (std::size_t group = 1; group < groups_.size(); ++group) visitGroup(groups_[group], visitor);
    } else if (message >= 0) {
      const auto group = static_cast<std::size_t>(message) + 1;
      if (group < groups_.size()) visitGroup(groups_[group], visitor);
    }
  }

 private:
  /// A subscribed signal: its fields in the live record, and their flags after the last visit.
  template <class T>
  struct Scalar {
    Lib::NavField<T>* field;
    std::uint16_t state;
    std::uint32_t index;
  };
  template <class T>
  struct Array {
    std::span<Lib::NavField<T>> fields;
    std::vector<std::uint16_t> states;
    std::uint32_t index;
  };
  template <class T>
  using Scalars = std::vector<Scalar<T>>;
  template <class T>
  using Arrays = std::vector<Array<T>>;

  /// Signals that the same message can write; the first group is that of the signals that any step can write.
  struct Group {
    Lib::PerType<Scalars> scalars;
    Lib::PerType<Arrays> arrays;
  };

  /// Flags and mark of a field in one word, so that a field that has not changed is passed by after one comparison.
  template <class T>
  static std::uint16_t stateOf(const Lib::NavField<T>& field) {
    return static_cast<std::uint16_t>(field.flags | field.written << 8);
  }
  static bool makesSample(std::uint16_t before, std::uint16_t now) {
    return now > 0xFF ||
           (Lib::usable(static_cast<std::uint8_t>(before)) && !Lib::usable(static_cast<std::uint8_t>(now)));
  }
  /// Takes the state of a field over. Gives whether it makes a sample.
  template <class T>
  static bool takeState(Lib::NavField<T>& field, std::uint16_t& state) {
    const std::uint16_t now = stateOf(field);
    if (now == state) [[likely]]
      return false;
    const bool sample = makesSample(state, now);
    state = now & 0xFF;
    field.written = false;
    return sample;
  }

  template <class Visitor>
  static void visitGroup(Group& group, Visitor& visitor) {
    Lib::forEachType([&](auto tag) {
      using T = typename decltype(tag)::Type;
      for (Scalar<T>& scalar : group.scalars.template of<T>()) {
        if (!takeState(*scalar.field, scalar.state) || (scalar.field->flags & Lib::Flag::kUntimed) != 0) continue;
        visitor(scalar.index, std::span<const Lib::NavField<T>>(scalar.field, 1));
      }
      for (Array<T>& array : group.arrays.template of<T>()) {
        bool sample = false;
        for (std::size_t i = 0; i < array.fields.size(); ++i) sample |= takeState(array.fields[i], array.states[i]);
        if (sample) visitor(array.index, std::span<const Lib::NavField<T>>(array.fields));
      }
    });
  }

  void bind(std::uint32_t index, const SignalRow& row, const void* record);

  Stream& stream_;
  StreamWalker& walker_;
  const std::atomic<bool>& cancel_;
  std::vector<Group> groups_;
  ByteView packet_;
  std::size_t position_ = 0;  ///< In the packet: where the next step begins; at its end, the packet is done.
  bool inPacket_ = false;
};

}  // namespace Kvex::Sto
