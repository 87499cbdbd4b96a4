#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/base/Error.h"
#include "host/recovery/OutputDirectory.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

using Names = std::vector<std::string>;

TEST(OutputDirectoryTest, MakesTheDirectoryAndFolders) {
  const Workspace workspace;
  OutputDirectory directory(workspace / "out");
  const auto first = directory.Create("7z", "a.7z", 3);
  EXPECT_EQ(first->Path(), workspace / "out/7z/a.7z");
  first->Write(BytesOf("one"));
  first->Finish();
  const auto second = directory.Create("7z", "b.7z", 3);
  second->Write(BytesOf("t"));
  second->Write(BytesOf("wo"));
  second->Finish();
  EXPECT_EQ(ReadFile(workspace / "out/7z/a.7z"), BytesOf("one"));
  EXPECT_EQ(ReadFile(workspace / "out/7z/b.7z"), BytesOf("two"));
}

TEST(OutputDirectoryTest, TakesAnEmptyDirectory) {
  const Workspace workspace;
  EXPECT_NO_THROW(OutputDirectory(workspace.Path()));
}

TEST(OutputDirectoryTest, RefusesWhatHoldsSomething) {
  const Workspace workspace;
  WriteFile(workspace / ".hidden", {});
  EXPECT_THROW(OutputDirectory(workspace.Path()), Failure);
  EXPECT_THROW(OutputDirectory(workspace / ".hidden"), Failure) << "a file";
  EXPECT_THROW(OutputDirectory(workspace / "no/parent"), Failure);
  EXPECT_EQ(NamesIn(workspace.Path()), Names{".hidden"});
}

TEST(OutputDirectoryTest, NothingIsReplaced) {
  const Workspace workspace;
  OutputDirectory directory(workspace.Path());
  std::filesystem::create_directory(workspace / "7z");
  WriteFile(workspace / "7z/a", BytesOf("old"));
  std::filesystem::create_symlink("target", workspace / "7z/link");
  EXPECT_THROW(directory.Create("7z", "a", 1), Failure);
  EXPECT_THROW(directory.Create("7z", "link", 1), Failure);
  EXPECT_EQ(ReadFile(workspace / "7z/a"), BytesOf("old"));
  EXPECT_EQ(NamesIn(workspace / "7z"), (Names{"a", "link"}));
}

TEST(OutputDirectoryTest, AnUnfinishedFileGoes) {
  const Workspace workspace;
  OutputDirectory directory(workspace.Path());
  {
    const auto file = directory.Create("7z", "a", 10);
    file->Write(BytesOf("half"));
    EXPECT_EQ(NamesIn(workspace / "7z"), Names{"a.part"});
  }
  EXPECT_EQ(NamesIn(workspace / "7z"), Names{});
}

TEST(OutputDirectoryTest, AFileThatAppearedMeanwhileIsNotReplaced) {
  const Workspace workspace;
  OutputDirectory directory(workspace.Path());
  const auto file = directory.Create("7z", "a", 1);
  WriteFile(workspace / "7z/a", BytesOf("other"));
  EXPECT_THROW(file->Finish(), Failure);
  EXPECT_EQ(ReadFile(workspace / "7z/a"), BytesOf("other"));
}

TEST(OutputFileTest, ZerosAreKeptButTakeNoRoom) {
  const Workspace workspace;
  OutputDirectory directory(workspace.Path());
  Bytes content(4U << 20U);
  content[5000] = 1;
  content[(3U << 20U) + 7] = 2;
  const auto file = directory.Create("x", "a", content.size());
  file->Write(content);
  file->Finish();
  EXPECT_EQ(ReadFile(workspace / "x/a"), content);
  struct stat status {};
  ASSERT_EQ(::stat((workspace / "x/a").c_str(), &status), 0);
  EXPECT_LT(status.st_blocks * 512, 1 << 20);
}

}  // namespace
}  // namespace qzmtraw::host
