// The programs are built so that a mistake in them is hard to make use of.

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Command.h"

namespace Kvex {
namespace {

class HardeningTest : public testing::TestWithParam<const char*> {};

std::string printedBy(const std::string& command) {
  const std::string path = Support::scratchPath("printed");
  EXPECT_NE(std::system((command + " > '" + path + "' 2>&1").c_str()), -1);
  return Support::contentsOf(path);
}

TEST_P(HardeningTest, IsBuiltHard) {
  if (std::string_view(KVEX_SANITIZER_FLAGS) != "") GTEST_SKIP() << "not with sanitizers";
  if (std::system("command -v hardening-check >/dev/null") != 0) GTEST_SKIP() << "hardening-check is not installed";
  const std::string program = std::string("'") + KVEX_BIN + "/" + GetParam() + "'";
  const std::string report = printedBy("hardening-check --nocfprotection " + program);
  for (const char* property :
       {"Position Independent Executable: yes", "Stack protected: yes", "Fortify Source functions: yes",
        "Read-only relocations: yes", "Immediate binding: yes"}) {
    EXPECT_THAT(report, testing::HasSubstr(property));
  }
  EXPECT_THAT(printedBy("readelf -lW " + program), testing::ContainsRegex("GNU_STACK.* RW +0x"));
}

INSTANTIATE_TEST_SUITE_P(Programs, HardeningTest, testing::Values("vrel", "vrel2fix"));

}  // namespace
}  // namespace Kvex
