// Whole files with known answers, one per kind of recording.

#include <gtest/gtest.h>

#include "support/Golden.h"

namespace Kvex {

namespace {

class GoldenTest : public testing::TestWithParam<const char*> {};

TEST_P(GoldenTest, AgreesWithTheAnswers) {
  EXPECT_EQ(Support::differencesFromAnswers(GetParam()), "");
}

TEST_P(GoldenTest, NativeSamplesAgreeWithTheAnswers) {
  EXPECT_EQ(Support::differencesFromNativeAnswers(GetParam()), "");
}

std::string caseName(const testing::TestParamInfo<const char*>& info) {
  const std::string name = info.param;
  return name.substr(0, name.rfind('.'));
}

INSTANTIATE_TEST_SUITE_P(Zint, GoldenTest,
                         testing::Values("zint_plain_11.vrel", "zint_wild_11.vrel", "zint_damaged_11.vrel"), caseName);
INSTANTIATE_TEST_SUITE_P(Can, GoldenTest,
                         testing::Values("can_plain_11.vrel", "can_absolute_11.vrel", "can_joined_11.vrel",
                                         "can_fd_11.vrel", "can_with_zint_11.vrel"),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Nav, GoldenTest,
                         testing::Values("quon_mode_mix_11.quon", "quon_triggers_11.quon", "quon_frame_66_11.quon",
                                         "quon_filters_normal_11.quon", "dask_mode_mix_11.dask",
                                         "nav_recording_11.vrel"),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Range, GoldenTest,
                         testing::Values("yeld_impact_table_11.yeld", "yeld_polygon_pieces_11.yeld",
                                         "yeld_chase3_marks_11.yeld", "yeld_chase2_lanes_11.yeld", "range_file_11.yeld",
                                         "range_recording_11.vrel"),
                         caseName);

}  // namespace

}  // namespace Kvex
