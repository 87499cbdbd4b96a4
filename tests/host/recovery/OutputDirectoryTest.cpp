#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/base/Error.h"
#include "host/recovery/OutputDirectory.h"
#include "host/recovery/OutputFile.h"
#include "tests/host/support/Workspace.h"

namespace qzmtraw::host {
namespace {

using Names = std::vector<std::string>;

const ManifestHead kHead{.sourceSize = 4096, .sectorSize = 512, .rows = "0-319"};

/// A manifest entry of a file with this content.
ManifestEntry EntryFor(const std::string& path, const Bytes& content, std::uint64_t sector = 1) {
  ContentHash hash;
  hash.Add(content);
  return {.path = path,
          .sum = hash.Finish(),
          .find = {sector, content.size(), 144},
          .plan = {.offset = sector * 512, .length = content.size()}};
}

TEST(OutputDirectoryTest, MakesTheDirectoryAndFolders) {
  const Workspace workspace;
  OutputDirectory directory(workspace / "out/", kHead);
  for (const char* text : {"one", "two"}) {
    OutputFile file(directory.Folder("archives", "7z"), "a.part", "a", 3);
    file.Write(BytesOf(text));
    file.Complete();
    EXPECT_TRUE(file.Finish(text));
  }
  EXPECT_EQ(ReadFile(workspace / "out/archives/7z/one"), BytesOf("one"));
  EXPECT_EQ(ReadFile(workspace / "out/archives/7z/two"), BytesOf("two"));
  EXPECT_EQ(directory.PathOf("x"), workspace / "out/x");
  EXPECT_TRUE(directory.Has("archives/7z/one", 3));
  EXPECT_FALSE(directory.Has("archives/7z/one", 4));
  EXPECT_FALSE(directory.Has("archives/7z", 0));
  EXPECT_TRUE(directory.HasContent("archives/7z/one", 3, EntryFor("", BytesOf("one")).sum));
  EXPECT_FALSE(directory.HasContent("archives/7z/one", 3, EntryFor("", BytesOf("two")).sum));
  EXPECT_GT(directory.FreeSpace().value_or(0), 0U);
}

TEST(OutputDirectoryTest, TakesAnEmptyDirectory) {
  const Workspace workspace;
  EXPECT_NO_THROW(OutputDirectory(workspace.Path(), kHead));
}

TEST(OutputDirectoryTest, RefusesWhatHoldsSomething) {
  const Workspace workspace;
  WriteFile(workspace / ".hidden", {});
  EXPECT_THROW(OutputDirectory(workspace.Path(), kHead), Failure);
  EXPECT_THROW(OutputDirectory(workspace / ".hidden", kHead), Failure) << "a file";
  EXPECT_THROW(OutputDirectory(workspace / "no/parent", kHead), Failure);
  EXPECT_EQ(NamesIn(workspace.Path()), Names{".hidden"});
}

TEST(OutputDirectoryTest, RefusesAManifestOfSomethingElse) {
  const Workspace workspace;
  { const OutputDirectory directory(workspace / "out", kHead); }
  for (const ManifestHead& other :
       {ManifestHead{8192, 512, "0-319"}, ManifestHead{4096, 4096, "0-319"}, ManifestHead{4096, 512, "1"},
        ManifestHead{4096, 512, "0-319", true}, ManifestHead{4096, 512, "0-319", false, true}}) {
    EXPECT_THROW(OutputDirectory(workspace / "out", other), Failure);
  }
  EXPECT_NO_THROW(OutputDirectory(workspace / "out", kHead));
  for (const char* line : {"{}\n", "{\"type\":1}\n", "{\"type\":null}\n", "[]\n", "\n"}) {
    WriteFile(workspace / "manifest.jsonl", BytesOf(line));
    EXPECT_THROW(OutputDirectory(workspace.Path(), kHead), Failure) << line;
    EXPECT_EQ(ReadFile(workspace / "manifest.jsonl"), BytesOf(line));
  }
}

TEST(OutputDirectoryTest, NumbersOfAManifestAreWhole) {
  const Workspace workspace;
  const std::string out = workspace / "out";
  {
    OutputDirectory directory(out, kHead);
    directory.Copies().Add(EntryFor("a/b/c", BytesOf("one")));
  }
  const Bytes content = ReadFile(out + "/manifest.jsonl");
  const std::string whole(content.begin(), content.end());
  for (const std::string name : {"length", "start_sector", "offset", "row", "size", "unreadable_bytes"}) {
    for (const char* number : {"-1", "1.5", "18446744073709551616", "\"3\"", "null"}) {
      const std::size_t at = whole.find("\"" + name + "\":") + name.size() + 3;
      std::string other = whole;
      other.replace(at, other.find_first_of(",}", at) - at, number);
      WriteFile(out + "/manifest.jsonl", BytesOf(other));
      OutputDirectory directory(out, kHead);
      EXPECT_THROW(Manifest::Cursor(directory.Copies()).Next(), Failure) << name << number;
    }
  }
}

TEST(OutputDirectoryTest, AManifestWithoutAHeadIsBegunAnewOnlyWhenItIsAlone) {
  const Workspace workspace;
  WriteFile(workspace / "manifest.jsonl", BytesOf("{\"type"));
  { EXPECT_NO_THROW(OutputDirectory(workspace.Path(), kHead)); }
  EXPECT_GT(ReadFile(workspace / "manifest.jsonl").size(), 20U);
  std::filesystem::resize_file(workspace / "manifest.jsonl", 3);
  WriteFile(workspace / "mine", {});
  EXPECT_THROW(OutputDirectory(workspace.Path(), kHead), Failure);
}

TEST(OutputDirectoryTest, TwoRecoveriesDoNotMix) {
  const Workspace workspace;
  const OutputDirectory directory(workspace / "out", kHead);
  EXPECT_THROW(OutputDirectory(workspace / "out", kHead), Failure);
}

TEST(OutputDirectoryTest, WhatWasBrokenOffIsTakenUp) {
  const Workspace workspace;
  const std::string out = workspace / "out";
  const ManifestEntry first = EntryFor("archives/7z/000000000001.7z", BytesOf("one"));
  ManifestEntry second = EntryFor("archives/7z/000000000001.7z", BytesOf("one"), 2);
  second.isDuplicate = true;
  second.unreadableBytes = 7;
  second.plan.isEstimated = true;
  {
    OutputDirectory directory(out, kHead);
    directory.Folder("archives", "7z");
    directory.Copies().Add(first);
    EXPECT_EQ(directory.Copies().At(directory.Copies().Add(second)).find, second.find);
  }
  const Bytes whole = ReadFile(out + "/manifest.jsonl");
  Bytes torn = whole;
  const Bytes more = BytesOf("{\"type\":\"copy\",");
  torn.insert(torn.end(), more.begin(), more.end());
  std::filesystem::remove(out + "/manifest.jsonl");
  WriteFile(out + "/manifest.jsonl", torn);
  WriteFile(out + "/archives/7z/000000000005.7z.part", {});
  WriteFile(out + "/archives/7z/mine.part", {});
  {
    OutputDirectory directory(out, kHead);
    EXPECT_EQ(ReadFile(out + "/manifest.jsonl"), whole);
    EXPECT_EQ(NamesIn(out + "/archives/7z"), Names{"mine.part"});
    ASSERT_EQ(directory.Copies().Count(), 2U);
    Manifest::Cursor cursor(directory.Copies());
    EXPECT_EQ(cursor.Next()->path, first.path);
    const auto entry = cursor.Next();
    EXPECT_EQ(directory.Copies().At(cursor.Place()).sum, second.sum);
    EXPECT_EQ(entry->find, second.find);
    EXPECT_EQ(entry->unreadableBytes, 7U);
    EXPECT_TRUE(entry->isDuplicate && entry->plan.isEstimated);
    EXPECT_FALSE(cursor.Next());
    directory.WriteSums();
    directory.WriteSums();
    EXPECT_EQ(ReadFile(out + "/SHA256SUMS"), BytesOf(HexText(first.sum) + "  " + first.path + "\n"));
  }
}

TEST(OutputDirectoryTest, AListMayBeLongerThanWhatIsReadAtOnce) {
  constexpr std::uint64_t kCount = 700;
  const Workspace workspace;
  OutputDirectory directory(workspace / "out", kHead);
  std::vector<std::uint64_t> places;
  for (std::uint64_t i = 0; i < kCount; ++i) {
    places.push_back(directory.Copies().Add(EntryFor("7z/" + std::to_string(i * i * i), BytesOf("one"), i)));
  }
  ASSERT_GT(std::filesystem::file_size(workspace / "out/manifest.jsonl"), 2U << 16U);
  Manifest::Cursor cursor(directory.Copies());
  for (std::uint64_t i = 0; i < kCount; ++i) {
    const auto entry = cursor.Next();
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->find.startSector, i);
    EXPECT_EQ(cursor.Place(), places[i]);
  }
  EXPECT_FALSE(cursor.Next());
}

TEST(OutputDirectoryTest, PathsInAManifestDoNotLeadAway) {
  const Workspace workspace;
  for (const char* path : {"../x", "/etc/passwd", "a b", ""}) {
    std::filesystem::remove_all(workspace / "out");
    OutputDirectory directory(workspace / "out", kHead);
    const std::uint64_t place = directory.Copies().Add(EntryFor(path, {}));
    EXPECT_THROW(static_cast<void>(directory.Copies().At(place)), Failure) << path;
  }
}

TEST(OutputFileTest, NothingIsReplaced) {
  const Workspace workspace;
  OutputDirectory directory(workspace / "out", kHead);
  const FileDescriptor& folder = directory.Folder("archives", "7z");
  WriteFile(workspace / "out/archives/7z/a", BytesOf("old"));
  std::filesystem::create_symlink("target", workspace / "out/archives/7z/link");
  {
    OutputFile file(folder, "b.part", "b", 1);
    file.Complete();
    EXPECT_FALSE(file.Finish("a"));
    EXPECT_FALSE(file.Finish("link"));
    EXPECT_THROW(OutputFile(folder, "b.part", "b", 1), Failure);
    EXPECT_THROW(OutputFile(folder, "link", "b", 1), Failure);
  }
  EXPECT_EQ(ReadFile(workspace / "out/archives/7z/a"), BytesOf("old"));
  EXPECT_EQ(NamesIn(workspace / "out/archives/7z"), (Names{"a", "link"}));
}

TEST(OutputFileTest, ZerosAreKeptButTakeNoRoom) {
  const Workspace workspace;
  OutputDirectory directory(workspace / "out", kHead);
  Bytes content(4U << 20U);
  content[5000] = 1;
  content[(3U << 20U) + 7] = 2;
  OutputFile file(directory.Folder("x", "y"), "a.part", "a", content.size());
  file.Write(content);
  file.Complete();
  EXPECT_TRUE(file.Finish("a"));
  EXPECT_EQ(ReadFile(workspace / "out/x/y/a"), content);
  struct stat status {};
  ASSERT_EQ(::stat((workspace / "out/x/y/a").c_str(), &status), 0);
  EXPECT_LT(status.st_blocks * 512, 1 << 20);
}

}  // namespace
}  // namespace qzmtraw::host
