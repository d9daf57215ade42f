#include <gtest/gtest.h>

#include "korvane/exchange/import_file.hpp"

// The reader's findings are checked through CImporBP's messages in import_test.cpp, each exactly.
namespace korvane::exchange {
namespace {

TEST(ImportFileTest, DescribesProblemsOneLineEachUpToALimit) {
  std::vector<ImportProblem> problems = {{3, "Masa Pajak", "\"13\" is not a month 1 to 12"},
                                         {4, "", "holds 4 values instead of 39"},
                                         {5, "", "x"}};
  EXPECT_EQ(describeProblems(problems, 2),
            "Line 3, \"Masa Pajak\": \"13\" is not a month 1 to 12\r\n"
            "Line 4: holds 4 values instead of 39\r\n... and 1 more");
}

}  // namespace
}  // namespace korvane::exchange
