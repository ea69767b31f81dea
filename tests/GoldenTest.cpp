// Whole files with known answers, one per kind of recording.

#include <gtest/gtest.h>

#include "support/Golden.h"

namespace Kvex {

namespace {

class GoldenTest : public testing::TestWithParam<const char*> {};

TEST_P(GoldenTest, agreesWithTheAnswers) {
  EXPECT_EQ(Support::differencesFromAnswers(GetParam()), "");
}

std::string caseName(const testing::TestParamInfo<const char*>& info) {
  const std::string name = info.param;
  return name.substr(0, name.rfind('.'));
}

INSTANTIATE_TEST_SUITE_P(Zint, GoldenTest,
                         testing::Values("zint_plain_11.vrel", "zint_wild_11.vrel", "zint_damaged_11.vrel"), caseName);

}  // namespace

}  // namespace Kvex
