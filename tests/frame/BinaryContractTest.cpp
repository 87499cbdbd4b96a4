// Drives the library the way a host does that was built with another compiler: through tables of function pointers
// whose places are counted from the contract, not taken from the headers' classes.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

/// Reads function number `slot`, counted from 1, of an object's table and gives it its type.
template <class Function>
Function Operation(void* object, std::size_t slot) {
  void** table = nullptr;
  std::memcpy(&table, object, sizeof table);
  Function function = nullptr;
  std::memcpy(&function, table + (slot - 1), sizeof function);
  return function;
}

/// An object of the host: a pointer to its table, and what it saw.
struct HandMadeSink {
  void* const* table = nullptr;
  std::vector<RawFileHit> hits;
};
std::uint32_t HandMadeReportHit(HandMadeSink* sink, const RawFileHit* hit) {
  sink->hits.push_back(*hit);
  return 7;
}

struct HandMadeReader {
  void* const* table = nullptr;
  int calls = 0;
};
std::int32_t HandMadeReadSectors(HandMadeReader* reader, std::uint64_t /*startSector*/, void* /*buffer*/,
                                 std::uint32_t /*sectorCount*/) {
  ++reader->calls;
  return 0;
}

std::uint32_t MustNotBeCalled() {
  ADD_FAILURE() << "a reserved operation was called";
  return 0;
}

template <class Function>
void* Address(Function function) {
  void* address = nullptr;
  std::memcpy(&address, &function, sizeof address);
  return address;
}

constexpr std::size_t kReset = 1, kGetDescription = 2, kGetExtension = 3, kResetLight = 4, kResetFull = 5, kScan = 6,
                      kSetMaxFileSize = 7, kReservedQueryA = 8, kRelease = 9, kReservedQueryB = 10, kGetSizeHints = 11;

class BinaryContract : public ::testing::Test {
 protected:
  void* Create(std::int32_t index) {
    using CreateType = void* (*)(void*, std::int32_t, std::int32_t*, std::uint8_t*);
    return Operation<CreateType>(factory_, 2)(factory_, index, &category_, groupGuid_.data());
  }
  static void Release(void* detector) { Operation<void (*)(void*)>(detector, kRelease)(detector); }
  static std::int32_t CallReset(void* detector, std::size_t slot) {
    return Operation<std::int32_t (*)(void*)>(detector, slot)(detector);
  }
  static void Scan(void* detector, const RawSectorBlock& block, HandMadeSink& sink) {
    using ScanFunction = std::uint32_t (*)(void*, const RawSectorBlock*, void*);
    Operation<ScanFunction>(detector, kScan)(detector, &block, &sink);
  }
  static std::string CallText(void* detector, std::size_t slot) {
    std::array<char, 64> buffer{};
    using TextFunction = void (*)(void*, char*, std::uint32_t);
    Operation<TextFunction>(detector, slot)(detector, buffer.data(), buffer.size());
    return buffer.data();
  }

  void* const factory_ = GetRawFileTypeFactory();
  std::int32_t category_ = 0;
  std::array<std::uint8_t, 16> groupGuid_{};
  std::array<void*, 2> sinkTable_{Address(&MustNotBeCalled), Address(&HandMadeReportHit)};
  std::array<void*, 4> readerTable_{Address(&MustNotBeCalled), Address(&MustNotBeCalled), Address(&MustNotBeCalled),
                                    Address(&HandMadeReadSectors)};
};

TEST_F(BinaryContract, RecordsHaveTheirFieldsInOrder) {
  EXPECT_EQ(sizeof(RawFileHit), 16U);
  EXPECT_EQ(offsetof(RawFileHit, startSector), 0U);
  EXPECT_EQ(offsetof(RawFileHit, size), 8U);
  EXPECT_EQ(sizeof(RawSectorBlock), 32U);
  EXPECT_EQ(offsetof(RawSectorBlock, startSector), 0U);
  EXPECT_EQ(offsetof(RawSectorBlock, data), 8U);
  EXPECT_EQ(offsetof(RawSectorBlock, sectorCount), 16U);
  EXPECT_EQ(offsetof(RawSectorBlock, sectorSize), 20U);
  EXPECT_EQ(offsetof(RawSectorBlock, reader), 24U);
}

TEST_F(BinaryContract, FactoryCountsFirstAndCreatesSecond) {
  EXPECT_EQ(Operation<std::int32_t (*)(void*)>(factory_, 1)(factory_), 320);
  void* detector = Create(319);
  ASSERT_NE(detector, nullptr);
  EXPECT_EQ(category_, 9);
  Release(detector);
}

TEST_F(BinaryContract, DetectorAnswersItsElevenOperationsInOrder) {
  void* detector = Create(157);
  EXPECT_EQ(CallReset(detector, kReset), 1);
  EXPECT_EQ(CallText(detector, kGetDescription), "ACE Archive");
  EXPECT_EQ(CallText(detector, kGetExtension), "ace");
  EXPECT_EQ(CallReset(detector, kResetLight), 1);
  EXPECT_EQ(CallReset(detector, kResetFull), 1);
  using Query = std::uint32_t (*)(void*, std::uint32_t);
  EXPECT_EQ(Operation<Query>(detector, kReservedQueryA)(detector, 5), 0U);
  EXPECT_EQ(Operation<Query>(detector, kReservedQueryB)(detector, 5), 0U);
  std::array<std::uint64_t, 2> hints{};
  using SizeHintsFunction = std::uint32_t (*)(void*, std::uint32_t, std::uint64_t*, std::uint32_t);
  const auto getSizeHints = Operation<SizeHintsFunction>(detector, kGetSizeHints);
  EXPECT_EQ(getSizeHints(detector, 0, hints.data(), 16), 0U);
  EXPECT_EQ(hints, (std::array<std::uint64_t, 2>{256, 1677721600}));
  EXPECT_EQ(getSizeHints(detector, 1, hints.data(), 16), 1627U);
  Release(detector);
}

TEST_F(BinaryContract, ScanIsTheSixthOperationAndSetMaxFileSizeTheSeventh) {
  std::vector<std::uint8_t> sector(512);
  const std::string head = Literal("7z\xBC\xAF\x27\x1C\0\x04") + LittleU32(0) + LittleU64(1000) + LittleU64(100);
  std::memcpy(sector.data(), head.data(), head.size());
  const RawSectorBlock block{5000000000, sector.data(), 1, 512, nullptr};
  HandMadeSink sink{sinkTable_.data(), {}};
  void* detector = Create(144);
  Scan(detector, block, sink);
  Operation<void (*)(void*, std::uint64_t)>(detector, kSetMaxFileSize)(detector, 999);
  Scan(detector, block, sink);
  ASSERT_EQ(sink.hits.size(), 2U);
  EXPECT_EQ(sink.hits[0].startSector, 5000000000U);
  EXPECT_EQ(sink.hits[0].size, 1132U);
  EXPECT_EQ(sink.hits[1].size, 999U);
  Release(detector);
}

TEST_F(BinaryContract, JpegDetectorsTellHeadsInAnOperationBehindTheirDestructor) {
  // The destructor takes two places in the tables that g++ and clang make.
  constexpr std::size_t kCheckHead = 14;
  using CheckHead = std::int32_t (*)(void*, const char*, std::int32_t, std::int32_t*);
  void* camera = Create(68);
  void* graphics = Create(69);
  for (const bool isCamera : {true, false}) {
    const char* const sector = isCamera ? "\xFF\xD8\xFF\xE1xxExif     " : "\xFF\xD8\xFF\xE0xxJfif     ";
    std::int32_t size = 5;
    EXPECT_EQ(Operation<CheckHead>(camera, kCheckHead)(camera, sector, 512, &size), isCamera ? 1 : 0);
    EXPECT_EQ(Operation<CheckHead>(graphics, kCheckHead)(graphics, sector, 512, &size), isCamera ? 0 : 1);
    EXPECT_EQ(Operation<CheckHead>(camera, kCheckHead)(camera, sector, 7, &size), 0);
    EXPECT_EQ(Operation<CheckHead>(graphics, kCheckHead)(graphics, sector, 7, nullptr), 0);
    EXPECT_EQ(Operation<CheckHead>(graphics, kCheckHead)(graphics, nullptr, 512, &size), 0);
    EXPECT_EQ(size, 5);
    // The start of image and the first byte of a marker.
    for (std::size_t i = 0; i < 3; ++i) {
      std::string changed = sector;
      changed[i] = '\x7F';
      EXPECT_EQ(Operation<CheckHead>(camera, kCheckHead)(camera, changed.c_str(), 512, &size), 0) << i;
      EXPECT_EQ(Operation<CheckHead>(graphics, kCheckHead)(graphics, changed.c_str(), 512, &size), 0) << i;
    }
  }
  Release(camera);
  Release(graphics);
}

TEST_F(BinaryContract, ReaderIsAskedThroughTheFourthOperationOfItsTable) {
  HandMadeReader reader{readerTable_.data(), 0};
  IRawSectorReader* asLibrarySeesIt = nullptr;
  void* address = &reader;
  std::memcpy(&asLibrarySeesIt, &address, sizeof address);
  EXPECT_EQ(asLibrarySeesIt->ReadSectors(1, nullptr, 0), 0);
  EXPECT_EQ(reader.calls, 1);
}

}  // namespace
}  // namespace qzmtraw::test
