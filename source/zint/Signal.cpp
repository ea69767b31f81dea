#include "zint/Signal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <iomanip>
#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "library/Enumerations.h"

namespace Kvex::Zint {

namespace {

/// Width of a raw type in bytes; 0 for what is no raw type.
std::uint32_t widthOf(ValueType type) {
  std::uint32_t width = 0;
  Lib::withType(type, [&](auto tag) { width = sizeof(typename decltype(tag)::Type); });
  return width;
}

/// The unsigned integer in which a raw value of `T` is shifted: twice as wide, so that the byte that a field reaches
/// into beyond its own width has room.
template <class T>
struct ContainerOf;
template <>
struct ContainerOf<bool> {
  using Type = std::uint8_t;
};
template <class T>
requires(sizeof(T) == 1 && !std::is_same_v<T, bool>) struct ContainerOf<T> {
  using Type = std::uint16_t;
};
template <class T>
requires(sizeof(T) == 2) struct ContainerOf<T> {
  using Type = std::uint32_t;
};
template <class T>
requires(sizeof(T) == 4) struct ContainerOf<T> {
  using Type = std::uint64_t;
};
template <class T>
requires(sizeof(T) == 8) struct ContainerOf<T> {
  using Type = void;  // 128 bits, of which only the upper half of a field's own bits is ever formed
};

/// Bytes that the extraction of a raw `T` reads.
template <class T>
constexpr std::size_t kSpan = std::is_same_v<T, bool> ? 1 : sizeof(T) + 1;

/// The 64 bits from bit `startBit` of nine bytes on.
std::uint64_t wideBits(const std::uint8_t* bytes, unsigned startBit) {
  std::uint64_t low;
  std::memcpy(&low, bytes, sizeof low);
  // In two steps, since a shift by 64 is none.
  return low >> startBit | static_cast<std::uint64_t>(bytes[8]) << 1 << (63 - startBit);
}

/// The bits of a field, taken as a `T`: shifted left within the container to push out what lies above the field, then
/// right to push out what lies below it.
template <class T>
T extractWhole(const std::uint8_t* span, unsigned shiftLeft, unsigned shiftRight) {
  using Container = typename ContainerOf<T>::Type;
  if constexpr (sizeof(T) == 8) {
    // As with a container of 128 bits. An int64 field that is narrower than 64 bits keeps its unsigned pattern.
    const unsigned above = shiftRight > 64 ? shiftRight - 64 : 0;
    return std::bit_cast<T>(wideBits(span, shiftRight - shiftLeft) << above >> above);
  } else {
    Container container = 0;
    std::memcpy(&container, span, kSpan<T>);
    container = static_cast<Container>(container << shiftLeft);
    if constexpr (std::is_same_v<T, bool>) {
      return (container >> shiftRight) != 0;
    } else if constexpr (std::is_floating_point_v<T>) {
      return std::bit_cast<T>(static_cast<std::uint32_t>(container >> shiftRight));
    } else if constexpr (std::is_signed_v<T>) {
      return static_cast<T>(static_cast<std::make_signed_t<Container>>(container) >> shiftRight);
    } else {
      return static_cast<T>(container >> shiftRight);
    }
  }
}

/// The same for a payload that may end before the field does: bits beyond its end are 0.
template <class T>
T extract(ByteView payload, std::size_t firstByte, unsigned shiftLeft, unsigned shiftRight) {
  if (payload.holds(firstByte, kSpan<T>)) [[likely]] {
    return extractWhole<T>(payload.data() + firstByte, shiftLeft, shiftRight);
  }
  std::array<std::uint8_t, 9> padded{};
  const ByteView rest = payload.from(firstByte, kSpan<T>);
  std::copy(rest.data(), rest.data() + rest.size(), padded.begin());
  return extractWhole<T>(padded.data(), shiftLeft, shiftRight);
}

SharedText orEmpty(const SharedText& text) {
  static const SharedText kEmpty = std::make_shared<const std::string>();
  return text != nullptr ? text : kEmpty;
}

/// Floating values take any number, signed integers whole numbers, unsigned ones only numbers without a sign.
template <class U>
void readNumber(const nlohmann::json* value, U& out) {
  if (value == nullptr) return;
  if constexpr (std::is_floating_point_v<U>) {
    if (value->is_number()) out = value->get<U>();
  } else if (value->is_number_unsigned()) {
    out = static_cast<U>(value->get<std::uint64_t>());
  } else if constexpr (std::is_signed_v<U>) {
    if (value->is_number_integer()) out = static_cast<U>(value->get<std::int64_t>());
  }
}

/// What depends only on the type of the shown value: scale, offset and range.
template <class U>
class SignalM : public Signal {
 public:
  explicit SignalM(const SignalForm& form) : Signal(form) {}

  void load(const SignalTexts& texts) override {
    Signal::load(texts);
    if constexpr (!std::is_same_v<U, bool>) {
      readNumber(texts.scale, scale_);
      readNumber(texts.offset, offset_);
      readNumber(texts.low, low_);
      readNumber(texts.high, high_);
    }
  }

  void describe(std::ostream& out) const override {
    Signal::describe(out);
    if constexpr (std::is_same_v<U, bool>) {
      constexpr int kBlank = 5;
      out << " | (" << std::setw(kBlank) << ""
          << " " << std::setw(kBlank) << ""
          << ") [" << std::setw(kBlank) << ""
          << " " << std::setw(kBlank) << ""
          << "]\n";
    } else {
      constexpr int kNumber = 7;
      out << " | (" << std::setw(kNumber) << scale_ << " " << std::setw(kNumber) << offset_ << ") ["
          << std::setw(kNumber) << low_ << " " << std::setw(kNumber) << high_ << "]\n";
    }
  }

  void printValue(std::ostream& out, ByteView payload) const override {
    out << std::hex << std::boolalpha << value(payload) << std::noboolalpha << std::dec;
  }

  void addSlot(ComData& data) override { slot = data.addSlot<U>(); }

  double rangeLow() const override { return std::is_same_v<U, bool> ? 0.0 : static_cast<double>(low_); }
  double rangeHigh() const override { return std::is_same_v<U, bool> ? 1.0 : static_cast<double>(high_); }

  virtual U value(ByteView payload) const = 0;

 protected:
  // The range 1 to 0 stands for none given.
  U scale_ = U{1};
  U offset_ = U{0};
  U low_ = U{1};
  U high_ = U{0};
};

/// Reads a raw `T` and maps it to `U`: converted, times scale, plus offset. Integers wrap at the width of `U`.
template <class T, class U>
class SignalX final : public SignalM<U> {
 public:
  explicit SignalX(const SignalForm& form) : SignalM<U>(form) {}

  U value(ByteView payload) const override {
    const T raw = extract<T>(payload, this->firstByte_, this->shiftLeft_, this->shiftRight_);
    if constexpr (std::is_same_v<U, bool>) {
      return raw;
    } else if constexpr (std::is_floating_point_v<U>) {
      return static_cast<U>(raw) * this->scale_ + this->offset_;
    } else {
      return static_cast<U>(static_cast<std::uint64_t>(raw) * static_cast<std::uint64_t>(this->scale_) +
                            static_cast<std::uint64_t>(this->offset_));
    }
  }

  void capture(ComData& data, const TimeMark& mark, ByteView payload) const override {
    Lib::NavField<U>& field = data.at<U>(this->slot);
    field.write(value(payload), mark.stamp, mark.flags & Lib::Flag::kUntimed);
    field.stamp2 = mark.stamp2;
  }
};

/// Which raw types can be mapped to `U`: itself; to an integer a narrower integer, unsigned if `U` is; to float an
/// integer of at most 32 bits; to double float and every integer.
template <class T, class U>
constexpr bool kMaps = [] {
  if (std::is_same_v<T, U>) return true;
  if (std::is_same_v<T, bool> || std::is_same_v<U, bool>) return false;
  if (std::is_same_v<U, double>) return true;
  if (!std::is_integral_v<T>) return false;
  if (std::is_same_v<U, float>) return sizeof(T) <= 4;
  return sizeof(T) < sizeof(U) && (std::is_signed_v<U> || std::is_unsigned_v<T>);
}();

/// The most bits that a mapped floating type holds exactly. A mapped integer sets no limit.
template <class U>
constexpr std::uint32_t kMaxMappedBits = std::is_floating_point_v<U> ? std::numeric_limits<U>::digits
                                                                     : std::numeric_limits<std::uint32_t>::max();

constexpr int countPairs() {
  int count = 0;
  Lib::forEachType([&](auto raw) {
    Lib::forEachType(
        [&](auto mapped) { count += kMaps<typename decltype(raw)::Type, typename decltype(mapped)::Type>; });
  });
  return count;
}
static_assert(countPairs() == 44);

}  // namespace

Signal::Signal(const SignalForm& form) : form_(form), firstByte_(form.bitOffset / 8) {
  const bool isBool = form.rawType == ValueType::Bool;
  const std::uint32_t rawBytes = widthOf(form.rawType);
  spanBytes_ = isBool ? 1 : rawBytes + 1;
  if (rawBytes == 0 || form.bitSize > 8 * rawBytes) return;  // the low bits of the span are the value
  const std::uint32_t containerBits = (isBool ? 8 : 16) * rawBytes;
  shiftLeft_ = containerBits - (form.bitOffset % 8 + form.bitSize);
  shiftRight_ = containerBits - form.bitSize;
}

void Signal::load(const SignalTexts& texts) {
  name_ = orEmpty(texts.name);
  unit_ = orEmpty(texts.unit);
  comment_ = orEmpty(texts.comment);
}

void Signal::describe(std::ostream& out) const {
  const std::uint32_t endByte = (form_.bitOffset + 7 + form_.bitSize) / 8;
  out << std::right << "Sig: " << std::setw(4) << form_.id << " ";
  if (listIndex == kUnlinked) {
    out << "  -. ";
  } else {
    out << std::setw(3) << listIndex << ". ";
  }
  out << std::setw(3) << slot << " " << std::left << std::setw(24) << *name_ << std::right << " (" << std::setw(2)
      << form_.bitSize << " " << std::setw(3) << form_.bitOffset << ") [" << std::setw(2) << endByte - firstByte_ << " "
      << std::setw(2) << firstByte_ << "] (" << std::setw(2) << shiftLeft_ << " " << std::setw(2) << shiftRight_ << ") "
      << std::left << std::setw(8) << Lib::kValueTypeNames.name(static_cast<std::uint8_t>(form_.rawType)) << " "
      << std::setw(8) << Lib::kValueTypeNames.name(static_cast<std::uint8_t>(form_.mappedType)) << " " << std::setw(8)
      << *unit_ << std::right;
}

std::unique_ptr<Signal> makeSignal(const SignalForm& form, const SignalTexts& texts) {
  std::unique_ptr<Signal> signal;
  Lib::withType(form.rawType, [&](auto raw) {
    Lib::withType(form.mappedType, [&](auto mapped) {
      using T = typename decltype(raw)::Type;
      using U = typename decltype(mapped)::Type;
      if constexpr (kMaps<T, U>) {
        if (!std::is_same_v<T, U> && form.bitSize > kMaxMappedBits<U>) return;
        signal = std::make_unique<SignalX<T, U>>(form);
      }
    });
  });
  if (signal != nullptr) signal->load(texts);
  return signal;
}

}  // namespace Kvex::Zint
