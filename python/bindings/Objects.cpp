#include "Objects.h"

#include <cstdint>
#include <kvex/Error.h>
#include <type_traits>

namespace Kvex::Python {

nb::str toStr(std::string_view text) {
  PyObject* const decoded = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
  if (decoded == nullptr) throw nb::python_error();
  return nb::steal<nb::str>(decoded);
}

std::string toUtf8(std::string_view text) {
  return toStr(text).c_str();
}

nb::object toObject(const Value& value) {
  nb::object result = nb::none();
  visitType(value.type(), [&]<class T>(std::type_identity<T>) { result = nb::cast(value.get<T>()); });
  return result;
}

nb::object toObject(const std::optional<Nano>& time) {
  return time && *time != kNoTime ? nb::cast(*time) : nb::none();
}

void checkInterrupt() {
  const nb::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() != 0) throw nb::python_error();
}

namespace {

/// The cells of one column, of all batches so far. Bits become bytes.
class CollectedColumn {
 public:
  virtual ~CollectedColumn() = default;
  virtual void add(const ColumnBuffers& column) = 0;
  virtual nb::object result() = 0;
};

template <class T>
class TypedColumn : public CollectedColumn {
 public:
  explicit TypedColumn(const Signal& signal) : count_(signal.isArray() ? signal.count() : 1), list_(signal.isArray()) {}

  void add(const ColumnBuffers& column) override {
    for (std::size_t row = 0; row < column.rows; ++row) {
      if (!list_) {
        addCell(column, row, column.validity);
      } else {
        const auto first = static_cast<std::size_t>(column.offsets[row]);
        const bool hasElements = static_cast<std::size_t>(column.offsets[row + 1]) > first;
        for (std::size_t i = 0; i < count_; ++i)
          hasElements ? addCell(column, first + i, column.childValidity) : addNone();
      }
    }
  }

  nb::object result() override {
    std::vector<std::size_t> shape{valid_.size() / count_};
    if (list_) shape.push_back(count_);
    return nb::make_tuple(toArray(std::move(values_), shape), toArray(std::move(valid_), shape),
                          toArray(std::move(flags_), shape), toArray(std::move(stamps_), shape));
  }

 private:
  /// A bool is kept as a byte, which NumPy views as its bool.
  using Stored = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;

  void addCell(const ColumnBuffers& column, std::size_t place, const std::uint8_t* validity) {
    values_.push_back(Detail::valueAt<T>(column.values, place));
    valid_.push_back(bitAt(validity, place) ? 1 : 0);
    flags_.push_back(column.flags[place]);
    stamps_.push_back(column.stamps[place]);
  }

  void addNone() {
    values_.push_back({});
    valid_.push_back(0);
    flags_.push_back(Flag::kNeverWritten);
    stamps_.push_back(kNoTime);
  }

  std::size_t count_;
  bool list_;
  std::vector<Stored> values_;
  std::vector<std::uint8_t> valid_;
  std::vector<std::uint8_t> flags_;
  std::vector<Nano> stamps_;
};

}  // namespace

nb::object collect(Reader& reader, const std::vector<Signal>& signals) {
  std::vector<Nano> times;
  std::vector<std::unique_ptr<CollectedColumn>> columns;
  for (const Signal& signal : signals) {
    visitType(signal.type(),
              [&]<class T>(std::type_identity<T>) { columns.push_back(std::make_unique<TypedColumn<T>>(signal)); });
  }
  {
    const nb::gil_scoped_release unlocked;
    for (const Batch& batch : reader) {
      times.insert(times.end(), batch.times().begin(), batch.times().end());
      for (std::size_t i = 0; i < columns.size(); ++i) columns[i]->add(batch.buffers(i));
      checkInterrupt();
    }
  }
  nb::list results;
  for (const auto& column : columns) results.append(column->result());
  return nb::make_tuple(toArray(std::move(times)), results);
}

}  // namespace Kvex::Python
