#include "tool/FileByFile.h"

#include <kvex/Error.h>

#include "tool/Messages.h"
#include "tool/Text.h"

namespace Kvex::Tool {

VrelExit FilesDone::exit() const {
  if (failed > 0) return VrelExit::Failed;
  return damaged > 0 ? VrelExit::Damaged : VrelExit::Good;
}

FilesDone doEach(const std::vector<std::string>& files, const std::function<VrelExit(const std::string& file)>& doOne) {
  FilesDone done{.files = files.size()};
  const auto complain = [&](const std::string& file, const char* reason) {
    if (files.size() == 1) throw;
    say("vrel: \"{}\": {}", printable(file), printable(reason));
    ++done.failed;
  };
  for (const std::string& file : files) {
    try {
      if (doOne(file) == VrelExit::Damaged) ++done.damaged;
    } catch (const Interrupted&) {
      throw;
    } catch (const Error& error) {
      if (error.code() == ErrorCode::Cancelled) throw;
      complain(file, error.reason().c_str());
    } catch (const Failure& failure) {
      complain(file, failure.what());
    }
  }
  return done;
}

}  // namespace Kvex::Tool
