#include <gtest/gtest.h>

#include "containers/KCompoundReader.h"
#include "tests/support/CompoundFile.h"
#include "tests/support/Scanning.h"

namespace qzmtraw::test {
namespace {

TEST(KCompoundReader, HasNoStreamOfANameThatAnEntryCannotHold) {
  // 32 units without a zero, and behind them a length that reads "@" and fields that read 0.
  CompoundEntry full;
  full.name = std::u16string(32, u'n');
  full.nameLength = 64;
  full.type = 0;
  full.colour = 0;
  std::string bytes = CompoundFile().Add(full).Add(std::string(31, 'n')).Bytes();
  bytes.resize(64 * 512);
  const std::uint64_t first = Device::kFirstSector;
  const Device device = Device(64).Put(first, bytes);
  DeviceReader reader(device);
  ForEachBlock(device, reader, {}, [&](const RawSectorBlock& block) {
    WalkAllowance allowance;
    const KCompoundReader document(&block, first, allowance);
    EXPECT_TRUE(document.HasStream(std::string(31, 'N')));
    EXPECT_FALSE(document.HasStream(std::string(30, 'N')));
    EXPECT_FALSE(document.HasStream(std::string(32, 'N')));
    EXPECT_FALSE(document.HasStream(std::string(32, 'N') + "@"));
  });
}

}  // namespace
}  // namespace qzmtraw::test
