#include <kvex/Reader.h>

#include "front/ReaderSource.h"

namespace Kvex {

Reader::Reader(std::unique_ptr<Source> source) : source_(std::move(source)) {}
Reader::Reader(Reader&&) noexcept = default;
Reader& Reader::operator=(Reader&&) noexcept = default;
Reader::~Reader() = default;

bool Reader::next() {
  batch_ = Batch();  // lets the source use the memory again
  return source_->next(batch_);
}

const Batch& Reader::batch() const {
  return batch_;
}

}  // namespace Kvex
