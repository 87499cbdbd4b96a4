#ifndef QZMTRAW_FRAME_BLOCK_H
#define QZMTRAW_FRAME_BLOCK_H

/// \file
/// The only way in which detectors look at a host's bytes. What lies outside the block doesn't exist: a byte string is
/// not found there, and a field that lies there, be it with one byte, reads 0.

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>

#include "frame/Bytes.h"
#include "qzmtraw/RawFileType.h"

namespace qzmtraw {

class Sector;

/// A block as the host handed it over, made harmless: a block without data, without sectors, or with sectors of less
/// than one byte has no sectors. It points into the host's memory.
class Block {
 public:
  /// \param raw  May be null.
  explicit Block(const RawSectorBlock* raw) {
    if (raw == nullptr || raw->data == nullptr || raw->sectorCount < 1 || raw->sectorSize < 1) return;
    raw_ = raw;
    data_ = raw->data;
    startSector_ = raw->startSector;
    sectorCount_ = raw->sectorCount;
    sectorSize_ = raw->sectorSize;
  }

  std::int32_t SectorCount() const { return sectorCount_; }
  /// Bytes per sector.
  std::int32_t SectorSize() const { return sectorSize_; }
  std::uint64_t StartSector() const { return startSector_; }
  std::uint8_t* Data() const { return data_; }
  /// The block as the host handed it over, for a KFileSimulator. Null when the block has no sectors.
  const RawSectorBlock* Raw() const { return raw_; }
  /// Bytes in all sectors together.
  std::int64_t ByteCount() const { return std::int64_t{sectorCount_} * sectorSize_; }
  /// \param index  From 0 to SectorCount() - 1.
  inline Sector operator[](std::int32_t index) const;

 private:
  const RawSectorBlock* raw_ = nullptr;
  std::uint8_t* data_ = nullptr;
  std::uint64_t startSector_ = 0;
  std::int32_t sectorCount_ = 0;
  std::int32_t sectorSize_ = 0;
};

/// One sector of a block. Offsets count from the sector's first byte. They may reach beyond its last byte, and in front
/// of its first, as far as the block does.
class Sector {
 public:
  Sector(const Block& block, std::int32_t index)
      : raw_(block.Raw()),
        data_(block.Data() + std::int64_t{index} * block.SectorSize()),
        number_(block.StartSector() + static_cast<std::uint64_t>(index)),
        bytesBefore_(std::int64_t{index} * block.SectorSize()),
        bytesFromHere_(block.ByteCount() - bytesBefore_),
        size_(block.SectorSize()) {}

  /// The sector's number on the device.
  std::uint64_t Number() const { return number_; }
  std::int32_t Size() const { return size_; }
  /// The block that the sector belongs to, as the host handed it over.
  const RawSectorBlock* RawBlock() const { return raw_; }
  /// The sector's own bytes.
  ByteView Bytes() const { return {data_, static_cast<std::size_t>(size_)}; }

  /// Whether `length` bytes at `offset` lie inside the block.
  bool Holds(std::int64_t offset, std::size_t length) const {
    return offset >= -bytesBefore_ && offset <= bytesFromHere_ &&
           length <= static_cast<std::uint64_t>(bytesFromHere_ - offset);
  }

  /// The bytes at `offset`, at most `length` of them, and fewer where the block ends before.
  ByteView BytesAt(std::int64_t offset, std::size_t length) const {
    if (!Holds(offset, 0)) return {};
    return {data_ + offset, std::min(length, static_cast<std::size_t>(bytesFromHere_ - offset))};
  }

  /// Whether `bytes` stand at `offset`. No bytes stand everywhere.
  bool Has(std::int64_t offset, ByteView bytes) const {
    return bytes.empty() || (Holds(offset, bytes.size()) && std::equal(bytes.begin(), bytes.end(), data_ + offset));
  }

  std::uint8_t U8(std::int64_t offset) const { return Little<std::uint8_t>(offset); }
  /// Fields with the least significant byte first.
  std::uint16_t U16(std::int64_t offset) const { return Little<std::uint16_t>(offset); }
  std::uint32_t U32(std::int64_t offset) const { return Little<std::uint32_t>(offset); }
  std::uint64_t U64(std::int64_t offset) const { return Little<std::uint64_t>(offset); }
  /// Fields with the most significant byte first.
  std::uint16_t BigU16(std::int64_t offset) const { return Big<std::uint16_t>(offset); }
  std::uint32_t BigU32(std::int64_t offset) const { return Big<std::uint32_t>(offset); }
  std::uint64_t BigU64(std::int64_t offset) const { return Big<std::uint64_t>(offset); }

  /// Reverses a field of four bytes in the host's memory, and leaves it so. One that the block doesn't hold whole stays
  /// as it is. \return The field as it reads then, which is U32 of the same offset.
  std::uint32_t ReverseU32InPlace(std::int64_t offset) const {
    if (!Holds(offset, sizeof(std::uint32_t))) return 0;
    std::uint8_t* field = raw_->data + bytesBefore_ + offset;
    std::reverse(field, field + sizeof(std::uint32_t));
    return U32(offset);
  }

 private:
  template <std::unsigned_integral T>
  T Little(std::int64_t offset) const {
    return Holds(offset, sizeof(T)) ? LoadLittle<T>(data_ + offset) : T{0};
  }
  template <std::unsigned_integral T>
  T Big(std::int64_t offset) const {
    return Holds(offset, sizeof(T)) ? LoadBig<T>(data_ + offset) : T{0};
  }

  const RawSectorBlock* raw_;
  const std::uint8_t* data_;
  std::uint64_t number_;
  std::int64_t bytesBefore_;
  std::int64_t bytesFromHere_;
  std::int32_t size_;
};

inline Sector Block::operator[](std::int32_t index) const { return {*this, index}; }

}  // namespace qzmtraw

#endif  // QZMTRAW_FRAME_BLOCK_H
