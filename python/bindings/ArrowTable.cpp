#include "ArrowTable.h"

#include <algorithm>
#include <cstring>
#include <kvex/Error.h>
#include <kvex/Time.h>
#include <type_traits>

namespace Kvex::Python {

namespace {

constexpr std::int64_t kNullable = 2;  // the interface's flag of a field
constexpr std::size_t kMaxTexts = 65'536;

constexpr const char* kUtcTime = "tsn:UTC";
constexpr const char* kGpsTime = "l";

const char* formatOf(ValueType type) {
  const char* format = "n";
  visitType(type, [&]<class T>(std::type_identity<T>) {
    if constexpr (std::is_same_v<T, bool>) {
      format = "b";
    } else if constexpr (std::is_floating_point_v<T>) {
      format = sizeof(T) == 4 ? "f" : "g";
    } else {
      constexpr bool kSigned = std::is_signed_v<T>;
      switch (sizeof(T)) {
        case 1:
          format = kSigned ? "c" : "C";
          break;
        case 2:
          format = kSigned ? "s" : "S";
          break;
        case 4:
          format = kSigned ? "i" : "I";
          break;
        default:
          format = kSigned ? "l" : "L";
          break;
      }
    }
  });
  return format;
}

/// Lengths and bytes one behind the other, as the interface has it.
std::string encoded(const Metadata& metadata) {
  std::string bytes;
  const auto addLength = [&](std::size_t length) {
    const auto number = static_cast<std::int32_t>(length);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
  };
  addLength(metadata.size());
  for (const auto& [key, value] : metadata) {
    for (const std::string* text : {&key, &value}) {
      addLength(text->size());
      bytes += *text;
    }
  }
  return bytes;
}

struct SchemaMemory {
  std::string format;
  std::string name;
  std::string metadata;
  std::vector<ArrowSchema> children;
  std::vector<ArrowSchema*> childPointers;
  ArrowSchema dictionary{};
};

template <class Node>
void releaseParts(Node& node) {
  for (std::int64_t i = 0; i < node.n_children; ++i) {
    if (node.children[i]->release != nullptr) node.children[i]->release(node.children[i]);
  }
  if (node.dictionary != nullptr && node.dictionary->release != nullptr) node.dictionary->release(node.dictionary);
}

void fillSchema(const Field& field, ArrowSchema& out) {
  auto memory = std::make_unique<SchemaMemory>();
  memory->format = field.format;
  memory->name = field.name;
  if (!field.metadata.empty()) memory->metadata = encoded(field.metadata);
  memory->children.resize(field.children.size());
  for (std::size_t i = 0; i < field.children.size(); ++i) {
    fillSchema(field.children[i], memory->children[i]);
    memory->childPointers.push_back(&memory->children[i]);
  }
  if (field.isDictionary) fillSchema({"", "u", {}, {}}, memory->dictionary);
  out = {.format = memory->format.c_str(),
         .name = memory->name.c_str(),
         .metadata = memory->metadata.empty() ? nullptr : memory->metadata.data(),
         .flags = kNullable,
         .n_children = static_cast<std::int64_t>(memory->children.size()),
         .children = memory->childPointers.data(),
         .dictionary = field.isDictionary ? &memory->dictionary : nullptr,
         .release =
             [](ArrowSchema* schema) {
               releaseParts(*schema);
               delete static_cast<SchemaMemory*>(schema->private_data);
               schema->release = nullptr;
             },
         .private_data = memory.get()};
  (void)memory.release();  // the schema owns it
}

/// What an array's pointers point into. Each array keeps its own part alive, since a consumer may take a child away.
struct ArrayMemory {
  std::shared_ptr<const void> owner;
  std::vector<const void*> buffers;
  std::vector<ArrowArray> children;
  std::vector<ArrowArray*> childPointers;
  ArrowArray dictionary{};
};

/// An array of these buffers, without parts.
ArrayMemory& fillArray(ArrowArray& out, std::size_t length, std::vector<const void*> buffers,
                       std::shared_ptr<const void> owner, std::size_t children = 0) {
  auto memory = std::make_unique<ArrayMemory>();
  memory->owner = std::move(owner);
  memory->buffers = std::move(buffers);
  memory->children.resize(children);
  for (ArrowArray& child : memory->children) memory->childPointers.push_back(&child);
  const bool mayHaveNulls = memory->buffers.front() != nullptr;
  out = {.length = static_cast<std::int64_t>(length),
         .null_count = mayHaveNulls ? -1 : 0,
         .offset = 0,
         .n_buffers = static_cast<std::int64_t>(memory->buffers.size()),
         .n_children = static_cast<std::int64_t>(children),
         .buffers = memory->buffers.data(),
         .children = memory->childPointers.data(),
         .dictionary = nullptr,
         .release =
             [](ArrowArray* array) {
               releaseParts(*array);
               delete static_cast<ArrayMemory*>(array->private_data);
               array->release = nullptr;
             },
         .private_data = memory.get()};
  return *memory.release();  // the array owns it
}

template <class T>
std::pair<const void*, std::shared_ptr<const void>> kept(std::vector<T> values) {
  auto owner = std::make_shared<const std::vector<T>>(std::move(values));
  return {owner->data(), owner};
}

void fillScalar(const ColumnBuffers& column, const std::shared_ptr<const void>& batch, ArrowArray& out) {
  fillArray(out, column.rows, {column.validity, column.values}, batch);
}

void fillList(const ColumnBuffers& column, const std::shared_ptr<const void>& batch, ArrowArray& out) {
  ArrayMemory& list = fillArray(out, column.rows, {column.validity, column.offsets}, batch, 1);
  fillArray(list.children.front(), column.valueCount, {column.childValidity, column.values}, batch);
}

void fillTexts(const Batch& batch, std::size_t index, TextDictionary& dictionary,
               const std::shared_ptr<const void>& owner, ArrowArray& out) {
  const ColumnBuffers& column = batch.buffers(index);
  std::vector<std::int32_t> places(column.rows);
  for (std::size_t row = 0; row < column.rows; ++row) {
    if (bitAt(column.validity, row)) places[row] = dictionary.placeOf(batch.value(index, row));
  }
  auto [values, placesOwner] = kept(std::move(places));
  const auto both = std::make_shared<std::pair<std::shared_ptr<const void>, std::shared_ptr<const void>>>(
      owner, std::move(placesOwner));
  ArrayMemory& memory = fillArray(out, column.rows, {column.validity, values}, both);
  const std::shared_ptr<const TextDictionary::Texts> texts = dictionary.texts();
  fillArray(memory.dictionary, texts->offsets.size() - 1, {nullptr, texts->offsets.data(), texts->bytes.data()}, texts);
  out.dictionary = &memory.dictionary;
}

Metadata describe(const Signal& signal) {
  return {{"signal", signal.qualifiedName()},
          {"unit", signal.unit()},
          {"description", signal.description()},
          {"table", signal.table()},
          {"count", std::to_string(signal.count())}};
}

Field fieldOf(const Signal& signal, const std::string& name, bool asTexts) {
  Field field{name, formatOf(signal.type()), describe(signal), {}, asTexts};
  if (asTexts) {
    field.format = "i";
  } else if (signal.isArray()) {
    field.children.push_back({"item", field.format, {}, {}});
    field.format = "+l";
  }
  return field;
}

}  // namespace

TextDictionary::TextDictionary(const Signal& signal) : signal_(signal), texts_(std::make_shared<Texts>()) {}

std::int32_t TextDictionary::placeOf(const Value& value) {
  const auto next = static_cast<std::int32_t>(places_.size());
  const auto [entry, isNew] = places_.emplace(value.asInteger(), next);
  if (!isNew) return entry->second;
  if (places_.size() > kMaxTexts) {
    throw Error(ErrorCode::InvalidArgument, signal_.qualifiedName() + " has too many different values for texts");
  }
  if (shared_) texts_ = std::make_shared<Texts>(*texts_);
  shared_ = false;
  texts_->bytes += signal_.text(value);
  texts_->offsets.push_back(static_cast<std::int32_t>(texts_->bytes.size()));
  return next;
}

std::shared_ptr<const TextDictionary::Texts> TextDictionary::texts() {
  shared_ = true;
  return texts_;
}

ArrowTable::ArrowTable(const std::vector<Signal>& signals, const std::vector<std::string>& names, TableForm form,
                       Metadata metadata)
    : form_(form) {
  root_ = {"", "+s", std::move(metadata), {}};
  root_.children.push_back({"time", form.utc ? kUtcTime : kGpsTime, {}, {}});
  for (std::size_t i = 0; i < signals.size(); ++i) {
    const bool asTexts = form.texts && !signals[i].isArray() && !signals[i].texts().empty();
    root_.children.push_back(fieldOf(signals[i], names[i], asTexts));
    dictionaries_.push_back(asTexts ? std::make_unique<TextDictionary>(signals[i]) : nullptr);
  }
}

void ArrowTable::makeSchema(ArrowSchema& out) const {
  fillSchema(root_, out);
}

void ArrowTable::makeArray(const Batch& batch, ArrowArray& out) {
  const auto owner = std::make_shared<const Batch>(batch);
  ArrayMemory& root = fillArray(out, batch.rows(), {nullptr}, owner, batch.columns() + 1);
  try {
    if (form_.utc) {
      auto [values, timesOwner] = kept(unixTimes(batch.times()));
      fillArray(root.children[0], batch.rows(), {nullptr, values}, std::move(timesOwner));
    } else {
      fillArray(root.children[0], batch.rows(), {nullptr, batch.times().data()}, owner);
    }
    for (std::size_t i = 0; i < batch.columns(); ++i) {
      const ColumnBuffers& column = batch.buffers(i);
      ArrowArray& child = root.children[i + 1];
      if (dictionaries_[i] != nullptr) {
        fillTexts(batch, i, *dictionaries_[i], owner, child);
      } else if (column.isList) {
        fillList(column, owner, child);
      } else {
        fillScalar(column, owner, child);
      }
    }
  } catch (...) {
    out.release(&out);
    throw;
  }
}

std::vector<std::int64_t> unixTimes(std::span<const Nano> times) {
  std::vector<std::int64_t> result(times.begin(), times.end());
  if (times.empty()) return result;
  const auto [first, last] = std::ranges::minmax_element(times);
  const std::int64_t shift = unixNanos(*first) - *first;
  // No leap second between them: then all are shifted by the same.
  if (unixNanos(*last) - *last == shift) {
    for (std::int64_t& time : result) time += shift;
  } else {
    for (std::int64_t& time : result) time = unixNanos(time);
  }
  return result;
}

}  // namespace Kvex::Python
