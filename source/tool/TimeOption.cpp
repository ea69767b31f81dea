#include "tool/TimeOption.h"

#include "tool/Messages.h"
#include "tool/Text.h"

namespace Kvex::Tool {

CLI::Option* addTimeOption(CLI::App& command, const std::string& name, std::optional<TimeText>& time,
                           const std::string& description) {
  return command
      .add_option_function<std::string>(
          name,
          [name, &time](const std::string& text) {
            try {
              time = TimeText(text);
            } catch (const Error& error) {
              throw CLI::ValidationError(name, printable(error.reason()));
            }
          },
          description)
      ->type_name("TIME");
}

void tellNotes(const File& file, const ChosenSpan& span) {
  for (const std::string& note : span.notes) say("vrel: note: \"{}\": {}", printable(file.path()), note);
}

}  // namespace Kvex::Tool
