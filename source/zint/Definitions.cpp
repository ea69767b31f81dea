#include "zint/Definitions.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>

namespace Kvex::Zint {

namespace {

using nlohmann::json;

constexpr std::uint32_t kMaxParents = 256;

/// The value of a key of an object, or none.
const json* member(const json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

/// The entries of one array of the document, in rising id order, with the inheritance between them.
class Entries {
 public:
  /// Elements that are no object, or have no unsigned "ID", are passed over; the first entry of an id stands.
  explicit Entries(const json& array) {
    std::map<std::uint64_t, const json*> byId;
    for (const json& element : array) {
      if (!element.is_object()) continue;
      const json* id = member(element, "ID");
      if (id != nullptr && id->is_number_unsigned()) byId.emplace(id->get<std::uint64_t>(), &element);
    }
    std::map<std::uint64_t, std::size_t> places;
    for (const auto& [id, object] : byId) {
      places.emplace(id, nodes_.size());
      nodes_.push_back({id, object, kNone});
    }
    for (Node& node : nodes_) {
      const std::optional<std::uint64_t> parent = parentId(member(*node.object, "IP"));
      const auto place = parent ? places.find(*parent) : places.end();
      if (place != places.end()) node.parent = place->second;
    }
  }

  std::size_t size() const { return nodes_.size(); }
  std::uint64_t id(std::size_t place) const { return nodes_[place].id; }

  /// For each entry the value of a key: its own, else that of its nearest ancestor that has the key, up to
  /// `kMaxParents` steps away; null where there is none. Each step is taken once for all entries together, so that long
  /// and circular chains cost no more than short ones.
  std::vector<const json*> values(const char* key) const {
    constexpr std::uint32_t kUnknown = UINT32_MAX;
    constexpr std::uint32_t kOnPath = UINT32_MAX - 1;
    constexpr std::uint32_t kNowhere = UINT32_MAX - 2;
    std::vector<std::uint32_t> distance(nodes_.size(), kUnknown);  // steps to the entry that has the key
    std::vector<const json*> value(nodes_.size(), nullptr);
    std::vector<std::size_t> path;
    for (std::size_t start = 0; start < nodes_.size(); ++start) {
      std::size_t place = start;
      path.clear();
      while (place != kNone && distance[place] == kUnknown) {
        value[place] = member(*nodes_[place].object, key);
        distance[place] = value[place] != nullptr ? 0 : kOnPath;
        if (value[place] != nullptr) break;
        path.push_back(place);
        place = nodes_[place].parent;
      }
      const bool found = place != kNone && distance[place] < kNowhere;
      std::uint32_t steps = found ? distance[place] : 0;
      const json* const inherited = found ? value[place] : nullptr;
      for (auto below = path.rbegin(); below != path.rend(); ++below) {
        distance[*below] = found ? ++steps : kNowhere;
        value[*below] = inherited;
      }
    }
    for (std::size_t place = 0; place < nodes_.size(); ++place) {
      if (distance[place] > kMaxParents) value[place] = nullptr;
    }
    return value;
  }

 private:
  static constexpr std::size_t kNone = SIZE_MAX;

  struct Node {
    std::uint64_t id;
    const json* object;
    std::size_t parent;
  };

  static std::optional<std::uint64_t> parentId(const json* value) {
    if (value == nullptr || !value->is_number()) return std::nullopt;
    if (!value->is_number_float()) return value->get<std::uint64_t>();
    const double number = value->get<double>();
    if (!(number > -1.0 && number < 0x1p64)) return std::nullopt;
    return static_cast<std::uint64_t>(std::max(number, 0.0));
  }

  std::vector<Node> nodes_;
};

std::optional<std::uint64_t> asUnsigned(const json* value) {
  if (value == nullptr || !value->is_number_unsigned()) return std::nullopt;
  return value->get<std::uint64_t>();
}

std::optional<std::string> asUpperText(const json* value) {
  if (value == nullptr || !value->is_string()) return std::nullopt;
  std::string text = value->get<std::string>();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

/// The texts of a document, one copy of each value for all entries that have it or inherit it.
class Texts {
 public:
  /// Empty for a value that is no text.
  SharedText of(const json* value) {
    if (value == nullptr || !value->is_string()) return kEmpty;
    SharedText& text = texts_[value];
    if (text == nullptr) text = std::make_shared<const std::string>(value->get_ref<const std::string&>());
    return text;
  }

 private:
  const SharedText kEmpty = std::make_shared<const std::string>();
  std::unordered_map<const json*, SharedText> texts_;
};

/// The narrowest of the given types, in rising width from 8 bits, that holds `bits`.
ValueType narrowest(std::uint32_t bits, const std::array<ValueType, 4>& types) {
  std::uint32_t width = 8;
  for (const ValueType type : types) {
    if (bits <= width) return type;
    width *= 2;
  }
  return ValueType::Unknown;
}

ValueType rawTypeOf(std::string_view base, std::uint32_t bits) {
  if (base == "B") return ValueType::Bool;
  if (base == "R")
    return narrowest(bits, {ValueType::Unknown, ValueType::Unknown, ValueType::Float, ValueType::Double});
  if (base == "S") return narrowest(bits, {ValueType::Int8, ValueType::Int16, ValueType::Int32, ValueType::Int64});
  if (base == "U") return narrowest(bits, {ValueType::UInt8, ValueType::UInt16, ValueType::UInt32, ValueType::UInt64});
  return ValueType::Unknown;
}

ValueType mappedTypeOf(std::string_view keyword) {
  static constexpr std::pair<std::string_view, ValueType> kKeywords[] = {
      {"B", ValueType::Bool},     {"R32", ValueType::Float},  {"R64", ValueType::Double}, {"S8", ValueType::Int8},
      {"S16", ValueType::Int16},  {"S32", ValueType::Int32},  {"S64", ValueType::Int64},  {"U8", ValueType::UInt8},
      {"U16", ValueType::UInt16}, {"U32", ValueType::UInt32}, {"U64", ValueType::UInt64},
  };
  const auto* found = std::find_if(std::begin(kKeywords), std::end(kKeywords),
                                   [&](const auto& entry) { return entry.first == keyword; });
  return found == std::end(kKeywords) ? ValueType::Unknown : found->second;
}

/// Settles types, size and place of a signal; none where one of them is out of its range.
std::optional<SignalForm> resolveForm(std::uint64_t id, const json* offset, const json* size, const json* base,
                                      const json* mapped) {
  constexpr std::uint64_t kMaxBits = 65536;
  SignalForm form{.id = id};
  const std::uint64_t bitOffset = asUnsigned(offset).value_or(0);
  const std::uint64_t bitSize = asUnsigned(size).value_or(32);
  if (bitOffset >= kMaxBits || bitSize < 1 || bitSize > kMaxBits) return std::nullopt;
  form.bitOffset = static_cast<std::uint32_t>(bitOffset);
  form.bitSize = static_cast<std::uint32_t>(bitSize);
  const std::optional<std::string> baseText = asUpperText(base);
  form.rawType = baseText ? rawTypeOf(*baseText, form.bitSize) : ValueType::Int32;
  if (form.rawType == ValueType::Bool) form.bitSize = 1;
  if (form.rawType == ValueType::Unknown) return std::nullopt;
  const std::optional<std::string> mappedText = asUpperText(mapped);
  form.mappedType = mappedText ? mappedTypeOf(*mappedText) : form.rawType;
  if (form.mappedType == ValueType::Unknown) return std::nullopt;
  return form;
}

void buildSignals(const Entries& entries, Definitions& definitions) {
  const auto names = entries.values("DN");
  const auto units = entries.values("DU");
  const auto comments = entries.values("DC");
  const auto scales = entries.values("MS");
  const auto mapOffsets = entries.values("MO");
  const auto lows = entries.values("ML");
  const auto highs = entries.values("MH");
  const auto offsets = entries.values("BO");
  const auto sizes = entries.values("BS");
  const auto bases = entries.values("BT");
  const auto mappedTypes = entries.values("MT");
  Texts texts;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto form = resolveForm(entries.id(i), offsets[i], sizes[i], bases[i], mappedTypes[i]);
    if (!form) continue;
    auto signal = makeSignal(*form, {texts.of(names[i]), texts.of(units[i]), texts.of(comments[i]), scales[i],
                                     mapOffsets[i], lows[i], highs[i]});
    if (signal != nullptr) definitions.signals.emplace(entries.id(i), std::move(signal));
  }
}

/// The signals that an array of ids names, in rising id order, each once.
std::shared_ptr<const std::vector<Signal*>> linkSignals(const json* ids, const Definitions& definitions) {
  auto linked = std::make_shared<std::vector<Signal*>>();
  if (ids == nullptr || !ids->is_array()) return linked;
  std::set<std::uint64_t> wanted;
  for (const json& element : *ids) {
    if (const auto id = asUnsigned(&element)) wanted.insert(*id);
  }
  for (const std::uint64_t id : wanted) {
    const auto signal = definitions.signals.find(id);
    if (signal != definitions.signals.end()) linked->push_back(signal->second.get());
  }
  return linked;
}

void buildMessages(const Entries& entries, Definitions& definitions) {
  const auto names = entries.values("DN");
  const auto signalIds = entries.values("BS");
  std::map<const json*, std::shared_ptr<const std::vector<Signal*>>> lists;
  std::set<std::uint64_t> carried;
  Texts texts;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    auto& list = lists[signalIds[i]];
    if (list == nullptr) {
      list = linkSignals(signalIds[i], definitions);
      for (const Signal* signal : *list) carried.insert(signal->id());
    }
    if (list->empty()) continue;
    definitions.messages.push_back({.id = entries.id(i), .name = texts.of(names[i]), .signals = list});
  }
  for (const std::uint64_t id : carried) {
    Signal* signal = definitions.signals.at(id).get();
    signal->listIndex = definitions.carriedSignals.size();
    definitions.carriedSignals.push_back(signal);
  }
}

}  // namespace

Definitions readDefinitions(const json& document) {
  Definitions definitions;
  if (!document.is_object()) return definitions;
  const json* version = member(document, "V");
  const json* messages = member(document, "M");
  const json* signals = member(document, "S");
  if (version == nullptr || messages == nullptr || signals == nullptr) return definitions;
  if (!version->is_number_integer() || version->get<double>() != 1.0 || !messages->is_array() || !signals->is_array()) {
    return definitions;
  }
  buildSignals(Entries(*signals), definitions);
  buildMessages(Entries(*messages), definitions);
  return definitions;
}

}  // namespace Kvex::Zint
