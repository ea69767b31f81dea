#include <cstdlib>
#include <gtest/gtest.h>

#include "nav/NavTables.h"
#include "range/RangeTable.h"

namespace Kvex::Sto {
namespace {

TEST(SignalPagesTest, PagesAreThoseOfTheLists) {
  EXPECT_EQ(std::system("'" KVEX_BIN "/signal_pages' --check '" KVEX_TEST_DATA "/../../docs/signals'"), 0);
}

TEST(SignalPagesTest, EachSignalHasATableAndASentence) {
  for (const SignalTable* table : {&StaticAccessQuon::table(), &StaticAccessDask::table(), &rangeTable()}) {
    table->forEach([](const SignalRow& row) {
      EXPECT_NE(row.table, "") << row.name;
      EXPECT_TRUE(row.description.ends_with('.')) << row.name;
      if (row.enumeration != nullptr) {
        EXPECT_NE(row.valueText, nullptr) << row.name;
      }
    });
  }
}

}  // namespace
}  // namespace Kvex::Sto
