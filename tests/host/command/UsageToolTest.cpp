#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using Arguments = std::vector<std::string>;

TEST(UsageToolTest, TellsItsVersion) {
  const ToolResult result = RunTool({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "qzmtraw " QZMTRAW_VERSION "\n");
}

TEST(UsageToolTest, HelpFitsAScreen) {
  for (const Arguments& arguments : {Arguments{"--help"}, Arguments{"scan", "--help"}, Arguments{"recover", "--help"},
                                     Arguments{"merge", "--help"}, Arguments{"types", "--help"}}) {
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_LE(std::ranges::count(result.out, '\n'), 40) << result.out;
    EXPECT_NE(result.out.find("130 interrupted"), std::string::npos) << result.out;
    std::istringstream lines(result.out);
    std::string line;
    while (std::getline(lines, line)) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(UsageToolTest, BadCommandLinesAreToldApart) {
  const Workspace workspace;
  const std::string image = workspace / "image";
  WriteFile(image, Image(512).Content());
  struct Case {
    Arguments arguments;
    std::string told;
  };
  const std::vector<Case> cases = {
      {{}, "subcommand"},
      {{"frobnicate"}, "subcommand"},
      {{"scan"}, "IMAGE"},
      {{"scan", image, "other"}, "other"},
      {{"scan", image, "--format", "xml"}, "xml"},
      {{"scan", image, "--sector-size", "0"}, "--sector-size"},
      {{"scan", image, "--sector-size", "1048577"}, "--sector-size"},
      {{"scan", image, "--sector-size", "-512"}, "--sector-size"},
      {{"scan", image, "--sector-size", "many"}, "--sector-size"},
      {{"scan", image, "--types", "doc,nonsense"}, "'nonsense'"},
      {{"scan", image, "--types", "320"}, "'320'"},
      {{"scan", image, "--types", ""}, "--types"},
      {{"scan", image, "--exclude", "nonsense"}, "--exclude"},
      {{"scan", image, "--category", "d"}, "databases, development files, documents"},
      {{"scan", image, "--max-size", "png"}, "--max-size"},
      {{"scan", image, "--profile", "nonsense"}, "photos"},
      {{"types", "--types", "nonsense"}, "'nonsense'"},
      {{"scan", image, "--jobs", "0"}, "--jobs"},
      {{"scan", image, "--jobs", "257"}, "--jobs"},
      {{"scan", image, "--memory", "31MiB"}, "--memory"},
      {{"scan", image, "--memory", "much"}, "--memory"},
      {{"scan", image, "--memory", "32M", "--sector-size", "1048576"}, "153MiB"},
      {{"recover", image}, "--out"},
      // There is no source in which to look.
      {{"merge", image, "--verify"}, "--verify"},
  };
  for (const Case& each : cases) {
    const ToolResult result = RunTool(each.arguments);
    EXPECT_EQ(result.exitCode, 2) << each.told;
    EXPECT_EQ(result.out, "") << each.told;
    EXPECT_NE(result.err.find(each.told), std::string::npos) << result.err;
  }
}

TEST(UsageToolTest, TheSectorSizesAtTheEdgesWork) {
  const Workspace workspace;
  const std::string image = workspace / "image";
  WriteFile(image, Image(100000).Content());
  EXPECT_EQ(RunTool({"scan", image, "--sector-size", "1"}).exitCode, 0);
  EXPECT_EQ(RunTool({"scan", image, "--sector-size", "1048576"}).exitCode, 0);
}

}  // namespace
}  // namespace qzmtraw::host
