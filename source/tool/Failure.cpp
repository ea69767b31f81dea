#include "tool/Failure.h"

#include "tool/Text.h"

namespace Kvex::Tool {

Failure failureFrom(const Error& error) {
  switch (error.code()) {
    case ErrorCode::Cancelled:
      return Interrupted();
    case ErrorCode::NotFound:
    case ErrorCode::Unreadable:
    case ErrorCode::UnknownKind:
    case ErrorCode::Empty:
    case ErrorCode::Unwritable:
      return Failure(printable(error.what()));
    case ErrorCode::InvalidArgument:
      return Failure(printable(error.reason()), VrelExit::WrongUsage);
    default:
      return Failure(printable(error.reason()));
  }
}

}  // namespace Kvex::Tool
