#include <kvex/Error.h>
#include <kvex/Signal.h>

#include "front/Samples.h"
#include "front/SignalData.h"

namespace Kvex {

std::string Multiplexer::text() const {
  std::string text = signal;
  std::string_view separator = " = ";
  for (const Range& range : values) {
    text.append(separator).append(std::to_string(range.first));
    if (range.last != range.first) text.append("-").append(std::to_string(range.last));
    separator = ", ";
  }
  return text;
}

Signal::Signal(std::shared_ptr<const Data> data, std::optional<std::uint32_t> element)
    : data_(std::move(data)), element_(element) {
  if (element_) elementName_ = data_->listing.elementName(*element_);
}

std::uint32_t Signal::stream() const {
  return static_cast<std::uint32_t>(data_->listing.streamId);
}

std::uint32_t Signal::ordinal() const {
  return static_cast<std::uint32_t>(data_->listing.ordinal);
}

const std::string& Signal::name() const {
  return element_ ? elementName_ : data_->listing.name;
}

std::string Signal::qualifiedName() const {
  return std::to_string(stream()) + ":" + name();
}

ValueType Signal::type() const {
  return data_->listing.valueType;
}

std::uint32_t Signal::count() const {
  return element_ ? 1 : data_->listing.count;
}

bool Signal::isArray() const {
  return data_->listing.isArray && !element_;
}

std::optional<std::uint32_t> Signal::element() const {
  return element_;
}

Signal Signal::at(std::uint32_t element) const {
  if (!isArray()) throw Error(ErrorCode::NoSuchSignal, "\"" + qualifiedName() + "\" is no array");
  if (element >= count()) {
    throw Error(ErrorCode::NoSuchSignal,
                "\"" + qualifiedName() + "\" has " + std::to_string(count()) + " elements, numbered from 0");
  }
  return Signal(data_, element);
}

std::string Signal::elementLabel(std::uint32_t element) const {
  auto* const label = data_->listing.elementLabel;
  return label != nullptr ? label(element) : std::to_string(element);
}

const std::string& Signal::unit() const {
  return data_->listing.unit;
}

const std::string& Signal::description() const {
  return data_->listing.description;
}

const std::string& Signal::table() const {
  return data_->listing.table;
}

const std::optional<Multiplexer>& Signal::multiplexer() const {
  return data_->multiplexer;
}

double Signal::resolution() const {
  return data_->listing.resolution;
}

int Signal::decimals() const {
  return data_->listing.decimals;
}

double Signal::rangeLow() const {
  return data_->listing.rangeLow;
}

double Signal::rangeHigh() const {
  return data_->listing.rangeHigh;
}

double Signal::dialStart() const {
  return data_->listing.dialStart;
}

double Signal::dialSweep() const {
  return data_->listing.dialSweep;
}

std::uint32_t Signal::mask() const {
  return data_->listing.groupMask;
}

bool Signal::hasTexts() const {
  return data_->listing.valueText != nullptr;
}

const std::vector<ValueText>& Signal::texts() const {
  return data_->texts;
}

std::string Signal::text(const Value& value) const {
  const Sto::SignalListing& listing = data_->listing;
  if (listing.valueText == nullptr || value.type() == ValueType::None) return value.text();
  return listing.valueText(Front::sampleOf(value), listing);
}

std::optional<Value> Signal::first() const {
  return element_ ? std::nullopt : data_->first;
}

std::optional<Value> Signal::last() const {
  return element_ ? std::nullopt : data_->last;
}

bool Signal::operator==(const Signal& other) const {
  return data_ == other.data_ && element_ == other.element_;
}

}  // namespace Kvex
