#pragma once

#include <kvex/File.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tool/OpenedFile.h"

namespace Kvex::Tool {

/// What of a file a report shows.
struct ReportOptions {
  std::vector<std::string> patterns;  ///< Further plots.
  bool fast = false;                  ///< Without statistics and states.
};

/// All that the page of a report shows of a file, as web/report/data.ts describes it. Reads the file's values.
nlohmann::ordered_json reportJson(OpenedFile& opened, const ReportOptions& options);

}  // namespace Kvex::Tool
