// zvprint scan, run as a user runs it, on the built-in virtual printer.
#include "tools/zvprint_runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace {

using zvtest::Outcome;

Outcome scan(const std::string &arguments) {
  return zvtest::runZvprintMerged("scan --backend sim " + arguments);
}

TEST(ScanCommand, ListsTheVirtualPrinterOnEitherProfile) {
  for (const char *profile : {"issc", "ivt"}) {
    const Outcome outcome = scan(std::string("--json --time 2 --profile ") + profile);
    ASSERT_EQ(outcome.status, 0) << outcome.output;
    const auto list = nlohmann::json::parse(outcome.output);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]["name"], "ZV-P1");
    EXPECT_EQ(list[0]["mac"], "DC:0D:30:1A:2B:3C");
    EXPECT_EQ(list[0]["identifier"].get<std::string>().size(), 36u);
    EXPECT_NEAR(list[0]["distance"].get<double>(), 0.5623, 1e-3); // -60 dBm
  }
  const Outcome table = scan("");
  EXPECT_EQ(table.status, 0);
  EXPECT_NE(table.output.find("NAME"), std::string::npos);
  EXPECT_NE(table.output.find("ZV-P1                DC:0D:30:1A:2B:3C"), std::string::npos);
}

TEST(ScanCommand, RefusesBadOptions) {
  for (const char *arguments : {"--profile xyz", "--time -1", "--time abc"}) {
    const Outcome outcome = scan(arguments);
    EXPECT_NE(outcome.status, 0) << arguments;
    EXPECT_EQ(outcome.output.rfind("zvprint: ", 0), 0u) << outcome.output;
  }
}

} // namespace
