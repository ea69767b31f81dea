#include <kvex/Error.h>

namespace Kvex {

struct Error::Data {
  ErrorCode code;
  std::string reason;
  std::string file;
  std::optional<std::uint64_t> offset;
  std::vector<std::string> candidates;
};

namespace {

bool concernsOpening(ErrorCode code) {
  return code == ErrorCode::NotFound || code == ErrorCode::Unreadable || code == ErrorCode::UnknownKind ||
         code == ErrorCode::Empty;
}

std::string sentence(ErrorCode code, const std::string& reason, const std::string& file,
                     std::optional<std::uint64_t> offset) {
  if (file.empty()) return reason;
  const std::string place = '"' + file + '"' + (offset ? ", byte " + std::to_string(*offset) : "");
  return (concernsOpening(code) ? "cannot read " : "") + place + ": " + reason;
}

}  // namespace

Error::Error(ErrorCode code, const std::string& reason, const std::string& file, std::optional<std::uint64_t> offset,
             std::vector<std::string> candidates)
    : std::runtime_error(sentence(code, reason, file, offset)),
      data_(std::make_shared<const Data>(Data{code, reason, file, offset, std::move(candidates)})) {}

ErrorCode Error::code() const noexcept {
  return data_->code;
}

const std::string& Error::file() const noexcept {
  return data_->file;
}

std::optional<std::uint64_t> Error::offset() const noexcept {
  return data_->offset;
}

const std::string& Error::reason() const noexcept {
  return data_->reason;
}

const std::vector<std::string>& Error::candidates() const noexcept {
  return data_->candidates;
}

}  // namespace Kvex
