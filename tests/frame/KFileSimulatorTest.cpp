#include <gtest/gtest.h>

#include <array>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "frame/KFileSimulator.h"
#include "tests/support/Device.h"

namespace qzmtraw {
namespace {

using test::Device;
using test::DeviceReader;
using test::Manner;
using Calls = std::vector<DeviceReader::Call>;

constexpr std::uint64_t kFirst = Device::kFirstSector;

/// A device whose bytes tell where they stand, of which a few sectors are the block under scan.
class FileSimulator : public ::testing::Test {
 protected:
  explicit FileSimulator(int sectorSize = 512, int sectorCount = 300) : device_(sectorCount, sectorSize) {
    const std::size_t size = static_cast<std::size_t>(sectorCount) * static_cast<std::size_t>(sectorSize);
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = ByteAt(i);
    device_.Put(kFirst, bytes);
  }

  /// The device's byte at a position counted from its first sector.
  static char ByteAt(std::size_t position) { return static_cast<char>(1 + position * 7 % 251); }

  std::string Expected(std::size_t position, std::size_t size) const {
    const auto begin = device_.Bytes().begin() + static_cast<std::ptrdiff_t>(position);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
  }

  /// Makes `count` sectors from `first` on, counted from the device's first, the block under scan.
  void SetBlock(int first, int count, IRawSectorReader* reader) {
    const auto begin = device_.Bytes().begin() + std::ptrdiff_t{first} * device_.SectorSize();
    memory_.assign(begin, begin + std::ptrdiff_t{count} * device_.SectorSize());
    block_ = {kFirst + static_cast<std::uint64_t>(first), memory_.data(), count, device_.SectorSize(), reader};
  }

  static std::string ReadAt(KFileSimulator& file, std::uint64_t position, std::uint32_t size) {
    std::string buffer(size, '\x77');
    file.SetPos(position);
    EXPECT_TRUE(file.Read(buffer.data(), size));
    EXPECT_EQ(file.GetPos(), position + size);
    return buffer;
  }

  Device device_;
  std::vector<std::uint8_t> memory_;
  RawSectorBlock block_{};
};

TEST_F(FileSimulator, ReadsToASectorBoundaryFromTheBlockAlone) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 100, 412), Expected(100, 412));
  EXPECT_EQ(ReadAt(file, 512, 1024), Expected(512, 1024));
  EXPECT_EQ(ReadAt(file, 0, 8 * 512), Expected(0, 8 * 512));
  EXPECT_EQ(reader.Calls(), Calls{});
}

TEST_F(FileSimulator, ReadsInsideASectorOfTheBlockThroughTheReaderOnce) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 600, 4), Expected(600, 4));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 1, 64}}));
  EXPECT_EQ(ReadAt(file, 30000, 4), Expected(30000, 4));
  EXPECT_EQ(ReadAt(file, 512 + 32768 - 4, 4), Expected(512 + 32768 - 4, 4));
  EXPECT_EQ(reader.Calls().size(), 1U);
  EXPECT_EQ(ReadAt(file, 512 + 32768, 4), Expected(512 + 32768, 4));
  EXPECT_EQ(reader.Calls().back(), (DeviceReader::Call{kFirst + 65, 64}));
}

TEST_F(FileSimulator, ReadsTheTailOfARequestThroughTheReader) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 100, 1000), Expected(100, 1000));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 2, 64}}));
}

TEST_F(FileSimulator, CrossesTheBlocksEnd) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 7 * 512 + 10, 5000), Expected(7 * 512 + 10, 5000));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 8, 64}}));
}

TEST_F(FileSimulator, GoesBackIntoTheCacheWithoutACall) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  ReadAt(file, 20000, 4);
  EXPECT_EQ(ReadAt(file, 19969, 4), Expected(19969, 4));
  EXPECT_EQ(reader.Calls().size(), 1U);
}

TEST_F(FileSimulator, ReadsInFrontOfTheBlockThroughTheReader) {
  DeviceReader reader(device_);
  SetBlock(10, 8, &reader);
  KFileSimulator file(&block_, kFirst + 5, 0);
  EXPECT_EQ(ReadAt(file, 0, 1024), Expected(5 * 512, 1024));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 5, 64}}));
}

TEST_F(FileSimulator, ReadsBehindTheBlockThroughTheReader) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 512 * 100, 512), Expected(512 * 100, 512));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 100, 64}}));
}

TEST_F(FileSimulator, ReadsNoBytesAtOnce) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  file.SetPos(700);
  EXPECT_TRUE(file.Read(nullptr, 0));
  EXPECT_EQ(file.GetPos(), 700U);
  EXPECT_EQ(reader.Calls(), Calls{});
}

TEST_F(FileSimulator, CountsLargeReadsByTheCachesSize) {
  DeviceReader reader(device_);
  SetBlock(0, 1, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 512, 100000), Expected(512, 100000));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 1, 64}, {kFirst + 65, 64}, {kFirst + 129, 64}, {kFirst + 193, 64}}));
}

TEST_F(FileSimulator, MovesByBytesAndAnywhere) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(file.GetPos(), 0U);
  EXPECT_TRUE(file.Skip(100));
  EXPECT_TRUE(file.Skip(-30));
  EXPECT_EQ(file.GetPos(), 70U);
  EXPECT_EQ(file.ReadByte(), static_cast<std::uint8_t>(ByteAt(70)));
  EXPECT_TRUE(file.Skip(-200));
  EXPECT_EQ(file.GetPos(), static_cast<std::uint64_t>(-129));
  EXPECT_TRUE(file.SetPos(1));
  EXPECT_EQ(file.ReadByte(), static_cast<std::uint8_t>(ByteAt(1)));
}

TEST_F(FileSimulator, IgnoresItsLimit) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 100);
  EXPECT_EQ(file.Limit(), 100U);
  EXPECT_EQ(ReadAt(file, 5000, 5000), Expected(5000, 5000));
}

TEST_F(FileSimulator, SeesZerosWhereAReaderLeavesTheBuffer) {
  for (const Manner manner : {Manner::kAnswersError, Manner::kLeavesBuffer}) {
    DeviceReader reader(device_, manner);
    SetBlock(0, 8, &reader);
    // The memory in which the simulator is made holds something else before.
    alignas(KFileSimulator) std::array<volatile std::uint8_t, sizeof(KFileSimulator)> memory;
    for (volatile std::uint8_t& byte : memory) byte = 0x77;
    auto* file = new (const_cast<std::uint8_t*>(memory.data())) KFileSimulator(&block_, kFirst, 0);
    EXPECT_EQ(ReadAt(*file, 10, 4), std::string(4, '\0'));
    file->~KFileSimulator();
  }
}

/// Serves the first call and leaves the buffer alone at the later ones.
class TiringReader final : public IRawSectorReader {
 public:
  explicit TiringReader(const Device& device) : reader_(device) {}
  std::uint32_t ReservedOperation1() override { return 0; }
  std::uint32_t ReservedOperation2() override { return 0; }
  std::uint32_t ReservedOperation3() override { return 0; }
  std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) override {
    return reader_.Calls().empty() ? reader_.ReadSectors(startSector, buffer, sectorCount) : 1;
  }

 private:
  DeviceReader reader_;
};

TEST_F(FileSimulator, SeesStaleBytesWhereAReaderLeavesTheBufferLater) {
  TiringReader reader(device_);
  SetBlock(0, 8, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 10, 4), Expected(10, 4));
  EXPECT_EQ(ReadAt(file, 100 * 512 + 10, 4), Expected(10, 4));
}

TEST_F(FileSimulator, SeesZerosWithoutAReader) {
  SetBlock(0, 8, nullptr);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 10, 4), std::string(4, '\0'));
}

TEST_F(FileSimulator, ReadsABlockWithoutDataThroughTheReader) {
  DeviceReader reader(device_);
  SetBlock(0, 8, &reader);
  block_.data = nullptr;
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 0, 1024), Expected(0, 1024));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst, 64}}));
}

TEST_F(FileSimulator, ReadsNothingInSectorsOfLessThanOneByte) {
  for (const std::int32_t sectorSize : {0, -1, -512}) {
    DeviceReader reader(device_);
    SetBlock(0, 8, &reader);
    block_.sectorSize = sectorSize;
    KFileSimulator file(&block_, kFirst, 0);
    EXPECT_EQ(file.ReadByte(), 0) << sectorSize;
    EXPECT_EQ(file.GetPos(), 0U) << sectorSize;
    EXPECT_EQ(reader.Calls(), Calls{}) << sectorSize;
  }
}

TEST_F(FileSimulator, EndsAtAnyPositionAfterOnePassMoreThanBytes) {
  constexpr std::uint64_t kTop = std::uint64_t{1} << 63;
  for (const std::uint64_t baseSector : {std::uint64_t{0}, kFirst + 10, kFirst + 12, kTop, ~std::uint64_t{0}}) {
    for (const std::uint64_t position : {~std::uint64_t{0}, ~std::uint64_t{511}, kTop, kTop - 1, kTop - 512}) {
      DeviceReader reader(device_);
      SetBlock(10, 8, &reader);
      KFileSimulator file(&block_, baseSector, 0);
      std::string buffer(3000, '\0');
      file.SetPos(position);
      file.Read(buffer.data(), 3000);
      EXPECT_LE(reader.Calls().size(), 3001U);
    }
  }
}

class FileSimulatorLargeSectors : public FileSimulator {
 protected:
  FileSimulatorLargeSectors() : FileSimulator(32769, 6) {}
};

TEST_F(FileSimulatorLargeSectors, CannotBeCachedAndFailAfterOnePassMoreThanBytes) {
  DeviceReader reader(device_);
  SetBlock(0, 2, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  std::string buffer(10, '\x77');
  EXPECT_FALSE(file.Read(buffer.data(), 10));
  EXPECT_EQ(buffer, std::string(10, '\x77'));
  EXPECT_EQ(file.GetPos(), 0U);
  EXPECT_EQ(reader.Calls(), Calls(11, {kFirst, 0}));
  EXPECT_EQ(file.ReadByte(), 0);
}

TEST_F(FileSimulatorLargeSectors, DeliverTheWholeSectorsOfTheBlock) {
  DeviceReader reader(device_);
  SetBlock(0, 2, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 100, 2 * 32769 - 100), Expected(100, 2 * 32769 - 100));
  EXPECT_EQ(reader.Calls(), Calls{});
}

class FileSimulatorLargestSectors : public FileSimulator {
 protected:
  FileSimulatorLargestSectors() : FileSimulator(32768, 4) {}
};

TEST_F(FileSimulatorLargestSectors, FillTheCacheOneByOne) {
  DeviceReader reader(device_);
  SetBlock(0, 1, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 32768 + 5, 40000), Expected(32768 + 5, 40000));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst + 1, 1}, {kFirst + 2, 1}}));
}

class FileSimulatorOddSectors : public FileSimulator {
 protected:
  FileSimulatorOddSectors() : FileSimulator(1000, 100) {}
};

TEST_F(FileSimulatorOddSectors, FillTheCacheWithWholeSectors) {
  DeviceReader reader(device_);
  SetBlock(0, 3, &reader);
  KFileSimulator file(&block_, kFirst, 0);
  EXPECT_EQ(ReadAt(file, 5, 3), Expected(5, 3));
  EXPECT_EQ(reader.Calls(), (Calls{{kFirst, 32}}));
  EXPECT_EQ(ReadAt(file, 31999, 2), Expected(31999, 2));
  EXPECT_EQ(reader.Calls().back(), (DeviceReader::Call{kFirst + 32, 32}));
}

TEST_F(FileSimulatorOddSectors, DeliverTheDevicesBytesWhateverIsAskedFor) {
  DeviceReader reader(device_);
  std::mt19937 random(1);
  for (int round = 0; round < 500; ++round) {
    SetBlock(static_cast<int>(random() % 50), 1 + static_cast<int>(random() % 50), &reader);
    KFileSimulator file(&block_, kFirst + 3, 0);
    for (int read = 0; read < 10; ++read) {
      const auto position = static_cast<std::uint32_t>(random() % 90000);
      const auto size = static_cast<std::uint32_t>(random() % (97000 - position) % 5000);
      ASSERT_EQ(ReadAt(file, position, size), Expected(3000 + position, size));
    }
  }
}

}  // namespace
}  // namespace qzmtraw
