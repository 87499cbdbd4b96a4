#ifndef QZMTRAW_RAW_FILE_TYPE_H
#define QZMTRAW_RAW_FILE_TYPE_H

/// \file
/// The binary contract between a host and the detectors.
///
/// A host creates detectors through IRawFileTypeFactory, feeds each of them the sectors of a device, block after block
/// in device order, and receives what they find through its IRawHitSink. The order of the virtual operations, and the
/// order and widths of the records' fields, are part of the contract and never change.
///
/// Threads: a detector belongs to one thread at a time, and so do all detectors of one group together (see
/// IRawFileTypeFactory::CreateType), because they share a classifier. Detectors of different groups are independent.
///
/// Exceptions: none leaves the library but std::bad_alloc.

#include <cstdint>

namespace qzmtraw {

/// What a detector reports: where a file starts and how long it is.
struct RawFileHit {
  /// Number of the sector at which the file starts, counted from the start of the device.
  std::uint64_t startSector;
  /// The file's size in bytes. 0: the detector does not determine it, see IRawFileType::GetSizeHints.
  std::uint64_t size;
};

/// Receives the hits of a scan. Implemented by the host, which owns it.
class IRawHitSink {
 public:
  /// Reserved. The library never calls it; an implementation returns 0.
  virtual std::uint32_t ReservedOperation1() = 0;

  /// Called once for every file that a detector finds.
  /// \param hit  Belongs to the detector and is overwritten as soon as the call returns: copy what is to be kept.
  /// \return Anything; the library doesn't read it.
  virtual std::uint32_t ReportHit(const RawFileHit* hit) = 0;

 protected:
  ~IRawHitSink() = default;
};

/// Gives access to any sector of the device. Implemented by the host, which owns it.
class IRawSectorReader {
 public:
  /// Reserved. The library never calls it; an implementation returns 0.
  virtual std::uint32_t ReservedOperation1() = 0;
  /// Reserved. The library never calls it; an implementation returns 0.
  virtual std::uint32_t ReservedOperation2() = 0;
  /// Reserved. The library never calls it; an implementation returns 0.
  virtual std::uint32_t ReservedOperation3() = 0;

  /// Copies sectors of the device into `buffer`. Sectors of the block that is being scanned are asked for as well, and
  /// so are sectors that lie behind the device's end.
  /// \param startSector  The first sector, counted from the start of the device.
  /// \param buffer       Room for `sectorCount` sectors of the size that the block states.
  /// \param sectorCount  May be 0, which asks for nothing.
  /// \return 0 when all sectors were read. Most detectors don't look at it and take what they find in the buffer.
  virtual std::int32_t ReadSectors(std::uint64_t startSector, void* buffer, std::uint32_t sectorCount) = 0;

 protected:
  ~IRawSectorReader() = default;
};

/// One batch of neighbouring sectors. It and its memory belong to the host and need to live only as long as the call
/// of IRawFileType::Scan to which they are handed.
struct RawSectorBlock {
  /// Number of the block's first sector, counted from the start of the device.
  std::uint64_t startSector;
  /// The sectors' bytes, one sector behind the other. Three detectors (CKGLowFileType, CKG3dMbFileType and
  /// CKGShpFileType) reverse a four-byte field in this memory when they meet a head of their kind.
  std::uint8_t* data;
  /// Number of sectors at `data`. A block of less than one sector is passed over.
  std::int32_t sectorCount;
  /// Bytes per sector. A block with sectors of less than one byte is passed over.
  std::int32_t sectorSize;
  /// Through which detectors read beyond the block.
  IRawSectorReader* reader;
};

/// A detector of one kind of file.
class IRawFileType {
 public:
  /// Forgets the file that is open and puts back the default of SetMaxFileSize. Call it before a scan.
  /// \return 1.
  virtual std::int32_t Reset() = 0;

  /// Writes the kind's description, in Latin-1, to `buffer` as strncpy does for `size - 1` bytes: the bytes behind a
  /// shorter text are zero, a longer text is cut and is not terminated, and the buffer's last byte stays as it was. So
  /// a caller clears the buffer first. Nothing happens when `buffer` is null or `size` is 0.
  virtual void GetDescription(char* buffer, std::uint32_t size) = 0;

  /// Writes the extension that files of this kind usually bear, without a dot. As GetDescription. Several kinds may
  /// share an extension: to tell kinds apart, use their index.
  virtual void GetExtension(char* buffer, std::uint32_t size) = 0;

  /// Does what Reset does.
  virtual std::int32_t ResetLight() = 0;

  /// Does what Reset does, and empties what the kind's shared classifier keeps beyond that.
  virtual std::int32_t ResetFull() = 0;

  /// Examines every sector of the block and reports what it finds. Blocks come in device order. A file whose end isn't
  /// in the block stays open until a later block ends it; a file that is open when the host stops is never reported.
  /// \param block  A null pointer, a block without data or without sectors is passed over.
  /// \param sink   May be null, which loses the hits.
  /// \return Anything; a host must not depend on it.
  virtual std::uint32_t Scan(const RawSectorBlock* block, IRawHitSink* sink) = 0;

  /// Sets the largest size, in bytes, that the detector reports; a greater one is cut to it. Both are compared as
  /// signed 64-bit values. Many kinds have no such limit and ignore the call. Reset puts back the default.
  virtual void SetMaxFileSize(std::uint64_t limit) = 0;

  /// Reserved. \return 0.
  virtual std::uint32_t ReservedQueryA(std::uint32_t argument) = 0;

  /// Destroys the detector. It must not be used afterwards.
  virtual void Release() = 0;

  /// Reserved. \return 0.
  virtual std::uint32_t ReservedQueryB(std::uint32_t argument) = 0;

  /// Tells the range of sizes that files of this kind are taken to have, for hits of size 0. Kinds without such a range
  /// write nothing and return 0 whatever the arguments are, so a caller clears `out` first.
  /// \param id    0.
  /// \param out   Room for two values: the least and the greatest size in bytes.
  /// \param size  Size of the room in bytes: 16.
  /// \return 0, or 1627 when an argument is wrong, with nothing written.
  virtual std::uint32_t GetSizeHints(std::uint32_t id, std::uint64_t* out, std::uint32_t size) = 0;

 protected:
  ~IRawFileType() = default;
};

}  // namespace qzmtraw

#endif  // QZMTRAW_RAW_FILE_TYPE_H
