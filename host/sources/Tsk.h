#ifndef QZMTRAW_HOST_SOURCES_TSK_H
#define QZMTRAW_HOST_SOURCES_TSK_H

/// \file
/// What The Sleuth Kit does for the tool. In a build without it everything here throws Failure.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/sources/ImageFormat.h"
#include "host/sources/Source.h"

namespace qzmtraw::host {

/// Opens an image that is in one of the formats E01, AFF, VMDK and VHD, with all its segments, for reading only.
/// Throws Failure.
std::unique_ptr<ISource> OpenTskImage(const std::string& path, const ImageFormat& format);

struct Partition {
  /// As fdisk and Linux number it: its slot in the table, counted from 1, and from 5 on in an extended partition.
  std::uint32_t number = 0;
  /// In bytes from the start of the source.
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  /// Of its kind; any bytes.
  std::string description;
};

/// The partitions of a source by place; none if it has no partition table that can be read. Throws Failure only when
/// The Sleuth Kit isn't there.
/// \param sectorSize  In which the partition table may count, if it doesn't in 512 bytes.
std::vector<Partition> ReadPartitions(ISource& source, std::uint32_t sectorSize);

/// Tells what a file system claims: neighbouring blocks that belong to files or to the file system itself.
/// \param offset  Where the file system begins, in bytes from the start of the source.
/// \param take    Gets the offset and the size of claimed space in bytes, in order. What it throws comes through.
/// \return The file system's name, such as "ext4", or none when there is none that can be read to its end; what was
///         taken then is not to be used.
std::optional<std::string> ReadClaimedSpace(ISource& source, std::uint64_t offset,
                                            const std::function<void(std::uint64_t, std::uint64_t)>& take);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_SOURCES_TSK_H
