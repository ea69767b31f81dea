#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>
#include <string>

#include "library/ByteView.h"
#include "library/ValueType.h"
#include "zint/ComData.h"

namespace Kvex::Zint {

using Lib::ByteView;
using Lib::ValueType;

/// Where a signal's bits lie and what they are: the part of its definition that decides whether it can be built.
struct SignalForm {
  std::uint64_t id = 0;
  ValueType rawType = ValueType::Unknown;     ///< How the bits are stored.
  ValueType mappedType = ValueType::Unknown;  ///< The type of the value that is shown.
  std::uint32_t bitSize = 0;
  std::uint32_t bitOffset = 0;  ///< Of the lowest bit, from the start of the payload.
};

/// A text of a definition. All entries that inherit one text share it.
using SharedText = std::shared_ptr<const std::string>;

/// The descriptive values of a signal's definition; null where the definition has none.
struct SignalTexts {
  SharedText name;
  SharedText unit;
  SharedText comment;
  const nlohmann::json* scale = nullptr;
  const nlohmann::json* offset = nullptr;
  const nlohmann::json* low = nullptr;
  const nlohmann::json* high = nullptr;
};

/// A signal of a self-describing stream: its identity, and how its bits are cut out of a message's payload.
///
/// Bits are numbered from the lowest bit of payload byte 0 upward; a field's bits lie in rising bit order across rising
/// bytes. A span of one byte more than the raw type is read, shifted left to push out the bits above the field, and
/// shifted right to push out those below.
class Signal {
 public:
  static constexpr std::uint64_t kUnlinked = UINT64_MAX;

  virtual ~Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  /// Takes over the descriptive values. A value of an unfit kind leaves its default in place.
  virtual void load(const SignalTexts& texts);
  /// Writes the one-line description, for inspection.
  virtual void describe(std::ostream& out) const;
  /// Writes the value in a payload, in hexadecimal where it is an integer, for inspection.
  virtual void printValue(std::ostream& out, ByteView payload) const = 0;
  /// Extracts the value of a payload into this signal's field.
  virtual void capture(ComData& data, const TimeMark& mark, ByteView payload) const = 0;
  /// Appends this signal's field to `data`, which sets `slot`.
  virtual void addSlot(ComData& data) = 0;
  /// Display range: 0 to 1 for bool, else as defined; 1 to 0 where the definition gives none.
  virtual double rangeLow() const = 0;
  virtual double rangeHigh() const = 0;

  std::uint64_t id() const { return form_.id; }
  const SignalForm& form() const { return form_; }
  const std::string& name() const { return *name_; }
  const std::string& unit() const { return *unit_; }
  const std::string& comment() const { return *comment_; }
  /// Payload bytes that this signal reads, counted from the first byte of the payload.
  std::size_t payloadReach() const { return firstByte_ + spanBytes_; }

  std::uint64_t listIndex = kUnlinked;  ///< Place among the signals that messages carry.
  std::uint32_t slot = 0;               ///< Index of the field of its mapped type.

 protected:
  explicit Signal(const SignalForm& form);

  const SignalForm form_;
  std::uint32_t firstByte_;
  std::uint32_t spanBytes_;      ///< Bytes that an extraction reads.
  std::uint32_t shiftLeft_ = 0;  ///< Within the container.
  std::uint32_t shiftRight_ = 0;

 private:
  SharedText name_;
  SharedText unit_;
  SharedText comment_;
};

/// Makes the signal of a form with its descriptive values. None for a pair of types that cannot be mapped: 44 pairs
/// can.
std::unique_ptr<Signal> makeSignal(const SignalForm& form, const SignalTexts& texts);

}  // namespace Kvex::Zint
