#include "recording/TaggedPacket.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace Kvex::Com {

namespace {

struct Bracket {
  char open;
  char close;
  TaggedPacket::Kind kind;
};
constexpr Bracket kBrackets[] = {
    {'[', ']', TaggedPacket::Kind::Primary}, {'<', '>', TaggedPacket::Kind::Angle},
    {'(', ')', TaggedPacket::Kind::Round},   {'{', '}', TaggedPacket::Kind::KeyValue},
    {'/', '/', TaggedPacket::Kind::Json},    {'|', '|', TaggedPacket::Kind::Bar},
};

/// Control bytes and all bytes from 0x80 on stand between the items of a key-value body.
bool separates(char byte) {
  return static_cast<signed char>(byte) < 32;
}

/// Whether a JSON text nests deeper than `TaggedPacket::kMaxJsonDepth`. Exact as far as the text is well-formed.
bool nestsTooDeep(std::string_view json) {
  int depth = 0;
  bool inString = false;
  for (std::size_t at = 0; at < json.size(); ++at) {
    const char byte = json[at];
    if (byte == '"') inString = !inString;
    if (inString) {
      if (byte == '\\') ++at;
    } else if (byte == '[' || byte == '{') {
      if (++depth > TaggedPacket::kMaxJsonDepth) return true;
    } else if (byte == ']' || byte == '}') {
      --depth;
    }
  }
  return false;
}

}  // namespace

TaggedPacket::TaggedPacket(std::string bytes) : data(std::move(bytes)) {
  if (parseTag()) parseBody();
}

bool TaggedPacket::parseTag() {
  open = close = '?';
  tag.clear();
  kind = Kind::Invalid;
  if (data.empty()) return false;
  for (const Bracket& bracket : kBrackets) {
    if (data.front() != bracket.open) continue;
    const std::size_t end = data.find_first_of("]})>/|", 1);
    if (end == std::string::npos || data[end] != bracket.close) return false;
    open = bracket.open;
    close = bracket.close;
    kind = bracket.kind;
    tag = data.substr(0, end + 1);
    data.erase(0, end + 1);
    return true;
  }
  return false;
}

bool TaggedPacket::parseBody() {
  switch (kind) {
    case Kind::Primary:
    case Kind::KeyValue:
      parseKeyValues();
      return true;
    case Kind::Json:
      if (nestsTooDeep(data)) return false;
      document = nlohmann::json::parse(data, nullptr, /*allow_exceptions=*/false);
      if (!document.is_discarded()) return true;
      document = nullptr;
      return false;
    case Kind::Bar:
      return false;
    default:
      return true;
  }
}

void TaggedPacket::parseKeyValues() {
  const std::string body = std::exchange(data, {});
  auto begin = body.begin();
  while (begin != body.end()) {
    const auto end = std::find_if(begin, body.end(), separates);
    const std::string_view item(begin, end);
    if (const std::size_t equals = item.find('='); equals != std::string_view::npos) {
      values.emplace(item.substr(0, equals), item.substr(equals + 1));  // the first value of a key wins
    }
    begin = std::find_if_not(end, body.end(), separates);
  }
}

bool TaggedPacket::getText(std::string_view key, std::string& out) const {
  const auto found = values.find(key);
  out = found == values.end() ? std::string() : found->second;
  return found != values.end();
}

bool TaggedPacket::getUnsigned(std::string_view key, std::uint32_t& out) const {
  out = 0;
  const auto found = values.find(key);
  if (found == values.end()) return false;
  std::istringstream text(found->second);
  std::uint32_t number = 0;
  if (!(text >> number)) return false;
  out = number;
  return true;
}

void TaggedPacket::setText(std::string_view key, std::string_view value) {
  values.insert_or_assign(std::string(key), std::string(value));
}

void TaggedHeader::addHeader(TaggedPacket packet) {
  headers.push_back(std::move(packet));
  primary.setNumber("headers", headers.size());
}

const TaggedPacket* TaggedHeader::findHeader(std::string_view tag) const {
  for (const TaggedPacket& packet : headers) {
    if (packet.tag == tag) return &packet;
  }
  return nullptr;
}

TaggedPacket* TaggedHeader::findHeader(std::string_view tag) {
  return const_cast<TaggedPacket*>(std::as_const(*this).findHeader(tag));
}

}  // namespace Kvex::Com
