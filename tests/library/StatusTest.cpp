#include <gtest/gtest.h>
#include <string>

#include "library/Status.h"

namespace Kvex::Lib {
namespace {

TEST(StatusTest, ReportNamesItsPlaceAndMessage) {
  struct Case {
    Status code;
    Severity severity;
    const char* file;
    int line;
    const char* function;
    const char* text;
    std::string expected;
  };
  const Case cases[] = {
      {1, Severity::Error, "a/b\\c.cpp", 0, "f", "what",
       "*** Error in function f() at line 0 of file c.cpp ***\n--> what\n"},
      {12, Severity::Warning, "a\\b/c.cpp", 7, "", nullptr,
       "*** Warning in unknown function at line 7 of file c.cpp ***\n--> hardware error\n"},
      {0, Severity::FatalError, nullptr, -1, nullptr, nullptr,
       "*** Fatal error in unknown function at unknown line of unknown file ***\n--> successful operation\n"},
      {5, Severity{7}, "a/", 1, "f", "", "*** Error in function f() at line 1 of unknown file ***\n--> \n"},
      {13, Severity{-1}, "c", 1, "f", nullptr,
       "*** Error in function f() at line 1 of file c ***\n--> unknown status\n"},
      {4, Severity::Info, "c", 1, "f", nullptr,
       "*** Info in function f() at line 1 of file c ***\n--> insufficient memory space allocated\n"},
  };
  for (const Case& one : cases) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(report(one.code, one.severity, one.file, one.line, one.function, one.text), kSuccess);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), one.expected);
  }
}

TEST(StatusDeathTest, KilledEndsTheProgram) {
  EXPECT_EXIT(report(8, Severity::Killed, "c", 1, "f", nullptr), testing::ExitedWithCode(1),
              "Killed in function f.*internal inconsistency");
}

}  // namespace
}  // namespace Kvex::Lib
