#include "ArrowStream.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace Kvex::Python {

namespace {

constexpr std::chrono::milliseconds kInterruptInterval{100};

template <class Node>
nb::capsule capsuleOf(std::unique_ptr<Node> node, const char* name) {
  const auto release = [](PyObject* capsule) {
    auto* const held = static_cast<Node*>(PyCapsule_GetPointer(capsule, PyCapsule_GetName(capsule)));
    if (held->release != nullptr) held->release(held);  // nobody has taken it over
    delete held;
  };
  PyObject* const capsule = PyCapsule_New(node.get(), name, release);
  if (capsule == nullptr) throw nb::python_error();
  (void)node.release();  // the capsule owns it
  return nb::steal<nb::capsule>(capsule);
}

/// Behind an Arrow stream: what it reads, in whatever thread its consumer calls it.
class StreamMemory {
 public:
  StreamMemory(Recording::Lease file, ArrowTable table, const std::vector<Signal>& signals, const TableRows& rows)
      : file_(std::move(file)), table_(std::move(table)), reader_(beginReading(file_, signals, rows)) {}

  static int getSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    return guarded(stream, [&](StreamMemory& self) { self.table_.makeSchema(*out); });
  }

  static int getNext(ArrowArrayStream* stream, ArrowArray* out) {
    return guarded(stream, [&](StreamMemory& self) {
      out->release = nullptr;  // the end of the stream, until there is a batch
      self.endOnInterrupt();
      if (self.reader_.next()) self.table_.makeArray(self.reader_.batch(), *out);
    });
  }

  static const char* lastError(ArrowArrayStream* stream) { return of(stream).error_.c_str(); }

  static void release(ArrowArrayStream* stream) {
    delete &of(stream);
    stream->release = nullptr;
  }

 private:
  static StreamMemory& of(ArrowArrayStream* stream) { return *static_cast<StreamMemory*>(stream->private_data); }

  template <class Work>
  static int guarded(ArrowArrayStream* stream, Work&& work) noexcept {
    try {
      work(of(stream));
      return 0;
    } catch (const std::bad_alloc&) {
      return ENOMEM;
    } catch (const Error& error) {
      of(stream).error_ = error.what();
      return error.code() == ErrorCode::Cancelled ? EINTR : EIO;
    } catch (const std::exception& error) {
      of(stream).error_ = error.what();
      return EIO;
    }
  }

  /// The consumer knows nothing of Python's interrupts: the stream ends with an error, and Python raises the interrupt
  /// as soon as the consumer is back.
  void endOnInterrupt() {
    const auto now = std::chrono::steady_clock::now();
    if (now - checkedAt_ < kInterruptInterval) return;
    checkedAt_ = now;
    const nb::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() == 0) return;
    PyErr_Clear();
    PyErr_SetInterrupt();
    throw Error(ErrorCode::Cancelled, "interrupted", file_->path());
  }

  Recording::Lease file_;
  ArrowTable table_;
  Reader reader_;
  std::string error_;
  std::chrono::steady_clock::time_point checkedAt_ = std::chrono::steady_clock::now();
};

}  // namespace

nb::capsule schemaCapsule(const ArrowTable& table) {
  auto schema = std::make_unique<ArrowSchema>();
  table.makeSchema(*schema);
  return capsuleOf(std::move(schema), "arrow_schema");
}

nb::capsule streamCapsule(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                          ArrowTable table, const TableRows& rows) {
  auto stream = std::make_unique<ArrowArrayStream>();
  {
    const nb::gil_scoped_release unlocked;
    stream->private_data = new StreamMemory(recording->lease(), std::move(table), signals, rows);
  }
  stream->get_schema = StreamMemory::getSchema;
  stream->get_next = StreamMemory::getNext;
  stream->get_last_error = StreamMemory::lastError;
  stream->release = StreamMemory::release;
  return capsuleOf(std::move(stream), "arrow_array_stream");
}

Reader beginReading(const Recording::Lease& file, const std::vector<Signal>& signals, const TableRows& rows) {
  const std::vector<Signal> own = file.own(signals);
  return rows.grid ? file->grid(own, *rows.grid, rows.options) : file->native(own, rows.options);
}

TableBatches::TableBatches(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                           std::vector<std::string> tables, std::vector<ArrowTable> forms, const ReadOptions& options)
    : file_(recording->lease()),
      tables_(std::move(tables)),
      forms_(std::move(forms)),
      reader_(file_->nativeTables(file_.own(signals), options)) {}

nb::object TableBatches::next() {
  bool more = false;
  {
    const nb::gil_scoped_release unlocked;
    more = reader_.next();
  }
  if (!more) return nb::none();
  if (PyErr_CheckSignals() != 0) throw nb::python_error();
  const auto place = static_cast<std::size_t>(std::ranges::find(tables_, reader_.batch().table()) - tables_.begin());
  auto array = std::make_unique<ArrowArray>();
  forms_[place].makeArray(reader_.batch(), *array);
  return nb::make_tuple(place, schemaCapsule(forms_[place]), capsuleOf(std::move(array), "arrow_array"));
}

}  // namespace Kvex::Python
