// KMovFileType, KMP4FileType, K3GPFileType, KM4AFileType and CKM3g2FileType.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <random>

#include "tests/media/SparseDevice.h"

namespace qzmtraw::test {
namespace {

constexpr std::uint64_t kFirst = Device::kFirstSector;
constexpr std::uint64_t kFile = SparseDevice::kFileSector;
constexpr std::uint64_t kFourGiB = 0x100000000;
constexpr std::uint64_t kNoLimit = 0x7FFFFFFFFFFFFFFF;

std::string Atom(std::uint32_t size, const std::string& name) { return BigU32(size) + name; }

/// An atom with zeros for its contents.
std::string WholeAtom(std::uint32_t size, const std::string& name) {
  std::string atom = Atom(size, name);
  atom.resize(std::max<std::size_t>(size, 8));
  return atom;
}

/// A "ftyp" atom of 32 bytes.
std::string Ftyp(const std::string& brand) {
  std::string atom = Atom(32, "ftyp" + brand);
  atom.resize(32);
  return atom;
}

Device WithFile(const std::string& file) { return Device(20, 512, kFirst, 0).Put(kFirst + 1, file); }
Hits ScanFile(std::string_view className, const std::string& file) { return ScanAnyCut(className, WithFile(file)); }
Hits OneHit(std::uint64_t size) { return {{kFirst + 1, size}}; }

TEST(KMovFileType, BeginsWithOneOfFourAtoms) {
  for (const char* name : {"pnot", "wide", "moov", "ftypqt  "}) {
    EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(0x1000, name)), OneHit(0x1000)) << name;
  }
  for (const char* name : {"mdat", "free", "skip", "ftypqt 1", "ftypisom", "ftyp", "MOOV", "trak", "PICT"}) {
    EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(0x1000, name)), Hits{}) << name;
  }
}

TEST(KMovFileType, FirstAtomHas8To0x40000000Bytes) {
  const std::string next = Atom(0x1000, "moov");
  EXPECT_EQ(ScanFile("KMovFileType", Atom(8, "wide") + next), OneHit(0x1008));
  for (const std::uint32_t size : {0U, 1U, 7U, 0x40000001U, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(ScanFile("KMovFileType", Atom(size, "wide") + next), Hits{}) << size;
    EXPECT_EQ(ScanFile("KMovFileType", Atom(size, "ftypqt  ")), Hits{}) << size;
  }
  EXPECT_EQ(ScanFile("KMovFileType", Atom(0x40000000, "ftypqt  ")), OneHit(0x40000000));
}

TEST(KMovFileType, FollowsFifteenNames) {
  for (const char* name : {"free", "skip", "wide", "pnot", "moov", "mdat", "ftyp", "trak", "mdia", "stbl", "cmov",
                           "dcom", "cmvd", "jp2h", "PICT"}) {
    EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(600, "moov") + WholeAtom(100, name)), OneHit(700)) << name;
  }
  for (const char* name : {"uuid", "moof", "Free", "pict", "mda", "udta"}) {
    EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(600, "moov") + WholeAtom(100, name)), OneHit(600)) << name;
  }
}

TEST(KMovFileType, LaterAtomsHave8To0x40000000BytesToo) {
  for (const std::uint32_t size : {0U, 1U, 7U, 0x40000001U, 0x80000010U}) {
    EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(600, "moov") + Atom(size, "mdat")), OneHit(600)) << size;
  }
  EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(600, "moov") + Atom(8, "mdat")), OneHit(608));
  EXPECT_EQ(ScanFile("KMovFileType", WholeAtom(600, "moov") + Atom(0x40000000, "mdat")), OneHit(0x40000258));
}

TEST(KMovFileType, FollowsAnyNumberOfAtoms) {
  std::string file = WholeAtom(20, "ftypqt  ");
  for (int i = 0; i < 400; ++i) file += WholeAtom(20, "free");
  EXPECT_EQ(ScanFile("KMovFileType", file), OneHit(401 * 20));
}

TEST(KMovFileType, HeadBefore0sIsReportedFrom512BytesOn) {
  EXPECT_EQ(ScanFile("KMovFileType", Atom(0x1000, "moov")), OneHit(0x1000));
  EXPECT_EQ(ScanFile("KMovFileType", Atom(0x100, "moov")), Hits{});
  EXPECT_EQ(ScanFile("KMovFileType", Atom(511, "moov")), Hits{});
  EXPECT_EQ(ScanFile("KMovFileType", Atom(512, "moov")), OneHit(512));
}

TEST(KMovFileType, IsClipped) {
  const Detector detector = CreateDetector("KMovFileType");
  SparseDevice device;
  device.Put(0, Atom(0x40000000, "moov")).Put(0x40000000, Atom(0x3FFFFFFF, "mdat"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
  device.Put(0x40000000, Atom(0x40000000, "mdat"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
  detector->SetMaxFileSize(0x80000000);
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x80000000}}));
  detector->Reset();
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
}

TEST(KMovFileType, LeastSizeIsAskedBeforeTheLimit) {
  const Detector detector = CreateDetector("KMovFileType");
  detector->SetMaxFileSize(100);
  EXPECT_EQ(Scan(*detector, WithFile(Atom(300, "moov"))), Hits{});
  EXPECT_EQ(Scan(*detector, WithFile(WholeAtom(300, "moov") + Atom(212, "free"))), OneHit(100));
  EXPECT_EQ(Scan(*detector, WithFile(WholeAtom(300, "moov") + Atom(211, "free"))), Hits{});
}

TEST(KMovFileType, PositionsWrapAt4GiBWhileTheSizeGrowsOn) {
  SparseDevice device;
  for (std::uint64_t i = 0; i < 3; ++i) device.Put(i * 0x40000000, Atom(0x40000000, "moov"));
  device.Put(0xC0000000, Atom(0x3FFFFF00, "mdat")).Put(0xFFFFFF00, Atom(0x200, "free"));
  const Detector detector = CreateDetector("KMovFileType");
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
  detector->SetMaxFileSize(kNoLimit);
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, kFourGiB + 0x100}}));
  device.Put(0x100, Atom(0x1000, "skip"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, kFourGiB + 0x1100}}));
  device.Put(kFourGiB + 0x100, Atom(0x300, "skip"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, kFourGiB + 0x1100}}));
}

TEST(KMovFileType, WalkEndsWhereItComesBackToAnAtom) {
  SparseDevice device;
  for (std::uint64_t i = 0; i < 4; ++i) device.Put(i * 0x40000000, Atom(0x40000000, "moov"));
  const Detector detector = CreateDetector("KMovFileType");
  detector->SetMaxFileSize(kNoLimit);
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, kFourGiB + 0x40000000}}));
}

TEST(KMovFileType, OneFarAtomCostsOneRead) {
  SparseDevice device;
  device.Put(0, Atom(0x30000000, "moov")).Put(0x30000000, Atom(0x100, "free"));
  EXPECT_EQ(device.ScanHead(*CreateDetector("KMovFileType")), (Hits{{kFile, 0x30000100}}));
  EXPECT_EQ(device.ReadCalls(), 1);
}

TEST(QuickTimeAtoms, HeadInsideAFileIsAFileToo) {
  const std::string file = WholeAtom(512, "moov") + WholeAtom(512, "wide") + WholeAtom(512, "free");
  EXPECT_EQ(ScanFile("KMovFileType", file), (Hits{{kFirst + 1, 1536}, {kFirst + 2, 1024}}));
}

TEST(QuickTimeAtoms, SectorsOf512BytesAreNeededButFor3g2) {
  const auto found = [](std::string_view className, int size, const std::string& file) {
    return Scan(*CreateDetector(className), Device(8192 / size, size, kFirst, 0).Put(kFirst, file));
  };
  const std::string rest = WholeAtom(1000, "moov") + WholeAtom(100, "free") + WholeAtom(100, "mdat");
  for (const int size : {256, 511}) {
    EXPECT_EQ(found("KMovFileType", size, Ftyp("qt  ") + rest), Hits{});
    EXPECT_EQ(found("KMP4FileType", size, Ftyp("isom") + rest), Hits{});
    EXPECT_EQ(found("K3GPFileType", size, Ftyp("3gp5") + rest), Hits{});
    EXPECT_EQ(found("KM4AFileType", size, Ftyp("mp42") + rest), Hits{});
  }
  EXPECT_EQ(found("KMovFileType", 512, Ftyp("qt  ") + rest), (Hits{{kFirst, 1232}}));
  EXPECT_EQ(found("KMP4FileType", 512, Ftyp("isom") + rest), (Hits{{kFirst, 1232}}));
  EXPECT_EQ(found("K3GPFileType", 512, Ftyp("3gp5") + rest), (Hits{{kFirst, 1232}}));
  EXPECT_EQ(found("KM4AFileType", 512, Ftyp("mp42") + rest), (Hits{{kFirst, 1232}}));
  for (const int size : {1, 4, 7, 8, 256})
    EXPECT_EQ(found("CKM3g2FileType", size, Ftyp("3g2a") + rest), (Hits{{kFirst, 1232}}));
}

struct FtypKind {
  std::string className;
  std::vector<std::string> brands;
  std::vector<std::string> otherBrands;
  std::vector<std::string> names;
};

const std::vector<FtypKind> kFtypKinds = {
    {"KMP4FileType",
     {"isom", "MSNV", "f4v "},
     {"iso2", "mp42", "msnv", "f4va", "qt  ", "3gp4", "M4A "},
     {"moov", "free", "mdat", "uuid", "moof"}},
    {"K3GPFileType",
     {"3gp4", "3gp6", "3gpx", Literal("3gp\0")},
     {"3g2a", "3GP4", "3gq4", "isom"},
     {"moov", "free", "mdat", "uuid", "moof", "wide"}},
    {"KM4AFileType",
     {"M4A ", "3gp6", "mp42"},
     {"M4V ", "m4a ", "3gp5", "mp41", "isom"},
     {"moov", "free", "mdat", "moof"}},
};

class FtypFiles : public ::testing::TestWithParam<FtypKind> {
 protected:
  Hits Found(const std::string& atoms) const {
    return ScanFile(GetParam().className, Ftyp(GetParam().brands.front()) + atoms);
  }
  Detector Create() const { return CreateDetector(GetParam().className); }
  std::string Head() const { return Ftyp(GetParam().brands.front()); }
};

TEST_P(FtypFiles, AreToldByTheirBrand) {
  for (const std::string& brand : GetParam().brands) {
    EXPECT_EQ(ScanFile(GetParam().className, Ftyp(brand) + WholeAtom(1000, "moov")), OneHit(1032)) << brand;
  }
  for (const std::string& brand : GetParam().otherBrands) {
    EXPECT_EQ(ScanFile(GetParam().className, Ftyp(brand) + WholeAtom(1000, "moov")), Hits{}) << brand;
  }
  EXPECT_EQ(ScanFile(GetParam().className, WholeAtom(32, "ftyq" + GetParam().brands.front()) + WholeAtom(1000, "moov")),
            Hits{});
}

TEST_P(FtypFiles, HaveOneOfTheirAtomsBehindFtyp) {
  const std::vector<std::string>& names = GetParam().names;
  for (const char* name : {"moov", "free", "mdat", "uuid", "moof", "wide", "skip", "pnot", "abcd", "Moov"}) {
    const bool known = std::find(names.begin(), names.end(), name) != names.end();
    EXPECT_EQ(Found(WholeAtom(1000, name)), known ? OneHit(1032) : Hits{}) << name;
    // The same names count as the second and the third atom.
    EXPECT_EQ(Found(WholeAtom(600, "free") + WholeAtom(1000, name)), OneHit(known ? 1632 : 632)) << name;
    EXPECT_EQ(Found(WholeAtom(600, "free") + WholeAtom(100, "free") + WholeAtom(1000, name)),
              OneHit(known ? 1732 : 732))
        << name;
  }
}

TEST_P(FtypFiles, CountThreeAtomsBehindFtyp) {
  const std::string four =
      WholeAtom(600, "free") + WholeAtom(700, "mdat") + WholeAtom(800, "moov") + WholeAtom(900, "free");
  EXPECT_EQ(Found(four), OneHit(2132));
}

TEST_P(FtypFiles, HaveSize0WhereTwoAtomsAreTooSmall) {
  EXPECT_EQ(Found(WholeAtom(8, "free") + "rubbish!rubbish!"), OneHit(0));
  EXPECT_EQ(Found(WholeAtom(200, "free") + WholeAtom(279, "free")), OneHit(0));
  EXPECT_EQ(Found(WholeAtom(200, "free") + WholeAtom(280, "free")), OneHit(512));
}

TEST_P(FtypFiles, AreReportedAsTheyStandWhenTheThirdAtomIsKnown) {
  EXPECT_EQ(Found(WholeAtom(8, "free") + WholeAtom(8, "free") + WholeAtom(8, "free")), OneHit(56));
  const Detector detector = Create();
  detector->SetMaxFileSize(1000);
  const std::string two = Head() + WholeAtom(600, "free") + WholeAtom(700, "mdat");
  EXPECT_EQ(Scan(*detector, WithFile(two)), OneHit(1000));
  EXPECT_EQ(Scan(*detector, WithFile(two + Atom(800, "moov"))), OneHit(2132));
  // A third atom's size is taken whatever it is.
  for (const std::uint32_t size : {0U, 1U, 7U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Scan(*detector, WithFile(two + Atom(size, "mdat"))), OneHit(1332 + std::uint64_t{size})) << size;
  }
}

TEST_P(FtypFiles, AreClippedUnlessTheThirdAtomIsKnown) {
  const Detector detector = Create();
  SparseDevice device;
  device.Put(0, Head() + Atom(0x7FFFFFFF - 32, "mdat"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
  device.Put(0, Head() + Atom(0x80000000 - 32, "mdat"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x7FFFFFFF}}));
  detector->SetMaxFileSize(kNoLimit);
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x80000000}}));
  detector->Reset();
  device.Put(0x80000000, Atom(8, "free") + Atom(16, "moov"));
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x80000018}}));
}

TEST_P(FtypFiles, SizesOfFtypAndOfTheFirstAtomAreNotTested) {
  EXPECT_EQ(ScanFile(GetParam().className, Atom(0, "ftyp" + GetParam().brands.front())), Hits{});
  EXPECT_EQ(Found(Atom(0, "free")), OneHit(32)) << "The first atom is read three times.";
  SparseDevice device;
  device.Put(0, Atom(0xFFFFFFFF, "ftyp" + GetParam().brands.front()))
      .Put(0xFFFFFFFF, Atom(0xFFFFFFFF, "free"))
      .Put(2 * std::uint64_t{0xFFFFFFFF}, Atom(0xFFFFFFFF, "mdat"))
      .Put(3 * std::uint64_t{0xFFFFFFFF}, Atom(8, "moov"));
  EXPECT_EQ(device.ScanHead(*Create()), (Hits{{kFile, 3 * std::uint64_t{0xFFFFFFFF} + 8}}));
}

TEST_P(FtypFiles, SecondAtomMayHaveAWideSizeOfWhichTheLowHalfCounts) {
  const auto found = [&](std::uint32_t size, std::uint32_t high, std::uint32_t low, const char* name) {
    std::string file = WholeAtom(8, "free") + Atom(size, name) + BigU32(high) + BigU32(low);
    file.resize(1000 - 32);
    return Found(file + WholeAtom(900, "moov"));
  };
  for (const std::uint32_t size : {0U, 1U, 2U, 7U}) {
    EXPECT_EQ(found(size, 0, 960, "mdat"), OneHit(1900)) << size;
    EXPECT_EQ(found(size, 5, 960, "mdat"), OneHit(1900)) << size;
  }
  // Not 8, and no other name.
  EXPECT_EQ(found(8, 0, 960, "mdat"), OneHit(0));
  EXPECT_EQ(found(1, 0, 960, "moov"), OneHit(0));
  // Nor another place.
  EXPECT_EQ(Found(Atom(1, "mdat") + BigU32(0) + BigU32(968)), OneHit(0));
  EXPECT_EQ(Found(WholeAtom(600, "free") + WholeAtom(8, "free") + Atom(1, "mdat") + BigU32(0) + BigU32(968)),
            OneHit(641));
}

TEST_P(FtypFiles, WideSizeOfExactly4GiBIsTakenFor0) {
  EXPECT_EQ(Found(WholeAtom(8, "free") + Atom(1, "mdat") + BigU32(1) + BigU32(0)), OneHit(41));
}

INSTANTIATE_TEST_SUITE_P(Kinds, FtypFiles, ::testing::ValuesIn(kFtypKinds),
                         [](const auto& kind) { return kind.param.className; });

TEST(QuickTimeAtoms, BrandsOverlap) {
  const std::string phone = Ftyp("3gp6") + WholeAtom(1000, "moov");
  EXPECT_EQ(ScanFile("K3GPFileType", phone), OneHit(1032));
  EXPECT_EQ(ScanFile("KM4AFileType", phone), OneHit(1032));
}

TEST(CKM3g2FileType, AddsSizesUpToAZero) {
  EXPECT_EQ(ScanFile("CKM3g2FileType", Ftyp("3g2a") + WholeAtom(700, "abcd") + WholeAtom(9, "")), OneHit(741));
  EXPECT_EQ(ScanFile("CKM3g2FileType", Ftyp("3g2a")), OneHit(32));
  EXPECT_EQ(ScanFile("CKM3g2FileType", Atom(0, "ftyp3g2a")), OneHit(0));
  EXPECT_EQ(ScanFile("CKM3g2FileType", Ftyp("3g2b")), Hits{});
  EXPECT_EQ(ScanFile("CKM3g2FileType", Ftyp("3gp6")), Hits{});
}

TEST(CKM3g2FileType, HasNoLimit) {
  SparseDevice device;
  device.Put(0, Atom(0xFFFFFFFF, "ftyp3g2a")).Put(0xFFFFFFFF, BigU32(0x80000000)).Put(0x17FFFFFFF, BigU32(5));
  const Detector detector = CreateDetector("CKM3g2FileType");
  detector->SetMaxFileSize(1000);
  EXPECT_EQ(device.ScanHead(*detector), (Hits{{kFile, 0x180000004}}));
}

TEST(QuickTimeAtoms, WhatCannotBeReadIsZero) {
  // Nothing can be read from sectors of more than 32768 bytes but their ends.
  const auto found = [](std::string_view className, const std::string& file) {
    return Scan(*CreateDetector(className), Device(3, 65536, kFirst, 0).Put(kFirst, file));
  };
  EXPECT_EQ(found("KMovFileType", Atom(600, "moov")), (Hits{{kFirst, 600}}));
  EXPECT_EQ(found("KMovFileType", WholeAtom(600, "moov") + WholeAtom(600, "moov")), (Hits{{kFirst, 600}}));
  EXPECT_EQ(found("KMP4FileType", Ftyp("isom") + WholeAtom(600, "moov")), Hits{});
  EXPECT_EQ(found("CKM3g2FileType", Ftyp("3g2a")), (Hits{{kFirst, 0}}));
}

// The rules once more, step by step on a device that is all there.

using ByteAt = std::function<std::uint8_t(std::uint64_t)>;

std::uint64_t BigAt(const ByteAt& byteAt, std::uint64_t position) {
  std::uint64_t value = 0;
  for (std::uint64_t i = 0; i < 4; ++i) value = value * 256 + byteAt(position + i);
  return value;
}
std::string NameAt(const ByteAt& byteAt, std::uint64_t position) {
  std::string name;
  for (std::uint64_t i = 4; i < 8; ++i) name += static_cast<char>(byteAt(position + i));
  return name;
}

std::optional<std::uint64_t> LiteralMovie(const ByteAt& byteAt) {
  static const std::vector<std::string> kNames = {"free", "skip", "wide", "pnot", "moov", "mdat", "ftyp", "trak",
                                                  "mdia", "stbl", "cmov", "dcom", "cmvd", "jp2h", "PICT"};
  const std::string name = NameAt(byteAt, 0);
  const bool isQuickTime = name == "ftyp" && NameAt(byteAt, 4) == "qt  ";
  if (name != "pnot" && name != "wide" && name != "moov" && !isQuickTime) return std::nullopt;
  std::uint64_t offset = 0;
  while (true) {
    const std::uint64_t size = BigAt(byteAt, offset % kFourGiB);
    if (size < 8 || size > 0x40000000) break;
    if (std::find(kNames.begin(), kNames.end(), NameAt(byteAt, offset % kFourGiB)) == kNames.end()) break;
    offset += size;
  }
  if (offset < 512) return std::nullopt;
  return std::min<std::uint64_t>(offset, 0x7FFFFFFF);
}

std::optional<std::uint64_t> LiteralFtyp(const ByteAt& byteAt, const FtypKind& kind) {
  const auto known = [&](std::uint64_t position) {
    return std::find(kind.names.begin(), kind.names.end(), NameAt(byteAt, position)) != kind.names.end();
  };
  const std::string brand = NameAt(byteAt, 4);
  const bool isBrand = std::find(kind.brands.begin(), kind.brands.end(), brand) != kind.brands.end() ||
                       (kind.className == "K3GPFileType" && brand.starts_with("3gp"));
  if (NameAt(byteAt, 0) != "ftyp" || !isBrand) return std::nullopt;
  std::uint64_t offset = BigAt(byteAt, 0);
  if (!known(offset)) return std::nullopt;
  offset += BigAt(byteAt, offset);
  if (known(offset)) {
    const std::uint64_t size = BigAt(byteAt, offset);
    const bool wide = NameAt(byteAt, offset) == "mdat" && size < 8;
    offset += wide ? BigAt(byteAt, offset + 12) : size;
    if (known(offset)) return offset + BigAt(byteAt, offset);
  }
  return offset < 512 ? 0 : std::min<std::uint64_t>(offset, 0x7FFFFFFF);
}

std::optional<std::uint64_t> Literal3g2(const ByteAt& byteAt) {
  if (NameAt(byteAt, 0) != "ftyp" || NameAt(byteAt, 4) != "3g2a") return std::nullopt;
  std::uint64_t offset = 0;
  while (BigAt(byteAt, offset) != 0) offset += BigAt(byteAt, offset);
  return offset;
}

/// Sectors, each of which begins with atoms, and atoms that lead from one to the next as often as not.
Device DeviceOfAtoms(std::uint32_t seed) {
  std::mt19937 engine(seed);
  const auto random = [&] { return static_cast<std::uint32_t>(engine()); };
  const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
  static const std::vector<std::string> kNames = {"moov", "free", "mdat", "uuid", "moof", "wide", "skip",
                                                  "ftyp", "pnot", "trak", "abcd", "PICT", "mdat", "moov"};
  static const std::vector<std::string> kBrands = {"qt  ", "isom", "MSNV", "f4v ", "3gp6",
                                                   "3gpp", "M4A ", "mp42", "3g2a", "abcd"};
  Device device(12, 512, kFirst, 0);
  for (std::uint64_t sector = kFirst; sector < kFirst + 12; ++sector) {
    std::string atoms;
    while (atoms.size() < 400) {
      const bool isFtyp = random() % 3 == 0;
      const std::uint32_t size = isFtyp ? 16 + 4 * (random() % 4) : 8 + random() % 120;
      const bool isOdd = random() % 40 == 0;
      std::string atom = Atom(isOdd ? random() % 8 : size, isFtyp ? "ftyp" + pick(kBrands) : pick(kNames));
      if (isOdd) atom += BigU32(random() % 2) + BigU32(random() % 300);
      atom.resize(std::max<std::size_t>(size, atom.size()));
      atoms += atom;
    }
    // What is left of the sector belongs to an atom that ends it, or ends with a later one.
    const auto rest = static_cast<std::uint32_t>(512 - atoms.size() % 512 + 512 * (random() % 3));
    if (atoms.size() <= 504) atoms += Atom(rest, pick(kNames));
    atoms.resize(std::min<std::size_t>(atoms.size(), 512));
    device.Put(sector, atoms);
  }
  return device;
}

TEST(QuickTimeAtoms, AgreeWithTheRulesTakenStepByStep) {
  const auto literalHits = [](const Device& device, const auto& rule) {
    Hits hits;
    for (std::uint64_t i = 0; i < 12; ++i) {
      const auto byteAt = [&](std::uint64_t position) {
        return position + i * 512 < device.Bytes().size() ? device.Bytes()[position + i * 512] : std::uint8_t{0};
      };
      if (const std::optional<std::uint64_t> size = rule(byteAt)) hits.push_back({kFirst + i, *size});
    }
    return hits;
  };
  std::size_t found = 0;
  for (std::uint32_t seed = 0; seed < 600; ++seed) {
    const Device device = DeviceOfAtoms(seed);
    const Cut cut{static_cast<int>(seed % 4)};
    const auto check = [&](std::string_view className, const auto& rule) {
      const Hits expected = literalHits(device, rule);
      ASSERT_EQ(Scan(*CreateDetector(className), device, cut), expected) << className << ", seed " << seed;
      found += expected.size();
    };
    check("KMovFileType", LiteralMovie);
    check("CKM3g2FileType", Literal3g2);
    for (const FtypKind& kind : kFtypKinds) {
      check(kind.className, [&](const ByteAt& byteAt) { return LiteralFtyp(byteAt, kind); });
    }
  }
  EXPECT_GT(found, 1000U);
}

}  // namespace
}  // namespace qzmtraw::test
