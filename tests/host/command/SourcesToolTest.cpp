#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/host/support/Image.h"
#include "tests/host/support/Tool.h"

namespace qzmtraw::host {
namespace {

using nlohmann::json;
using Arguments = std::vector<std::string>;
using Sectors = std::vector<int>;

constexpr std::uint64_t kMiB = 1U << 20U;
constexpr std::size_t kSector = 512;
constexpr bool kHasTsk = QZMTRAW_TEST_HAS_TSK;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string TextOf(const std::string& path) {
  const Bytes bytes = ReadFile(path);
  return {bytes.begin(), bytes.end()};
}

/// A folder with an image of archives.
class SourcesToolTest : public ::testing::Test {
 protected:
  SourcesToolTest() { WriteFile(image, ImageOfArchives().Content()); }

  /// Runs a shell's command in the folder. What it says stands in "log".
  int Run(const std::string& command) const {
    return std::system(
        ("cd '" + workspace.Path().string() + "' && PATH=$PATH:/usr/sbin:/sbin && (" + command + ") >log 2>&1")
            .c_str());
  }
  void MustRun(const std::string& command) const {
    ASSERT_EQ(Run(command), 0) << command << '\n' << TextOf(workspace / "log");
  }

  ToolResult Scan(const std::string& name, const Arguments& options = {}, const ToolSetup& setup = {}) {
    Arguments arguments = {"scan", workspace / name, "--types", "7z,ace", "--format", "jsonl"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments, setup);
    lines = JsonLines(result.out);
    return result;
  }

  /// Where the finds of `lines` start.
  Sectors FindSectors() const {
    Sectors sectors;
    for (const json& line : lines) {
      if (line["type"] == "find") sectors.push_back(line["start_sector"]);
    }
    return sectors;
  }

  /// Their sizes, sorted. Sizes that aren't known count as 0.
  std::vector<std::uint64_t> FindSizes() const {
    std::vector<std::uint64_t> sizes;
    for (const json& line : lines) {
      if (line["type"] == "find") sizes.push_back(line["size"].is_null() ? 0 : line["size"].get<std::uint64_t>());
    }
    std::ranges::sort(sizes);
    return sizes;
  }

  /// A scan must find what the raw image has.
  void ExpectAllFinds(const std::string& name, const std::string& messages = {}) {
    EXPECT_EQ(Scan("disk.img").exitCode, 0);
    const std::vector<json> finds(lines.begin() + 1, lines.end() - 1);
    ASSERT_EQ(finds.size(), 4U);
    const ToolResult result = Scan(name);
    EXPECT_EQ(result.exitCode, 0) << name;
    EXPECT_EQ(result.err, messages);
    ASSERT_EQ(lines.size(), 6U) << name;
    EXPECT_EQ(std::vector<json>(lines.begin() + 1, lines.end() - 1), finds) << name;
    EXPECT_EQ(lines.front()["sector_size"], 512);
    EXPECT_EQ(lines.back()["bytes"], lines.front()["size"]);
  }

  std::string MessageStart(const std::string& name) const { return "qzmtraw: '" + (workspace / name) + "': "; }

  Workspace workspace;
  std::string image = workspace / "disk.img";
  const Sectors allSectors = {128, 300, 1000, 8000};
  /// Of the last run.
  std::vector<json> lines;
};

TEST_F(SourcesToolTest, SplitImagesAreReadAsOne) {
  MustRun("split -b 1000000 -d -a 3 --numeric-suffixes=1 disk.img a. && split -b 50000 -a 2 disk.img b.");
  ExpectAllFinds("a.001", MessageStart("a.001") + "is read with the parts behind it, 5 in all, up to '" +
                              (workspace / "a.005") + "'\n");
  ExpectAllFinds("b.aa", MessageStart("b.aa") + "is read with the parts behind it, 84 in all, up to '" +
                             (workspace / "b.df") + "'\n");
  // Ninety parts end what two digits count.
  MustRun("split -b 40000 -d disk.img c. && test -e c.9000");
  EXPECT_EQ(Scan("c.00").exitCode, 0);
  EXPECT_EQ(FindSectors(), allSectors);
  MustRun("rm a.003");
  const ToolResult result = Scan("a.001");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(Has(result.err, "a.003' of the split image '")) << result.err;
  EXPECT_TRUE(Has(Scan("a.002").err, "may be a part of a split image: name '" + (workspace / "a.001"))) << result.err;
  EXPECT_EQ(Scan("a.001", {"--raw"}).exitCode, 0);
  EXPECT_EQ(lines.back()["bytes"], 1000000);
}

/// What only The Sleuth Kit can read.
class TskToolTest : public SourcesToolTest {
 protected:
  void SetUp() override {
    if (!kHasTsk) GTEST_SKIP() << "built without The Sleuth Kit";
  }
};

TEST_F(TskToolTest, ImagesOfOtherFormatsAreReadAsTheDisksInThem) {
  MustRun("ewfacquirestream -t e -S 1048576 <disk.img && test -e e.E02");
  ExpectAllFinds("e.E01");
  MustRun("qemu-img convert -O vmdk disk.img d.vmdk && qemu-img convert -O vpc -o force_size disk.img d.vhd");
  ExpectAllFinds("d.vmdk");
  ExpectAllFinds("d.vhd");
  MustRun("cp disk.img a.raw && affconvert -q a.raw");
  ExpectAllFinds("a.aff");

  EXPECT_EQ(Scan("e.E01", {"--raw"}).exitCode, 0);
  EXPECT_EQ(lines.front()["size"], std::filesystem::file_size(workspace / "e.E01"));
  MustRun("ewfacquirestream -t f -P 4096 <disk.img");
  EXPECT_EQ(Scan("f.E01").exitCode, 0);
  EXPECT_EQ(lines.front()["sector_size"], 4096) << "the image says it";
  EXPECT_EQ(Scan("f.E01", {"--sector-size", "512"}).exitCode, 0);
  EXPECT_EQ(FindSectors(), allSectors);
}

TEST_F(TskToolTest, ImagesThatCannotBeReadAreToldOf) {
  MustRun("ewfacquirestream -t e -S 1048576 <disk.img && rm e.E02");
  const ToolResult missing = Scan("e.E01");
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err,
            "qzmtraw: the segment '" + (workspace / "e.E02") + "' of the image '" + (workspace / "e.E01") +
                "' is missing: put all segments into one folder and name the first one, or scan the file's "
                "own bytes with --raw\n");
  MustRun("ewfacquirestream -t f -S 1048576 <disk.img && truncate -s -1000 f.E03");
  const ToolResult cut = Scan("f.E01");
  EXPECT_EQ(cut.exitCode, 1);
  EXPECT_TRUE(Has(cut.err, "f.E03' of the image '" + (workspace / "f.E01") + "' is cut off: ")) << cut.err;
  WriteFile(workspace / "g.vmdk", BytesOf("KDMV and nothing else"));
  const ToolResult broken = Scan("g.vmdk");
  EXPECT_EQ(broken.exitCode, 1);
  EXPECT_TRUE(
      broken.err.starts_with("qzmtraw: cannot open '" + (workspace / "g.vmdk") + "' as an image in the format VMDK: "))
      << broken.err;
  EXPECT_TRUE(
      Has(broken.err, "see whether all its segments are there and whole, or scan the file's own bytes with --raw"))
      << broken.err;
  MustRun("qemu-img convert -O qcow2 disk.img d.qcow2");
  const ToolResult qcow = Scan("d.qcow2");
  EXPECT_EQ(qcow.exitCode, 0);
  EXPECT_TRUE(Has(qcow.err, "looks like an image in the format QCOW, and its own bytes are scanned")) << qcow.err;
}

TEST_F(SourcesToolTest, ARangeIsScannedAlone) {
  EXPECT_EQ(Scan("disk.img", {"--offset", "300s", "--length", "1s"}).exitCode, 0);
  EXPECT_EQ(FindSectors(), Sectors{300});
  EXPECT_EQ(lines.front()["range_offset"], 300 * 512);
  EXPECT_EQ(lines.front()["range_size"], 512);
  EXPECT_EQ(lines.back()["bytes"], 512);
  EXPECT_EQ(Scan("disk.img", {"--offset", "150KiB"}).exitCode, 0);
  EXPECT_EQ(FindSectors(), (Sectors{300, 1000, 8000}));
  EXPECT_EQ(Scan("disk.img", {"--length", "0x27000"}).exitCode, 0);
  EXPECT_EQ(FindSectors(), (Sectors{128, 300})) << "the range goes up to sector 312";
  EXPECT_EQ(Scan("disk.img", {"--offset", "1000s", "--length", "100KB"}).exitCode, 0);
  EXPECT_EQ(lines[1]["truncated"], true) << "the file goes on behind the range";
  EXPECT_EQ(lines.back()["bytes"], 196 * 512) << "whole sectors";
  const ToolResult table = RunTool({"scan", image, "--types", "7z", "--offset", "1MiB"});
  EXPECT_TRUE(Has(table.out, "\nScanned: bytes 1048576 to 4194304, 3.0 MiB\n")) << table.out;
  EXPECT_TRUE(Has(table.out, "; scanned 3.0 MiB (3145728 of 4194304 bytes)")) << table.out;

  const std::string out = workspace / "out";
  EXPECT_EQ(
      RunTool({"recover", image, "--types", "7z", "--out", out, "--offset", "1000s", "--length", "100s"}).exitCode, 0);
  Bytes expected = SevenZip(kMiB);
  expected.resize(std::size_t{100} * 512);
  EXPECT_EQ(ReadFile(out + "/archives/7z/000000001000.7z"), expected);
}

TEST_F(SourcesToolTest, RangesThatMakeNoSenseAreRefused) {
  const std::vector<std::pair<Arguments, std::string>> cases = {
      {{"--offset", "100"}, "begins at byte 100, inside a sector of 512 bytes: begin at 0"},
      {{"--offset", "4194304"}, "but the source has only 4194304 bytes"},
      {{"--offset", "some"}, "--offset: 'some' is no number of bytes"},
      {{"--length", "1.5K"}, "--length: '1.5K' is no number of bytes"},
      {{"--length", "0"}, "--length: 0 bytes"},
      {{"--partition", "1", "--offset", "512"}, "--partition"},
      {{"--partition", "x"}, "--partition"},
  };
  for (const auto& [options, message] : cases) {
    const ToolResult result = Scan("disk.img", options);
    EXPECT_EQ(result.exitCode, 2) << message;
    EXPECT_EQ(result.out, "") << message;
    EXPECT_TRUE(Has(result.err, message)) << result.err;
  }
}

TEST_F(TskToolTest, WithoutATableThereAreNoPartitions) {
  const ToolResult result = Scan("disk.img", {"--partition", "1"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err, "--partition: the source has no partition table")) << result.err;
}

TEST_F(SourcesToolTest, WithoutTheSleuthKitItIsToldWhatNeedsIt) {
  if (kHasTsk) GTEST_SKIP() << "built with The Sleuth Kit";
  MustRun("ewfacquirestream -t e <disk.img");
  const std::vector<ToolResult> results = {Scan("e.E01"), Scan("disk.img", {"--partition", "1"}),
                                           Scan("disk.img", {"--unallocated"})};
  for (const ToolResult& result : results) {
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(Has(result.err, " with The Sleuth Kit, which this program was built without: ")) << result.err;
  }
}

/// An image of 8 MiB with a partition table. Files are 7z archives that go by their sizes.
///   outside all partitions       sector 1000: 1000 bytes, 15500: 1100 bytes
///   1, ext4, from sector 2048    2000 bytes, and 2100 that were deleted
///   2, FAT, from sector 6144     3000 bytes, and 3100 that were deleted
///   5, empty, from sector 10240  sector 10300: 5000 bytes
///   6, empty, from sector 14336  sector 14400: 6000 bytes
class PartitionsToolTest : public TskToolTest {
 protected:
  PartitionsToolTest() {
    for (const std::uint32_t size : {2000U, 2100U, 3000U, 3100U})
      WriteFile(workspace / std::to_string(size), SevenZip(size));
    MustRun(
        "truncate -s 2M p1 && mkfs.ext4 -q -O ^has_journal p1 && debugfs -w -R 'write 2000 a' p1 && "
        "debugfs -w -R 'write 2100 b' p1 && debugfs -w -R 'rm b' p1 && truncate -s 1M p2 && mkfs.vfat p2 && "
        "mcopy -i p2 3000 3100 :: && mdel -i p2 ::3100");
    Image disk(8 * kMiB);
    disk.Put(2048 * kSector, ReadFile(workspace / "p1")).Put(6144 * kSector, ReadFile(workspace / "p2"));
    disk.Put(1000 * kSector, SevenZip(1000)).Put(15500 * kSector, SevenZip(1100));
    disk.Put(10300 * kSector, SevenZip(5000)).Put(14400 * kSector, SevenZip(6000));
    WriteFile(workspace / "p.img", disk.Content());
    MustRun(
        "printf 'label: dos\\nstart=2048, size=4096, type=83\\nstart=6144, size=2048, type=6\\n"
        "start=8192, size=7168, type=5\\nstart=10240, size=1024, type=83\\nstart=14336, size=512, type=83\\n' | "
        "sfdisk --no-tell-kernel p.img");
  }
};

TEST_F(PartitionsToolTest, APartitionIsScannedAlone) {
  EXPECT_EQ(Scan("p.img").exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{1000, 1100, 2000, 2100, 3000, 3100, 5000, 6000}));
  const std::vector<std::pair<std::string, std::vector<std::uint64_t>>> finds = {
      {"1", {2000, 2100}}, {"2", {3000, 3100}}, {"5", {5000}}, {"6", {6000}}};
  for (const auto& [number, sizes] : finds) {
    EXPECT_EQ(Scan("p.img", {"--partition", number}).exitCode, 0);
    EXPECT_EQ(FindSizes(), sizes) << number;
  }
  EXPECT_EQ(lines[1]["start_sector"], 14400) << "counted from the image's start";
  EXPECT_EQ(lines.front()["range_offset"], 14336 * 512);
  EXPECT_EQ(lines.front()["range_size"], 512 * 512);
  const ToolResult result = Scan("p.img", {"--partition", "3"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(Has(result.err,
                  "--partition: there is no partition 3, but these:\n    1  offset        1048576 (sector 2048)"
                  ", 2.0 MiB, Linux (0x83)\n    2  offset        3145728 (sector 6144), 1.0 MiB, "))
      << result.err;
  EXPECT_TRUE(Has(result.err, "\n    6  offset        7340032 (sector 14336), 256.0 KiB, Linux (0x83)\n"))
      << result.err;
}

TEST_F(PartitionsToolTest, PartitionsOfAGptHaveTheirNumbers) {
  MustRun("printf 'label: gpt\\n2 : start=2048, size=4096\\n7 : start=6144, size=2048\\n' | sfdisk --wipe never p.img");
  EXPECT_EQ(Scan("p.img", {"--partition", "7"}).exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{3000, 3100}));
  EXPECT_EQ(Scan("p.img", {"--partition", "1"}).exitCode, 2);
}

TEST_F(PartitionsToolTest, OnlyUnallocatedSpaceIsScannedWhenAsked) {
  const ToolResult result = Scan("p.img", {"--unallocated"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{1000, 1100, 2100, 3100, 5000, 6000}));
  EXPECT_GT(lines.front()["left_out_sectors"], 4);
  EXPECT_EQ(lines.back()["bytes"], 8 * kMiB);
  EXPECT_TRUE(Has(result.err, " sectors of partition 1 are in use (ext4) and left out\n")) << result.err;
  EXPECT_TRUE(Has(result.err, " sectors of partition 2 are in use (fat12) and left out\n")) << result.err;
  EXPECT_TRUE(
      Has(result.err, "--unallocated: partition 5 has no file system that can be read, so all of it is scanned\n"))
      << result.err;

  EXPECT_EQ(Scan("p.img", {"--unallocated", "--partition", "2"}).exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{3100}));
  EXPECT_EQ(Scan("p1", {"--unallocated"}).exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{2100})) << "a file system without partitions";
  const ToolResult none = Scan("disk.img", {"--unallocated"});
  EXPECT_EQ(none.exitCode, 0);
  EXPECT_EQ(FindSectors(), allSectors);
  EXPECT_TRUE(Has(none.err, "--unallocated: no file system can be read, so everything is scanned\n")) << none.err;

  MustRun("ewfacquirestream -t p <p.img");
  EXPECT_EQ(Scan("p.E01", {"--unallocated", "--partition", "1"}).exitCode, 0);
  EXPECT_EQ(FindSizes(), (std::vector<std::uint64_t>{2100})) << "in an E01";
}

class MapToolTest : public SourcesToolTest {
 protected:
  void WriteMap(const std::string& text) { WriteFile(map, BytesOf(text)); }
  std::string map = workspace / "disk.map";
};

TEST_F(MapToolTest, WhatAMapDoesNotCallRescuedIsSkipped) {
  // Sectors 256 to 511 are bad, and from 4096 on nothing was tried.
  WriteMap(
      "# Mapfile. Created by GNU ddrescue version 1.27\n0x00200000 ? 1\n0x0 0x20000 +\n0x20000 0x20000 -\n"
      "0x40000 0x1C0000 +\n0x200000 0x10000 ?\n");
  // What is skipped isn't read: it would end the scan.
  ToolSetup setup;
  setup.faults = {{"FILE", image}, {"UNREADABLE", "131072-262144"}, {"ERROR", std::to_string(ENODEV)}};
  const ToolResult result = Scan("disk.img", {"--map", map}, setup);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(FindSectors(), (Sectors{128, 1000}));
  EXPECT_EQ(lines.back()["unreadable_sectors"], 0);
  EXPECT_EQ(lines.back()["skipped_sectors"], 256 + 4096);
  EXPECT_EQ(lines.back()["skipped_ranges"],
            (json{{{"start_sector", 256}, {"sectors", 256}}, {{"start_sector", 4096}, {"sectors", 4096}}}));
  EXPECT_EQ(result.err,
            MessageStart("disk.img") +
                "4352 sectors could not be rescued, the map says, and were taken as zeros: 256-511, 4096-8191\n");

  const ToolResult table = RunTool({"scan", image, "--types", "7z", "--map", map});
  EXPECT_EQ(table.exitCode, 3);
  EXPECT_TRUE(Has(table.out, "  Skipped: not rescued\n         256            131072  256 sectors\n        4096 "))
      << table.out;
  EXPECT_TRUE(Has(table.out, "; 4352 sectors were skipped.\n")) << table.out;
  EXPECT_EQ(Scan("disk.img", {"--map", map, "--length", "128KiB"}).exitCode, 0) << "all of the range is there";
  EXPECT_EQ(lines.back()["skipped_sectors"], 0);
}

TEST_F(MapToolTest, AMapThatIsNoneIsToldOfWithItsLine) {
  WriteMap("# x\n0x0 +\n0x0 0x200 +\n0x400 0x200 -\n");
  const ToolResult result = Scan("disk.img", {"--map", map});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "qzmtraw: '" + map +
                            "', line 4: it doesn't begin where the line before it ends: --map takes the map that "
                            "ddrescue wrote with the image\n");
  EXPECT_EQ(Scan("disk.img", {"--map", image}).exitCode, 1);
  EXPECT_EQ(Scan("disk.img", {"--map", workspace / "none"}).exitCode, 1);
}

TEST_F(MapToolTest, AMapOfTheScanIsWritten) {
  ToolSetup setup;
  setup.faults = {{"FILE", image}, {"UNREADABLE", "102500-104448"}};
  EXPECT_EQ(Scan("disk.img", {"--write-map", map, "--offset", "64KiB"}, setup).exitCode, 3);
  EXPECT_TRUE(Has(TextOf(map), "\n0x00400000     +               1\n")) << TextOf(map);
  EXPECT_TRUE(
      TextOf(map).ends_with("\n0x00000000  0x00010000  ?\n0x00010000  0x00009000  +\n0x00019000  0x00000800  -\n"
                            "0x00019800  0x003E6800  +\n"))
      << TextOf(map);
  MustRun("ddrescuelog -t disk.map");
  const std::string log = TextOf(workspace / "log");
  EXPECT_TRUE(Has(log, "non-tried:    65536 B,  in      1 area(s)")) << log;
  EXPECT_TRUE(Has(log, "bad-sector:     2048 B,  in      1 area(s)")) << log;
  EXPECT_EQ(Scan("disk.img", {"--map", map}).exitCode, 3) << "it can be read again";
  EXPECT_EQ(lines.back()["skipped_sectors"], 132);

  const std::string before = TextOf(map);
  const ToolResult again = Scan("disk.img", {"--write-map", map});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_TRUE(Has(again.err, "cannot create the map '" + map + "': File exists: name a new file")) << again.err;
  EXPECT_EQ(TextOf(map), before);
}

TEST_F(MapToolTest, AnInterruptedScanLeavesAMap) {
  std::filesystem::resize_file(image, std::uint64_t{1} << 40U);
  ToolSetup setup;
  setup.faults = {{"FILE", image}, {"SIGNAL", std::to_string(SIGINT)}, {"SIGNAL_READ", std::to_string(64 * kMiB)}};
  EXPECT_EQ(Scan("disk.img", {"--write-map", map}, setup).exitCode, 130);
  const std::string text = TextOf(map);
  EXPECT_TRUE(Has(text, "     ?               1\n")) << text;
  EXPECT_TRUE(Has(text, "\n0x00000000  0x")) << text;
  EXPECT_TRUE(Has(text, "  +\n0x")) << text;
  EXPECT_TRUE(text.ends_with("  ?\n")) << text;
  MustRun("ddrescuelog -t disk.map");
}

/// Every call of the system in which a file of the folder "evidence" occurs.
class EvidenceToolTest : public SourcesToolTest {
 protected:
  EvidenceToolTest() { std::filesystem::create_directory(workspace / "evidence"); }

  /// The calls of a command that could change evidence.
  std::vector<std::string> WritingCalls(const std::string& command) {
    MustRun("strace -f -y -s 4096 -o calls -E ASAN_OPTIONS=detect_leaks=0 -e trace=file,desc " + command);
    const std::array<std::string, 20> harmless = {"access",    "close",      "execve",  "faccessat",  "faccessat2",
                                                  "fadvise64", "fcntl",      "fstat",   "ioctl",      "lseek",
                                                  "lstat",     "newfstatat", "pread64", "read",       "readlink",
                                                  "readv",     "stat",       "statx",   "getdents64", "poll"};
    std::vector<std::string> calls;
    std::ifstream text(workspace / "calls");
    readCount = 0;
    for (std::string line; std::getline(text, line);) {
      if (!Has(line, "evidence/")) continue;
      const std::size_t begin = line.find_first_not_of("0123456789 ");
      const std::string name = line.substr(begin, line.find('(') - begin);
      readCount += name == "read" || name == "pread64" ? 1 : 0;
      // What is written may speak of evidence; where it goes counts.
      if (name.starts_with("write") && !Has(line.substr(0, line.find(',')), "evidence/")) continue;
      // Asks that nothing but reading be allowed.
      if (name == "landlock_add_rule" && Has(line, "allowed_access=LANDLOCK_ACCESS_FS_READ_FILE,")) continue;
      const bool isOpen = name == "open" || name == "openat";
      const bool isReadOnly = Has(line, "O_RDONLY") && !Has(line, "O_TRUNC") && !Has(line, "O_CREAT");
      if (isOpen ? isReadOnly : std::ranges::find(harmless, name) != harmless.end()) continue;
      if (line[begin] != '<') calls.push_back(line);
    }
    return calls;
  }

  int readCount = 0;
};

TEST_F(EvidenceToolTest, IsOpenedForReadingAndNothingElse) {
  if (Run("strace -o calls true") != 0) GTEST_SKIP() << "strace may not trace here: " << TextOf(workspace / "log");
  MustRun(
      "cp disk.img evidence/ && split -b 1000000 -d -a 3 disk.img evidence/s. && cd evidence && "
      "ewfacquirestream -t e -S 1048576 <disk.img");
  std::vector<std::string> names = {"disk.img", "s.000"};
  if (kHasTsk) names.emplace_back("e.E01");
  for (const std::string& name : names) {
    const std::vector<std::string> calls =
        WritingCalls(QZMTRAW_TOOL " recover --types 7z --out out-" + name + " evidence/" + name);
    EXPECT_TRUE(calls.empty()) << name << ": " << calls.front();
    EXPECT_GT(readCount, 3) << name;
    EXPECT_EQ(NamesIn(workspace / ("out-" + name + "/archives/7z")).size(), 3U);
  }
  EXPECT_FALSE(WritingCalls("sh -c 'echo x >>evidence/disk.img'").empty()) << "the check sees writing";
  EXPECT_FALSE(WritingCalls("touch evidence/disk.img").empty());
  EXPECT_FALSE(WritingCalls("mv evidence/disk.img evidence/other").empty());
}

}  // namespace
}  // namespace qzmtraw::host
