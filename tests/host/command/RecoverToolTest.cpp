#include <gtest/gtest.h>

#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

/// The bytes of `content` from `offset` on.
Bytes Part(const Bytes& content, std::size_t offset, std::size_t length) {
  const auto first = content.begin() + static_cast<std::ptrdiff_t>(offset);
  return {first, first + static_cast<std::ptrdiff_t>(length)};
}

class RecoverToolTest : public ::testing::Test {
 protected:
  void MakeImage(const Image& disk) {
    content = disk.Content();
    WriteFile(image, content);
  }

  std::vector<json> RecoverLines(const ToolSetup& setup = {}, int exitCode = 0) {
    const ToolResult result = RunTool({"recover", image, "--out", out, "--format", "jsonl"}, setup);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    messages = result.err;
    return JsonLines(result.out);
  }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  std::string out = workspace / "out";
  Bytes content;
  std::string messages;
};

TEST_F(RecoverToolTest, CopiesAreByteIdentical) {
  const Bytes small = SevenZip(1132);
  const Bytes large = SevenZip(3U << 20U);
  MakeImage(Image(4U << 20U).Put(std::size_t{128} * 512, small).Put(std::size_t{200} * 512, large));
  const std::vector<json> lines = RecoverLines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(NamesIn(out), (Names{"SHA256SUMS", "archives", "manifest.jsonl"}));
  EXPECT_EQ(NamesIn(out + "/archives/7z"), (Names{"000000000128.7z", "000000000200.7z"}));
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000128.7z"), small);
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000200.7z"), large);
  EXPECT_EQ(lines[1]["path"], out + "/archives/7z/000000000128.7z");
  EXPECT_EQ(lines[1]["written"], 1132);
  EXPECT_EQ(lines[1]["size_estimated"], false);
  EXPECT_EQ(lines[3]["files_written"], 2);
}

TEST_F(RecoverToolTest, AnUnknownSizeEndsAtTheNextFindOrTheDevice) {
  MakeImage(Image(std::size_t{40} * 512 + 100)
                .Put(std::size_t{10} * 512, Ace())
                .Put(std::size_t{25} * 512, SevenZip(300))
                .Put(std::size_t{30} * 512, Ace()));
  const std::vector<json> lines = RecoverLines();
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1]["size"], 15 * 512);
  EXPECT_EQ(lines[1]["size_estimated"], true);
  EXPECT_EQ(lines[1]["written"], 15 * 512);
  EXPECT_EQ(ReadFile(out + "/archives/ace/000000000010.ace"), Part(content, 5120, std::size_t{15} * 512));
  EXPECT_EQ(ReadFile(out + "/archives/ace/000000000030.ace"), Part(content, std::size_t{30} * 512, 10 * 512 + 100));
  EXPECT_EQ(lines[3]["truncated"], false);
}

TEST_F(RecoverToolTest, ACopyEndsWithTheDevice) {
  MakeImage(Image(std::size_t{20} * 512 + 7).Put(std::size_t{10} * 512, SevenZip(100000)));
  const std::vector<json> lines = RecoverLines();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1]["truncated"], true);
  EXPECT_EQ(lines[1]["size"], 100000);
  EXPECT_EQ(lines[1]["written"], 10 * 512 + 7);
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000010.7z"), Part(content, 5120, 10 * 512 + 7));
}

TEST_F(RecoverToolTest, SectorsOfOddSizesAreCopiedRight) {
  const Bytes archive = SevenZip(5000);
  MakeImage(Image(100000).Put(std::size_t{33} * 700, archive));
  const ToolResult result = RunTool({"recover", image, "--out", out, "--sector-size", "700"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_NE(result.out.find(out + "/archives/7z/000000000033.7z"), std::string::npos) << result.out;
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000033.7z"), archive);
}

TEST_F(RecoverToolTest, AnEmptyDirectoryMayExist) {
  MakeImage(Image(20000).Put(512, SevenZip(300)));
  std::filesystem::create_directory(out);
  EXPECT_EQ(RecoverLines().size(), 3U);
  EXPECT_EQ(NamesIn(out + "/archives/7z"), Names{"000000000001.7z"});
}

TEST_F(RecoverToolTest, AFilledDirectoryIsRefusedAndLeftAlone) {
  MakeImage(Image(20000).Put(512, SevenZip(300)));
  std::filesystem::create_directory(out);
  WriteFile(out + "/mine", BytesOf("mine"));
  EXPECT_TRUE(RecoverLines({}, 1).empty());
  EXPECT_NE(messages.find("is not empty"), std::string::npos) << messages;
  EXPECT_NE(messages.find(out), std::string::npos) << messages;
  EXPECT_EQ(NamesIn(out), Names{"mine"});
  EXPECT_EQ(ReadFile(out + "/mine"), BytesOf("mine"));
}

TEST_F(RecoverToolTest, AFullDiskLeavesNoPartialFile) {
  MakeImage(Image(2U << 20U)
                .Put(512, SevenZip(300))
                .Put(std::size_t{100} * 512, SevenZip(500000))
                .Put(std::size_t{2000} * 512, SevenZip(400)));
  const std::vector<json> lines = RecoverLines({.fileSizeLimit = 200000}, 1);
  EXPECT_NE(messages.find(out + "/archives/7z/000000000100.7z"), std::string::npos) << messages;
  EXPECT_NE(messages.find("after 200000 of 500000 bytes"), std::string::npos) << messages;
  EXPECT_EQ(NamesIn(out + "/archives/7z"), Names{"000000000001.7z"});
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000000001.7z"), SevenZip(300));
  ASSERT_EQ(lines.size(), 5U) << "all finds are listed, copied or not";
  EXPECT_EQ(lines[1]["written"], 300);
  EXPECT_TRUE(lines[2]["path"].is_null());
  EXPECT_TRUE(lines[3]["path"].is_null());
  EXPECT_EQ(lines[4]["type"], "summary");
  EXPECT_EQ(lines[4]["files_written"], 1);
  EXPECT_TRUE(lines[4]["error"].is_string());
}

TEST_F(RecoverToolTest, AMissingImageLeavesNoDirectory) {
  EXPECT_TRUE(RecoverLines({}, 1).empty());
  EXPECT_FALSE(std::filesystem::exists(out));
}

}  // namespace
}  // namespace qzmtraw::host
