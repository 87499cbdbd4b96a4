#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>

#include "tests/support/Rows.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

using Guid = std::array<std::uint8_t, 16>;

/// The marks in the order of their bytes in a file.
const std::map<char, Guid>& Guids() {
  static const std::map<char, Guid> kGuids = {
      {' ', {}},
      {'A', {0x4D, 0xD8, 0xE1, 0xFB, 0x05, 0x53, 0x4A, 0x4D, 0x93, 0x7C, 0xDE, 0xD5, 0x05, 0x05, 0x92, 0x8D}},
      {'B', {0xBE, 0x72, 0x72, 0x8D, 0xD4, 0xBC, 0x77, 0x4E, 0x9B, 0xDB, 0xDE, 0xE8, 0x33, 0x5A, 0xDC, 0x42}},
      {'C', {0xD5, 0xAA, 0x1A, 0xFA, 0x0C, 0x0D, 0x8E, 0x4B, 0xB3, 0x87, 0x62, 0xCA, 0x96, 0xBB, 0x3E, 0x9D}},
      {'D', {0x86, 0x40, 0x9E, 0x26, 0x41, 0xBA, 0x6E, 0x4D, 0xB6, 0x4D, 0x76, 0x65, 0xDC, 0x4C, 0xC1, 0x7C}},
      {'E', {0xC5, 0xD8, 0x17, 0xB4, 0xD8, 0x75, 0x81, 0x41, 0x9C, 0x31, 0x30, 0x3F, 0x1A, 0x9B, 0xBB, 0xCF}},
      {'F', {0x2C, 0x25, 0x30, 0xC3, 0x0A, 0x27, 0x60, 0x40, 0x9C, 0x2B, 0xB1, 0xDC, 0x89, 0xEC, 0xB7, 0x73}},
      {'G', {0x51, 0xCC, 0x85, 0xA2, 0x20, 0x8D, 0xC6, 0x4A, 0xAA, 0xEA, 0xBE, 0xDA, 0x6C, 0x18, 0xCC, 0x10}},
      {'H', {0x49, 0xEF, 0x28, 0xBD, 0xB0, 0x65, 0xDF, 0x45, 0x93, 0x49, 0x83, 0x0A, 0x02, 0xDB, 0xAD, 0xA3}},
      {'I', {0xA3, 0xE8, 0x0D, 0x36, 0x14, 0x4C, 0xEB, 0x4B, 0x8E, 0x36, 0xE3, 0xD5, 0x2C, 0xB7, 0xAC, 0x67}},
      {'J', {0x88, 0x1B, 0xB8, 0x3B, 0xF8, 0x39, 0xE0, 0x4C, 0xA1, 0x7D, 0xDD, 0xA2, 0x23, 0x5B, 0x94, 0x45}},
  };
  return kGuids;
}

std::string Description(IRawFileType& detector) {
  std::array<char, 64> buffer{};
  detector.GetDescription(buffer.data(), buffer.size());
  return buffer.data();
}

std::string Extension(IRawFileType& detector) {
  std::array<char, 64> buffer{};
  detector.GetExtension(buffer.data(), buffer.size());
  return buffer.data();
}

TEST(Registry, IsTheSameObjectAtEveryCall) { EXPECT_EQ(GetRawFileTypeFactory(), GetRawFileTypeFactory()); }

TEST(Registry, Has320Rows) {
  EXPECT_EQ(GetRawFileTypeFactory()->GetTypeCount(), 320);
  EXPECT_EQ(Rows().size(), 320U);
}

TEST(Registry, NoRowBesideTheTableAndNothingWritten) {
  for (const std::int32_t index : {320, -1, 321, INT32_MAX, INT32_MIN}) {
    std::int32_t category = 77;
    Guid guid;
    guid.fill(0x77);
    EXPECT_EQ(GetRawFileTypeFactory()->CreateType(index, &category, guid.data()), nullptr) << index;
    EXPECT_EQ(category, 77);
    Guid untouched;
    untouched.fill(0x77);
    EXPECT_EQ(guid, untouched);
  }
}

TEST(Registry, RowsGiveTheirTextsCategoryAndGroup) {
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.index);
    std::int32_t category = 0;
    Guid guid;
    guid.fill(0x77);
    const Detector detector(GetRawFileTypeFactory()->CreateType(row.index, &category, guid.data()));
    ASSERT_NE(detector, nullptr);
    EXPECT_EQ(Description(*detector), row.description);
    EXPECT_EQ(Extension(*detector), row.extension);
    EXPECT_EQ(category, row.category);
    EXPECT_EQ(guid, Guids().at(row.group));
  }
}

TEST(Registry, GroupsHaveTheirSizes) {
  std::map<char, int> sizes;
  for (const Row& row : Rows()) ++sizes[row.group];
  const std::map<char, int> expected = {{' ', 216}, {'A', 23}, {'B', 21}, {'C', 26}, {'D', 5}, {'E', 5},
                                        {'F', 10},  {'G', 3},  {'H', 3},  {'I', 5},  {'J', 3}};
  EXPECT_EQ(sizes, expected);
}

TEST(Registry, CategoriesHaveTheirSizes) {
  std::map<std::int32_t, int> sizes;
  for (const Row& row : Rows()) ++sizes[row.category];
  const std::map<std::int32_t, int> expected = {{1, 50}, {2, 31}, {3, 82}, {4, 52},  {5, 12}, {6, 22},
                                                {7, 7},  {8, 16}, {9, 7},  {10, 12}, {-1, 29}};
  EXPECT_EQ(sizes, expected);
}

TEST(Registry, RowsWithOneExtensionAreToldApartByIndex) {
  EXPECT_NE(Description(*CreateDetector(68)), Description(*CreateDetector(69)));
  EXPECT_EQ(Extension(*CreateDetector(68)), Extension(*CreateDetector(69)));
}

TEST(Registry, OutParametersMayBeMissing) {
  const Detector detector(GetRawFileTypeFactory()->CreateType(0, nullptr, nullptr));
  EXPECT_NE(detector, nullptr);
}

TEST(Registry, EachCallCreatesAnotherDetector) { EXPECT_NE(CreateDetector(144).get(), CreateDetector(144).get()); }

class FixedLengthCopy : public ::testing::Test {
 protected:
  /// What a buffer of eight bytes 0x77 holds after GetDescription of "7Zip File" with this size.
  static std::string Copied(std::uint32_t size) {
    std::string buffer(8, '\x77');
    CreateDetector(144)->GetDescription(buffer.data(), size);
    return buffer;
  }
};

TEST_F(FixedLengthCopy, CutsALongerTextWithoutATerminator) { EXPECT_EQ(Copied(8), "7Zip Fi\x77"); }
TEST_F(FixedLengthCopy, LeavesTheLastByteAlone) { EXPECT_EQ(Copied(5), "7Zip\x77\x77\x77\x77"); }
TEST_F(FixedLengthCopy, OfOneByteWritesNothing) { EXPECT_EQ(Copied(1), std::string(8, '\x77')); }
TEST_F(FixedLengthCopy, OfNoByteWritesNothing) { EXPECT_EQ(Copied(0), std::string(8, '\x77')); }

TEST_F(FixedLengthCopy, FillsUpBehindAShorterTextWithZeros) {
  std::string buffer(8, '\x77');
  CreateDetector(144)->GetExtension(buffer.data(), 8);
  EXPECT_EQ(buffer, Literal("7z\0\0\0\0\0\x77"));
}

TEST_F(FixedLengthCopy, OfATextThatJustFitsIsNotTerminated) {
  std::string buffer(8, '\x77');
  CreateDetector(144)->GetExtension(buffer.data(), 3);
  EXPECT_EQ(buffer, "7z\x77\x77\x77\x77\x77\x77");
}

TEST_F(FixedLengthCopy, WithoutABufferDoesNothing) {
  CreateDetector(144)->GetDescription(nullptr, 8);
  CreateDetector(144)->GetExtension(nullptr, 8);
}

TEST(FixedOperations, AreAnsweredByEveryRow) {
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.index);
    const Detector detector = CreateDetector(row.index);
    EXPECT_EQ(detector->Reset(), 1);
    EXPECT_EQ(detector->ResetLight(), 1);
    EXPECT_EQ(detector->ResetFull(), 1);
    detector->SetMaxFileSize(1000);
    EXPECT_EQ(detector->ReservedQueryA(1234), 0U);
    EXPECT_EQ(detector->ReservedQueryB(1234), 0U);
  }
}

TEST(SizeHints, AreThoseOf100Classes) {
  EXPECT_EQ(HintedClassCount(), 100U);
  int rowsWithHints = 0;
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.index);
    std::array<std::uint64_t, 2> out = {77, 77};
    EXPECT_EQ(CreateDetector(row.index)->GetSizeHints(0, out.data(), 16), 0U);
    const Hints expected = HintsOf(row.className).value_or(Hints{77, 77});
    EXPECT_EQ(out[0], expected.least);
    EXPECT_EQ(out[1], expected.greatest);
    rowsWithHints += HintsOf(row.className) ? 1 : 0;
  }
  EXPECT_EQ(rowsWithHints, 100);
}

TEST(SizeHints, WithAWrongArgumentFailAndWriteNothing) {
  const Detector detector = CreateDetector("CKAAceFileType");
  std::array<std::uint64_t, 2> out = {77, 77};
  EXPECT_EQ(detector->GetSizeHints(0, out.data(), 8), 1627U);
  EXPECT_EQ(detector->GetSizeHints(0, out.data(), 17), 1627U);
  EXPECT_EQ(detector->GetSizeHints(1, out.data(), 16), 1627U);
  EXPECT_EQ(detector->GetSizeHints(0, nullptr, 16), 1627U);
  EXPECT_EQ(out, (std::array<std::uint64_t, 2>{77, 77}));
}

TEST(SizeHints, OfAClassWithoutThemNeverFail) {
  const Detector detector = CreateDetector("K7ZipFileType");
  std::array<std::uint64_t, 2> out = {77, 77};
  EXPECT_EQ(detector->GetSizeHints(0, out.data(), 8), 0U);
  EXPECT_EQ(detector->GetSizeHints(1, nullptr, 16), 0U);
  EXPECT_EQ(out, (std::array<std::uint64_t, 2>{77, 77}));
}

}  // namespace
}  // namespace qzmtraw::test
