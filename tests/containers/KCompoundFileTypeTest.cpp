#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/support/CompoundScan.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

using Names = std::vector<std::string>;

const Names kSummaries = {"\x05SummaryInformation",
                          "\x05"
                          "DocumentSummaryInformation"};
const std::string kCompObj =
    "\x01"
    "CompObj";
const std::string kFlashMovie = Literal("\x70\xAA\x7C\x59\xAA\x72\xCF\x11\x83\x1E\x52\x41\x53\x48\x00\x00");

CompoundFile WithStreams(const Names& names) {
  CompoundFile file;
  for (const std::string& name : names) file.Add(name);
  return file;
}

/// The classes that report a file with these streams, in one string.
std::string ClassesOf(const CompoundFile& file) {
  std::string classes;
  for (const auto& [className, hits] : KindsOf(file)) {
    EXPECT_EQ(hits.size(), 1U);
    classes += (classes.empty() ? "" : " ") + className;
  }
  return classes;
}
std::string ClassesOf(const Names& names) { return ClassesOf(WithStreams(names)); }

Names operator+(Names left, const Names& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

struct Kind {
  std::string classes;
  Names streams;
};

const std::vector<Kind> kOfficeKinds = {
    {"KWordFileType", {"WordDocument"}},
    {"KEtFileType KExcelFileType", {"Workbook"}},
    {"KEtFileType KExcelFileType", {"Book"}},
    {"KDpsFileType KPowerPointFileType", {"PowerPoint Document"}},
    {"KDpsFileType KPowerPointFileType", {"PP40"}},
    {"KVisioFileType", {"VisioDocument", "VisioInformation"}},
    {"KPublisherFileType", {"Contents", kCompObj}},
    {"KProjectFileType", {"Props9", kCompObj}},
    {"KProjectFileType", {"Props", kCompObj}},
};

const std::vector<Kind> kOtherKinds = {
    {"K3DMaxFileType", {"Scene", "DllDirectory", "ClassDirectory3", "ClassData", "VideoPostQueue"}},
    {"CKDAdpFileType", {"DataAccessPages"}},
    {"CKDAdpFileType", {"AcessVBAData"}},
    {"CKWtfFileType", {"CONTENTS", "SPELLING", "Root Entry"}},
    {"KQpwFileType", {"NativeContent_MAIN"}},
    {"KP65FileType", {"PageMaker"}},
    {"KFlaFileType", {"Symbol 1"}},
    {"CKCQbbFileType", {"modulesinbackup", "mfbu_header"}},
    {"CKCQbmFileType", {"reload.sql", "header"}},
    {"CKIEMsgFileType", {"__properties_version1.0", "__nameid_version1.0"}},
    {"CKRptFileType", {"QESession", "ReportInfo", "Root Entry"}},
    {"CKQdfFileType", {".IDX", ".QDF", ".QEL"}},
    {"CKHwpFileType", {"FileHeader", "DocInfo", "BodyText"}},
    {"KShwFileType", {"PerfectOffice_MAIN", "SlideShow"}},
    {"KShwFileType", {"PerfectOffice_OBJECTS", "SlideShow"}},
    {"KDcdFileType", {"Layer", "PAPER SPACE", "VIEWDATA", "PREVIEW", "SYMBOL"}},
    {"CKGNewExbFileType", {"*PreviewStream", "*IDMgr", "*ImageMgrSgm"}},
};

// Which streams make which kind.

TEST(KCompoundFileType, StreamsMakeTheKind) {
  for (const Kind& kind : kOfficeKinds) EXPECT_EQ(ClassesOf(kSummaries + kind.streams), kind.classes);
  for (const Kind& kind : kOtherKinds) EXPECT_EQ(ClassesOf(kind.streams), kind.classes);
}

TEST(KCompoundFileType, NoStreamOfAKindMayBeMissing) {
  const auto expectNoneWithout = [](const Kind& kind, const Names& others) {
    for (std::size_t missing = 0; missing < kind.streams.size(); ++missing) {
      Names streams = kind.streams;
      streams[missing] += "x";
      EXPECT_EQ(ClassesOf(others + streams), "") << kind.classes << " without " << kind.streams[missing];
      streams[missing] = kind.streams[missing].substr(0, kind.streams[missing].size() - 1);
      EXPECT_EQ(ClassesOf(others + streams), "") << kind.classes << " with " << streams[missing];
    }
  };
  for (const Kind& kind : kOfficeKinds) {
    if (kind.streams != Names{"Props9"} + Names{kCompObj}) expectNoneWithout(kind, kSummaries);
  }
  for (const Kind& kind : kOtherKinds) expectNoneWithout(kind, {});
}

TEST(KCompoundFileType, OfficeKindsNeedBothSummaries) {
  for (const Kind& kind : kOfficeKinds) {
    EXPECT_EQ(ClassesOf(kind.streams), "") << kind.classes;
    EXPECT_EQ(ClassesOf(Names{kSummaries[0]} + kind.streams), "") << kind.classes;
    EXPECT_EQ(ClassesOf(Names{kSummaries[1]} + kind.streams), "") << kind.classes;
  }
}

TEST(KCompoundFileType, OtherKindsMayHaveSummaries) {
  for (const Kind& kind : kOtherKinds) EXPECT_EQ(ClassesOf(kSummaries + kind.streams), kind.classes);
}

TEST(KCompoundFileType, OrderOfTheStreamsDoesNotCount) {
  for (const Kind& kind : kOfficeKinds) {
    Names streams = kSummaries + kind.streams;
    std::reverse(streams.begin(), streams.end());
    EXPECT_EQ(ClassesOf(streams), kind.classes);
  }
  for (const Kind& kind : kOtherKinds) {
    EXPECT_EQ(ClassesOf(Names(kind.streams.rbegin(), kind.streams.rend())), kind.classes);
  }
}

TEST(KCompoundFileType, CaseOfTheNamesDoesNotCount) {
  const auto with = [](Names names, int (*change)(int)) {
    for (std::string& name : names) {
      for (char& letter : name) letter = static_cast<char>(change(static_cast<unsigned char>(letter)));
    }
    return names;
  };
  using Change = int (*)(int);
  for (const Change change : {Change{&std::toupper}, Change{&std::tolower}}) {
    for (const Kind& kind : kOfficeKinds) EXPECT_EQ(ClassesOf(with(kSummaries + kind.streams, change)), kind.classes);
    for (const Kind& kind : kOtherKinds) EXPECT_EQ(ClassesOf(with(kind.streams, change)), kind.classes);
  }
}

TEST(KCompoundFileType, NothingButLettersOfAsciiIsFolded) {
  CompoundEntry entry = CompoundEntry::Named("PageMaker");
  entry.name[0] = u'P' + 0x100;
  EXPECT_EQ(ClassesOf(CompoundFile().Add(entry)), "");
  entry.name[0] = u'P' + 0x20;
  EXPECT_EQ(ClassesOf(CompoundFile().Add(entry)), "KP65FileType");
  // 0x20 apart, as letters and their capitals are.
  EXPECT_EQ(ClassesOf({"__properties_version1.0", "__nameid\x7Fversion1.0"}), "");
  EXPECT_EQ(ClassesOf({"__properties_version1.0", "__nameid_version\x11.0"}), "");
}

TEST(KCompoundFileType, EarlierRuleDecides) {
  // Every kind against all later ones of its list, with the later one's streams first.
  const auto expectInOrder = [](const std::vector<Kind>& kinds, const Names& others) {
    for (std::size_t first = 0; first < kinds.size(); ++first) {
      for (std::size_t second = first + 1; second < kinds.size(); ++second) {
        EXPECT_EQ(ClassesOf(others + kinds[second].streams + kinds[first].streams), kinds[first].classes)
            << "with " << kinds[second].classes;
      }
    }
  };
  expectInOrder(kOfficeKinds, kSummaries);
  expectInOrder(kOtherKinds, {});
}

TEST(KCompoundFileType, OfficeKindsGoBeforeTheOthers) {
  for (const Kind& office : kOfficeKinds) {
    for (const Kind& other : kOtherKinds) {
      // The contents of a Works document would make a publisher's document of a project.
      if (office.classes == "KProjectFileType" && other.classes == "CKWtfFileType") continue;
      EXPECT_EQ(ClassesOf(kSummaries + other.streams + office.streams), office.classes) << other.classes;
    }
  }
}

TEST(KCompoundFileType, ContentsInAnyCaseArePublishersBeforeTheyAreWorks) {
  EXPECT_EQ(ClassesOf(kSummaries + Names{"CONTENTS", "SPELLING", "Root Entry", kCompObj}), "KPublisherFileType");
  EXPECT_EQ(ClassesOf(kSummaries + Names{"contents", "SPELLING", "Root Entry"}), "CKWtfFileType");
}

TEST(KCompoundFileType, ClassOfTheFirstEntryTellsAFlashMovie) {
  CompoundEntry root = CompoundEntry::Named("Root Entry");
  root.classId = kFlashMovie;
  EXPECT_EQ(ClassesOf(CompoundFile().Add(root)), "KFlaFileType");
  EXPECT_EQ(ClassesOf(CompoundFile().Add("Root Entry").Add(root)), "");
  EXPECT_EQ(ClassesOf(CompoundFile().Add(CompoundEntry::Unused()).Add(root)), "KFlaFileType");  // the first stored
  EXPECT_EQ(ClassesOf(CompoundFile().Add(root).Add("PageMaker")), "KP65FileType");
  EXPECT_EQ(ClassesOf(CompoundFile().Add(root).Add("reload.sql").Add("header")), "KFlaFileType");
  for (std::size_t i = 0; i < 16; ++i) {
    CompoundEntry other = root;
    other.classId[i] = static_cast<char>(other.classId[i] ^ 1);
    EXPECT_EQ(ClassesOf(CompoundFile().Add(other)), "") << i;
  }
}

TEST(KCompoundFileType, FileWithoutEntriesHasNoKind) { EXPECT_EQ(ClassesOf(CompoundFile()), ""); }

TEST(KCompoundFileType, NamesOfBadEntriesDoNotCount) {
  CompoundEntry bad = CompoundEntry::Named("PageMaker");
  bad.type = 6;
  EXPECT_EQ(ClassesOf(CompoundFile().Add(bad).Add("x")), "");
}

// What the kinds report.

TEST(KCompoundFileType, WorkbookIsReportedAsTwoKindsWithTheSameSize) {
  const Hits hits = {{kFirst + 1, 1536}};
  EXPECT_EQ(KindsOf(WithStreams(kSummaries + Names{"Workbook"})),
            (FoundKinds{{"KExcelFileType", hits}, {"KEtFileType", hits}}));
}

TEST(KCompoundFileType, PresentationIsReportedAsTwoKindsWithTheSameSize) {
  const Hits hits = {{kFirst + 1, 1536}};
  EXPECT_EQ(KindsOf(WithStreams(kSummaries + Names{"PP40"})),
            (FoundKinds{{"KPowerPointFileType", hits}, {"KDpsFileType", hits}}));
}

TEST(KCompoundFileType, FilesOfABlockAreReportedInOrder) {
  Device device(30);
  const CompoundFile document = WithStreams(kSummaries + Names{"WordDocument"});
  const CompoundFile sheet = WithStreams(kSummaries + Names{"Book"});
  device.Put(kFirst + 2, document.Bytes()).Put(kFirst + 10, sheet.Bytes()).Put(kFirst + 20, document.Bytes());
  EXPECT_EQ(ScanCompoundAnyCut(device), (FoundKinds{{"KWordFileType", {{kFirst + 2, 1536}, {kFirst + 20, 1536}}},
                                                    {"KExcelFileType", {{kFirst + 10, 1536}}},
                                                    {"KEtFileType", {{kFirst + 10, 1536}}}}));
}

/// Scans devices with one document, in a process that has not seen a block before, and ends it with 7 if it is found
/// where it should be.
[[noreturn]] void ScanAsFirst(const std::vector<std::pair<std::uint64_t, Hits>>& devices) {
  bool asExpected = true;
  for (const auto& [firstSector, expected] : devices) {
    Device device(10, 512, firstSector);
    device.Put(firstSector, WithStreams({"PageMaker"}).Bytes());
    asExpected = asExpected && Scan(*CreateDetector("KP65FileType"), device) == expected;
  }
  std::exit(asExpected ? 7 : 8);
}

TEST(KCompoundFileType, FirstBlockOfAProcessIsNotSeenAtSector0) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::vector<std::pair<std::uint64_t, Hits>> first = {{0, {}}, {5, {{5, 1536}}}, {0, {{0, 1536}}}};
  EXPECT_EXIT(ScanAsFirst(first), ::testing::ExitedWithCode(7), "");
  const std::vector<std::pair<std::uint64_t, Hits>> later = {{1, {{1, 1536}}}, {0, {{0, 1536}}}};
  EXPECT_EXIT(ScanAsFirst(later), ::testing::ExitedWithCode(7), "");
}

TEST(KCompoundFileType, BlockAskedForTwiceIsReportedTwiceAndReadOnce) {
  LetCompoundClassifierForget();
  Device device(10);
  device.Put(kFirst, WithStreams({"PageMaker"}).Bytes());
  DeviceReader reader(device);
  RecordingSink sink;
  const Detector detector = CreateDetector("KP65FileType");
  // In one block of one sector, so that the reader is asked.
  std::vector<std::uint8_t> memory(device.Bytes().begin(), device.Bytes().begin() + 512);
  const RawSectorBlock block{kFirst, memory.data(), 1, 512, &reader};
  detector->Scan(&block, &sink);
  detector->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 1536}, {kFirst, 1536}}));
  EXPECT_EQ(reader.Calls().size(), 1U);
}

TEST(KCompoundFileType, ResetOfAKindLeavesTheClassifierAlone) {
  LetCompoundClassifierForget();
  Device device(10);
  device.Put(kFirst, WithStreams({"PageMaker"}).Bytes());
  const Detector detector = CreateDetector("KP65FileType");
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 1536}}));
  EXPECT_EQ(detector->Reset(), 1);
  EXPECT_EQ(detector->ResetLight(), 1);
  EXPECT_EQ(detector->ResetFull(), 1);
  // The block counts as read, whatever is in it now.
  EXPECT_EQ(Scan(*detector, Device(10)), (Hits{{kFirst, 1536}}));
}

TEST(KCompoundFileType, KindsHaveNoLimitAndNoHints) {
  LetCompoundClassifierForget();
  Device device(10);
  device.Put(kFirst, WithStreams({"PageMaker"}).Bytes());
  const Detector detector = CreateDetector("KP65FileType");
  detector->SetMaxFileSize(1024);
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 1536}}));
  std::uint64_t hints[2] = {5, 6};
  EXPECT_EQ(detector->GetSizeHints(0, hints, 16), 0U);
  EXPECT_EQ(hints[0], 5U);
  EXPECT_EQ(hints[1], 6U);
}

TEST(KCompoundFileType, EmptyBlocksAreTaken) {
  LetCompoundClassifierForget();
  RecordingSink sink;
  const Detector detector = CreateDetector("KP65FileType");
  std::uint8_t byte = 0xD0;
  for (const RawSectorBlock& block :
       {RawSectorBlock{1, nullptr, 1, 512, nullptr}, RawSectorBlock{2, &byte, 0, 512, nullptr},
        RawSectorBlock{3, &byte, -1, 512, nullptr}, RawSectorBlock{4, &byte, 1, 0, nullptr},
        RawSectorBlock{5, &byte, 1, -512, nullptr}, RawSectorBlock{6, &byte, 1, 1, nullptr}}) {
    detector->Scan(&block, &sink);
  }
  detector->Scan(nullptr, &sink);
  EXPECT_EQ(sink.Found(), Hits{});
}

// Whole files.

TEST(KCompoundFileType, SizesAWellFormedMessage) {
  const CompoundFile file = CompoundFile::WellFormed({{"__nameid_version1.0", ""},
                                                      {"__properties_version1.0", std::string(600, 'p')},
                                                      {"__substg1.0_1000001E", std::string(100, 'b')},
                                                      {"__substg1.0_37010102", std::string(5000, 'a')}});
  // The header, the FAT, the mini FAT, two sectors of directory, the root of 12 small sectors, 600, 100, 5000 bytes.
  const std::uint64_t size = 512 + 512 + 512 + 1024 + 1024 + 1024 + 512 + 5120;
  EXPECT_EQ(file.Bytes().size(), size - 1024 - 512);  // small streams count twice
  EXPECT_EQ(KindsOf(file), (FoundKinds{{"CKIEMsgFileType", {{kFirst + 1, size}}}}));
}

TEST(KCompoundFileType, SizesAWellFormedMessageOfLargeSectors) {
  const CompoundFile file = CompoundFile::WellFormed({{"__nameid_version1.0", ""},
                                                      {"__properties_version1.0", std::string(600, 'p')},
                                                      {"__substg1.0_37010102", std::string(5000, 'a')}},
                                                     12);
  // The header counts with 512 bytes though it fills a sector.
  EXPECT_EQ(KindsOf(file), (FoundKinds{{"CKIEMsgFileType", {{kFirst + 1, 512 + 3 * 4096 + 4096 + 4096 + 2 * 4096}}}}));
}

TEST(KCompoundFileType, SizesAnOddDocument) {
  // The tables stand behind the streams, the directory runs backwards, and there is damage in its middle.
  CompoundFile file;
  file.Set32(CompoundFile::kDifat, 90).Set32(CompoundFile::kFirstDirectorySector, 60).Fill(90, CompoundFile::kFree);
  file.Put(90, 240, LittleU32(40)).Put(90, 160, LittleU32(20)).Put(90, 80, LittleU32(0xFFFFFFFE));
  for (const std::uint32_t sector : {60U, 40U, 20U}) file.Put(sector, 0, std::string(512, '\0'));
  file.Put(60, 0, CompoundEntry::Named(kSummaries[0]).Bytes());
  file.Put(40, 128, CompoundEntry::Named(kSummaries[1]).Bytes());
  file.Put(20, 384, CompoundEntry::Named("wordDOCUMENT").Bytes());
  EXPECT_EQ(KindsOf(file), (FoundKinds{{"KWordFileType", {{kFirst + 1, 1536}}}}));
  CompoundEntry bad = CompoundEntry::Named("x");
  bad.size = 0x4000001;
  EXPECT_EQ(KindsOf(file.Put(40, 256, bad.Bytes())), (FoundKinds{{"KWordFileType", {{kFirst + 1, 65536}}}}));
}

/// What is found in a file of tests/data/compound, on devices of any sector size.
FoundKinds KindsInFile(const std::string& name) {
  std::ifstream stream(std::string(QZMTRAW_TEST_DATA) + "/compound/" + name, std::ios::binary);
  EXPECT_TRUE(stream) << name;
  const std::string contents{std::istreambuf_iterator<char>(stream), {}};
  const auto scan = [&](int sectorSize) {
    Device device(static_cast<int>(contents.size()) / sectorSize + 6, sectorSize);
    return ScanCompoundAnyCut(device.Put(kFirst + 3, contents));
  };
  EXPECT_EQ(scan(278), scan(512)) << name;
  EXPECT_EQ(scan(4096), scan(512)) << name;
  return scan(512);
}

// The sizes are added up by hand from what the files hold: the header, a sector of each table, two of the directory
// (one in the message), and the streams in whole sectors, the root among them. They exceed the files' lengths, because
// small streams count twice.

TEST(KCompoundFileType, SizesATextOfAnOfficeProgram) {
  const std::uint64_t size = 512 + 2 * 512 + 1024 + 5632 + 512 + 512 + 1536 + 512 + 4096 + 512;
  EXPECT_EQ(KindsInFile("text.doc"), (FoundKinds{{"KWordFileType", {{kFirst + 3, size}}}}));
}

TEST(KCompoundFileType, SizesASheetOfAnOfficeProgram) {
  const Hits hits = {{kFirst + 3, 512 + 2 * 512 + 1024 + 2560 + 2048 + 4 * 512}};
  EXPECT_EQ(KindsInFile("sheet.xls"), (FoundKinds{{"KEtFileType", hits}, {"KExcelFileType", hits}}));
}

TEST(KCompoundFileType, SizesSlidesOfAnOfficeProgram) {
  const Hits hits = {{kFirst + 3, 512 + 2 * 512 + 1024 + 1024 + 3 * 512 + 8704 + 2 * 512}};
  EXPECT_EQ(KindsInFile("slides.ppt"), (FoundKinds{{"KDpsFileType", hits}, {"KPowerPointFileType", hits}}));
}

TEST(KCompoundFileType, SizesAMessage) {
  const std::uint64_t size = 512 + 2 * 512 + 512 + 1536 + 512 + 1024 + 4608;
  EXPECT_EQ(KindsInFile("message.msg"), (FoundKinds{{"CKIEMsgFileType", {{kFirst + 3, size}}}}));
}

}  // namespace
}  // namespace qzmtraw::test
