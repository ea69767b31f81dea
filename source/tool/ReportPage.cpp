#include "tool/ReportPage.h"

#include <pages/report.h>
#include <string_view>

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

/// In a script, also one of data, "<" can begin a tag.
std::string escapedJson(const nlohmann::ordered_json& json) {
  std::string escaped;
  for (const char c : jsonText(json)) {
    if (c == '<') {
      escaped += "\\u003c";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

}  // namespace

std::string reportPage(const std::string& title, const nlohmann::ordered_json& report) {
  constexpr std::string_view kTitle = "{{title}}";
  constexpr std::string_view kData = "{{data}}";
  const std::string_view page = Pages::report();
  const std::size_t titleAt = page.find(kTitle);
  const std::size_t dataAt = page.find(kData);
  std::string text(page.substr(0, titleAt));
  text += markupText(title);
  text += page.substr(titleAt + kTitle.size(), dataAt - titleAt - kTitle.size());
  text += escapedJson(report);
  text += page.substr(dataAt + kData.size());
  return text;
}

}  // namespace Kvex::Tool
