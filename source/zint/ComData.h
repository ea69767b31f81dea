#pragma once

#include <cstdint>
#include <vector>

#include "library/NavField.h"
#include "library/ValueType.h"

namespace Kvex::Zint {

/// What a value takes over from the time record when it is decoded.
struct TimeMark {
  Lib::Nano stamp = 0;
  std::uint8_t flags = Lib::Flag::kNeverWritten;
  std::int64_t stamp2 = 0;
};

/// The newest value of every signal of a self-describing stream: one list of fields per mapped type. A signal's slot is
/// its index in the list of its type. The lists have their final sizes once the definitions are read.
class ComData {
 public:
  ComData() { clear(); }

  template <class T>
  using Fields = std::vector<Lib::NavField<T>>;

  /// Drops all fields but the time record, which is field 0 of type int64.
  void clear() {
    fields_ = {};
    addSlot<Lib::Nano>();
  }

  /// Appends a field and gives its slot.
  template <class T>
  std::uint32_t addSlot() {
    fields_.of<T>().emplace_back();
    return static_cast<std::uint32_t>(fields_.of<T>().size() - 1);
  }

  /// All fields back to holding no value.
  void reset() {
    Lib::forEachType([&](auto tag) {
      for (auto& field : fields_.of<typename decltype(tag)::Type>()) field.reset();
    });
  }

  template <class T>
  Lib::NavField<T>& at(std::uint32_t slot) {
    return fields_.of<T>()[slot];
  }
  template <class T>
  const Lib::NavField<T>& at(std::uint32_t slot) const {
    return fields_.of<T>()[slot];
  }

  Lib::NavField<Lib::Nano>& time() { return at<Lib::Nano>(kTimeSlot); }
  const Lib::NavField<Lib::Nano>& time() const { return at<Lib::Nano>(kTimeSlot); }

  static constexpr std::uint32_t kTimeSlot = 0;

 private:
  Lib::PerType<Fields> fields_;
};

}  // namespace Kvex::Zint
