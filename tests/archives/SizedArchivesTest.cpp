#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;

// Cabinets.

std::string CabinetHead(std::uint32_t size) { return "MSCF" + LittleU32(0) + LittleU32(size) + LittleU32(0); }

Hits ScanCabinet(std::uint32_t size) {
  return ScanAnyCut("KCabFileType", Device(3).Put(kFirst + 1, CabinetHead(size)));
}

TEST(KCabFileType, TellsItsSize) {
  EXPECT_EQ(ScanCabinet(256), (Hits{{kFirst + 1, 256}}));
  EXPECT_EQ(ScanCabinet(5513), (Hits{{kFirst + 1, 5513}}));
  EXPECT_EQ(ScanCabinet(0x7FFFFFFF), (Hits{{kFirst + 1, 0x7FFFFFFF}}));
}

TEST(KCabFileType, SizeBelow256OrNegativeIsNoHit) {
  for (const std::uint32_t size : {0U, 1U, 255U, 0x80000000U, 0xFFFFFFFFU}) EXPECT_EQ(ScanCabinet(size), Hits{});
}

TEST(KCabFileType, NeedsTheSectorsOf17BytesAndItsEightBytes) {
  const Detector detector = CreateDetector("KCabFileType");
  EXPECT_EQ(Scan(*detector, Device(2, 16).Put(kFirst, CabinetHead(300))), Hits{});
  EXPECT_EQ(Scan(*detector, Device(2, 17).Put(kFirst, CabinetHead(300))), (Hits{{kFirst, 300}}));
  for (std::size_t i = 0; i < 8; ++i) {
    std::string head = CabinetHead(300);
    head[i] = static_cast<char>(head[i] ^ 1);
    EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, head)), Hits{}) << i;
  }
}

TEST(KCabFileType, LimitOfTheHostClips) {
  const Detector detector = CreateDetector("KCabFileType");
  const Device device = Device(1).Put(kFirst, CabinetHead(5000));
  for (const std::uint64_t limit : {4999U, 5000U}) {
    detector->SetMaxFileSize(limit);
    EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, limit}}));
  }
  detector->SetMaxFileSize(10);
  detector->Reset();
  EXPECT_EQ(Scan(*detector, device), (Hits{{kFirst, 5000}}));
}

TEST(KCabFileType, SizeOf0LeavesNothingToReport) {
  Device device(5);
  device.Put(kFirst, CabinetHead(0)).Put(kFirst + 2, CabinetHead(100)).Put(kFirst + 4, CabinetHead(400));
  EXPECT_EQ(ScanAnyCut("KCabFileType", device), (Hits{{kFirst + 4, 400}}));
}

TEST(KCabFileType, IsFoundAtSector0) {
  EXPECT_EQ(ScanAnyCut("KCabFileType", Device(1, 512, 0).Put(0, CabinetHead(400))), (Hits{{0, 400}}));
}

// RAR archives.

const std::string kRarHead = Literal("\x52\x61\x72\x21\x1A\x07\0\xCF");
const std::string kRarEnd = Literal("\xC4\x3D\x7B\0\x40\x07\0");

Hits ScanRar(const Device& device) { return ScanAnyCut("KRarFileType", device); }

TEST(KRarFileType, EndsBehindTheEndBlock) {
  EXPECT_EQ(ScanRar(Device(9).Put(kFirst + 1, kRarHead).Put(kFirst + 4, 99, kRarEnd).Put(kFirst + 4, 300, kRarEnd)),
            (Hits{{kFirst + 1, 3 * 512 + 99 + 7}}));
  EXPECT_EQ(ScanRar(Device(9, 512, 0).Put(0, kRarHead).Put(1, 0, kRarEnd)), (Hits{{0, 512 + 7}}));
}

TEST(KRarFileType, EndBlockBelow256BytesClosesSilently) {
  EXPECT_EQ(ScanRar(Device(9).Put(kFirst, kRarHead).Put(kFirst, 248, kRarEnd).Put(kFirst + 2, kRarEnd)), Hits{});
  EXPECT_EQ(ScanRar(Device(9).Put(kFirst, kRarHead).Put(kFirst, 249, kRarEnd)), (Hits{{kFirst, 256}}));
}

TEST(KRarFileType, EndBlockThatTouchesTheSectorsEndIsMissed) {
  EXPECT_EQ(ScanRar(Device(9).Put(kFirst, kRarHead).Put(kFirst + 1, 504, kRarEnd)), (Hits{{kFirst, 512 + 511}}));
  for (const std::size_t offset : {505U, 506U, 511U}) {
    EXPECT_EQ(ScanRar(Device(9).Put(kFirst, kRarHead).Put(kFirst + 1, offset, kRarEnd).Put(kFirst + 3, 1, kRarEnd)),
              (Hits{{kFirst, 3 * 512 + 8}}))
        << offset;
  }
}

TEST(KRarFileType, NewHeadReportsTheFileBeforeFrom256BytesOn) {
  const auto scan = [](std::uint64_t sectorsBetween) {
    return ScanRar(Device(9, 64).Put(kFirst, kRarHead).Put(kFirst + sectorsBetween, kRarHead));
  };
  EXPECT_EQ(scan(3), Hits{});
  EXPECT_EQ(scan(4), (Hits{{kFirst, 256}}));
  EXPECT_EQ(ScanRar(Device(9).Put(kFirst, kRarHead).Put(kFirst + 2, kRarHead).Put(kFirst + 3, 1, kRarEnd)),
            (Hits{{kFirst, 1024}, {kFirst + 2, 520}}));
}

TEST(KRarFileType, NeedsItsEightBytesAndSectorsOf9) {
  for (std::size_t i = 0; i < kRarHead.size(); ++i) {
    std::string head = kRarHead;
    head[i] = static_cast<char>(head[i] ^ 1);
    EXPECT_EQ(ScanRar(Device(4).Put(kFirst, head).Put(kFirst + 2, kRarEnd)), Hits{}) << i;
  }
  for (const int size : {8, 9}) {
    Device device(60, size);
    device.Put(kFirst, kRarHead).Put(kFirst + 40, kRarHead);
    EXPECT_EQ(ScanRar(device), size == 9 ? (Hits{{kFirst, 360}}) : Hits{});
  }
}

TEST(KRarFileType, SizeAboveTheLimitOfTheHostIsClipped) {
  const auto scan = [](std::uint64_t limit, const Device& device) {
    const Detector detector = CreateDetector("KRarFileType");
    detector->SetMaxFileSize(limit);
    return Scan(*detector, device);
  };
  const Device endless = Device(4).Put(kFirst, kRarHead).Put(kFirst + 3, 5, kRarEnd);
  EXPECT_EQ(scan(1535, endless), (Hits{{kFirst, 1535}}));
  EXPECT_EQ(scan(1536, endless), (Hits{{kFirst, 1536}}));
  EXPECT_EQ(scan(1548, endless), (Hits{{kFirst, 1548}}));
  EXPECT_EQ(scan(1549, endless), (Hits{{kFirst, 1548}}));
  // Given up in the first sector; no least size there.
  EXPECT_EQ(scan(100, endless), (Hits{{kFirst, 100}}));
}

TEST(KRarFileType, WithoutEndRunsTo0x7FFFFFFF) {
  constexpr int kSize = 1 << 24;
  const Detector detector = CreateDetector("KRarFileType");
  std::vector<std::uint8_t> sector(kSize, 'x');
  RecordingSink sink;
  const auto feed = [&](std::uint64_t number) {
    const RawSectorBlock block{number, sector.data(), 1, kSize, nullptr};
    detector->Scan(&block, &sink);
  };
  std::memcpy(sector.data(), kRarHead.data(), kRarHead.size());
  feed(kFirst);
  std::memset(sector.data(), 'x', kRarHead.size());
  for (std::uint64_t i = 1; i < 127; ++i) feed(kFirst + i);
  EXPECT_EQ(sink.Found(), Hits{});
  feed(kFirst + 127);
  feed(kFirst + 128);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, 0x7FFFFFFF}}));
}

TEST(KRarFileType, ResetForgetsTheFile) {
  const Detector detector = CreateDetector("KRarFileType");
  Scan(*detector, Device(2).Put(kFirst, kRarHead));
  detector->SetMaxFileSize(10);
  detector->Reset();
  EXPECT_EQ(Scan(*detector, Device(2, 512, kFirst + 2).Put(kFirst + 2, 9, kRarEnd)), Hits{});
  EXPECT_EQ(Scan(*detector, Device(2).Put(kFirst, kRarHead).Put(kFirst + 1, 9, kRarEnd)), (Hits{{kFirst, 528}}));
}

// LHA archives.

std::string Member(std::uint8_t headerSize, std::uint32_t packedSize, const std::string& method = "-lh5-") {
  return static_cast<char>(headerSize) + std::string("c") + method + LittleU32(packedSize) + "size";
}

Hits ScanLzh(const Device& device) { return ScanAnyCut("CKALzhFileType", device); }

TEST(CKALzhFileType, KnowsTheMethods) {
  for (const char* method : {"-lh0-", "-lh5-", "-lhd-", "-lh--", "-lh\xFF-", "-lzs-", "-lz4-"}) {
    EXPECT_EQ(ScanLzh(Device(3).Put(kFirst + 1, Member(30, 100, method))), (Hits{{kFirst + 1, 131}})) << method;
  }
  for (const char* method : {"-lz5-", "-lz4x", "-lzsx", "-lzS-", "-lh5x", "-li5-", "-pm0-", "xlh5-", "-LH5-"}) {
    EXPECT_EQ(ScanLzh(Device(3).Put(kFirst + 1, Member(30, 100, method))), Hits{}) << method;
  }
}

TEST(CKALzhFileType, MethodMustLieInTheBlock) {
  EXPECT_EQ(Scan(*CreateDetector("CKALzhFileType"), Device(1, 7).Put(kFirst, "xx-lh5-")).size(), 1U);
  EXPECT_EQ(Scan(*CreateDetector("CKALzhFileType"), Device(1, 6).Put(kFirst, "xx-lh5")), Hits{});
}

TEST(CKALzhFileType, NextMemberStandsWhereTheSizesSay) {
  // The second and the third follow at once, the fourth two bytes late.
  Device device(40);
  device.Put(kFirst, Member(40, 1000)).Put(kFirst, 1040, Member(50, 2000)).Put(kFirst, 3090, Member(60, 3000));
  device.Put(kFirst, 6152, Member(70, 4000));
  EXPECT_EQ(ScanLzh(device), (Hits{{kFirst, 6151}}));
}

TEST(CKALzhFileType, SizesAddIn64Bits) {
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst, Member(0x20, 0xFFFFFFFF))), (Hits{{kFirst, 0x100000020}}));
}

TEST(CKALzhFileType, MemberOfNoBytesEndsTheWalk) {
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst, Member(0, 0))), (Hits{{kFirst, 1}}));
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst, Member(40, 60)).Put(kFirst, 100, Member(0, 0))), (Hits{{kFirst, 101}}));
}

TEST(CKALzhFileType, DevicesEndEndsTheWalk) {
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst + 2, Member(30, 1000000))), (Hits{{kFirst + 2, 1000031}}));
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst, Member(0, 1536))), (Hits{{kFirst, 1537}}));
  // Behind a header that the device's end cuts off, the reader answers with zeros.
  EXPECT_EQ(ScanLzh(Device(3).Put(kFirst, Member(0, 1529)).Put(kFirst, 1529, "\x07x-lh5-")), (Hits{{kFirst, 1537}}));
}

TEST(CKALzhFileType, HasNoSizeWithoutAReader) {
  const Device device = Device(3).Put(kFirst, Member(30, 100));
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer, Manner::kFillsRubbish}) {
    EXPECT_EQ(Scan(*CreateDetector("CKALzhFileType"), device, {}, manner), (Hits{{kFirst, 1}}));
  }
}

TEST(CKALzhFileType, FailedReadEndsTheWalk) {
  // Sectors of more than 32768 bytes can't be read in part.
  EXPECT_EQ(Scan(*CreateDetector("CKALzhFileType"), Device(2, 65536).Put(kFirst, Member(30, 100))),
            (Hits{{kFirst, 1}}));
}

TEST(CKALzhFileType, SectorsMayBeSmallerThanAHeader) {
  for (const int size : {1, 2, 7, 16}) {
    Device device(400, size);
    device.Put(kFirst, Member(30, 20)).Put(kFirst, 50, Member(40, 10));
    const Hits found = Scan(*CreateDetector("CKALzhFileType"), device);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0], (Hit{kFirst, 101})) << size;
  }
}

/// Holds a member's header in every sector, for ever.
class EndlessReader final : public IRawSectorReader {
 public:
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t /*startSector*/, void* buffer, std::uint32_t sectorCount) override {
    const std::string header = Member(0, 0x100000);
    for (std::uint32_t i = 0; i < sectorCount; ++i) {
      std::memcpy(static_cast<char*>(buffer) + std::size_t{i} * 512, header.data(), header.size());
    }
    return 0;
  }
};

TEST(CKALzhFileType, ReaderThatAnswersForEverDoesntHoldUpTheScan) {
  std::vector<std::uint8_t> sector(512, 0);
  const std::string header = Member(0, 0x100000);
  std::memcpy(sector.data(), header.data(), header.size());
  EndlessReader reader;
  const RawSectorBlock block{kFirst, sector.data(), 1, 512, &reader};
  RecordingSink sink;
  CreateDetector("CKALzhFileType")->Scan(&block, &sink);
  EXPECT_EQ(sink.Found(), (Hits{{kFirst, std::uint64_t{0x40000} * 0x100000 + 1}}));
}

TEST(CKALzhFileType, NumberOfMembersHasNoLimit) {
  // Few of them stand at the start of a sector.
  Device device(5100);
  for (std::size_t i = 0; i < 5000; ++i) device.Put(kFirst, i * 514, Member(0, 514));
  const Hits found = Scan(*CreateDetector("CKALzhFileType"), device);
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found.front(), (Hit{kFirst, 5000 * 514 + 1}));
}

TEST(CKALzhFileType, EveryHeadIsAFileOfItsOwn) {
  const Device device = Device(5, 512, 0).Put(0, Member(0, 1024)).Put(2, Member(0, 512)).Put(3, Member(0, 256));
  EXPECT_EQ(ScanLzh(device), (Hits{{0, 1793}, {2, 769}, {3, 257}}));
}

TEST(CKALzhFileType, LimitOfTheHostIsIgnored) {
  const Detector detector = CreateDetector("CKALzhFileType");
  detector->SetMaxFileSize(10);
  EXPECT_EQ(Scan(*detector, Device(3).Put(kFirst, Member(30, 0x2000000))), (Hits{{kFirst, 0x200001F}}));
}

}  // namespace
}  // namespace qzmtraw::test
