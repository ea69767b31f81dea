#pragma once

#include <cstddef>
#include <iterator>
#include <kvex/Batch.h>
#include <memory>

namespace Kvex {

/// A reading in progress: gives batch after batch, always forward. A file has one reading at a time: another one that
/// is begun takes its place, and `next` of this one then throws `Superseded`. Thread safety: one thread at a time, the
/// same as its `File`.
class Reader {
 public:
  Reader(Reader&&) noexcept;
  Reader& operator=(Reader&&) noexcept;
  ~Reader();

  /// Reads the next batch, which has at least one row. False at the end of the data. Throws `Cancelled` and
  /// `Superseded`.
  bool next();
  /// The batch that `next` has read; without rows before the first one and at the end.
  const Batch& batch() const;

  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Batch;
    using difference_type = std::ptrdiff_t;
    using pointer = const Batch*;
    using reference = const Batch&;

    explicit Iterator(Reader* reader = nullptr) : reader_(reader) { ++*this; }
    reference operator*() const { return reader_->batch(); }
    pointer operator->() const { return &reader_->batch(); }
    Iterator& operator++() {
      if (reader_ != nullptr && !reader_->next()) reader_ = nullptr;
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(const Iterator&) const = default;

   private:
    Reader* reader_;
  };

  /// The batches that are still to come.
  Iterator begin() { return Iterator(this); }
  Iterator end() { return Iterator(); }

 private:
  friend class File;
  friend class ReaderAccess;
  class Source;

  explicit Reader(std::unique_ptr<Source> source);

  std::unique_ptr<Source> source_;
  Batch batch_;
};

}  // namespace Kvex
