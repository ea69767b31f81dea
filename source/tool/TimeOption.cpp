#include "tool/TimeOption.h"

namespace Kvex::Tool {

CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeArgument>& time,
                           const std::string& description) {
  return command
      .add_option_function<std::string>(
          name,
          [name, &time](const std::string& text) {
            time = parseTimeArgument(text);
            if (!time) throw CLI::ValidationError(name, "\"" + text + "\" is no time");
          },
          description)
      ->type_name("TIME");
}

}  // namespace Kvex::Tool
