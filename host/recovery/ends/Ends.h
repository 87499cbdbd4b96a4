#ifndef QZMTRAW_HOST_RECOVERY_ENDS_ENDS_H
#define QZMTRAW_HOST_RECOVERY_ENDS_ENDS_H

#include <cstdint>
#include <optional>

#include "host/recovery/ByteReader.h"

namespace qzmtraw::host {

/// What walks read at a time, and how often at most.
inline constexpr std::uint32_t kWalkPieceSize = 4096;
inline constexpr std::uint64_t kMostWalkPieces = 1U << 19U;

/// Walks from the start of a file to its end.
/// \param file  What there is from the file's start on; what stands there may be anything.
/// \return The file's length in bytes, which may be more than there is; none: it can't be told.
using EndWalk = std::optional<std::uint64_t> (*)(ByteReader& file);

/// The walk for files of a row of the registry whose detector doesn't tell sizes, or such as aren't to be relied on;
/// null: there is none.
EndWalk EndWalkFor(std::int32_t row);

/// @{
/// Member by member. One without the marks of an end is taken as it goes.
std::optional<std::uint64_t> EndOfAr(ByteReader& file);
/// To the two empty blocks, and the empty rest of a record.
std::optional<std::uint64_t> EndOfTar(ByteReader& file);
/// Member by member, unpacked to where each one ends.
std::optional<std::uint64_t> EndOfGzip(ByteReader& file);
/// Behind the last sector that its allocation table has in use.
std::optional<std::uint64_t> EndOfCompound(ByteReader& file);
/// Behind the last that its directories tell of.
std::optional<std::uint64_t> EndOfTiff(ByteReader& file);
/// Behind the last part that its head tells of.
std::optional<std::uint64_t> EndOfRaf(ByteReader& file);
/// Block by block, to the trailer.
std::optional<std::uint64_t> EndOfGif(ByteReader& file);
/// Chunk by chunk, to the one called IEND.
std::optional<std::uint64_t> EndOfPng(ByteReader& file);
/// Behind the last image that its head tells of.
std::optional<std::uint64_t> EndOfIcon(ByteReader& file);
/// As many rows as its head says, or behind the last of those whose places it tells.
std::optional<std::uint64_t> EndOfSgi(ByteReader& file);
/// As its head says.
std::optional<std::uint64_t> EndOfRegistryHive(ByteReader& file);
/// Part by part.
std::optional<std::uint64_t> EndOfShortcut(ByteReader& file);
/// Resource by resource.
std::optional<std::uint64_t> EndOfResources(ByteReader& file);
/// As many pages as its head says.
std::optional<std::uint64_t> EndOfProgramDatabase(ByteReader& file);
/// Behind the last table, section or segment that its head tells of.
std::optional<std::uint64_t> EndOfElf(ByteReader& file);
/// Behind the last of a Windows module's sections, symbols and certificates.
std::optional<std::uint64_t> EndOfPe(ByteReader& file);
/// Segment by segment, to the mark of the end.
std::optional<std::uint64_t> EndOfType1Font(ByteReader& file);
/// Behind the last table that its directory tells of, in whole words.
std::optional<std::uint64_t> EndOfTrueType(ByteReader& file);
/// Tag by tag.
std::optional<std::uint64_t> EndOfFlashVideo(ByteReader& file);
/// Packet by packet.
std::optional<std::uint64_t> EndOfMxf(ByteReader& file);
/// As its first chunk says.
std::optional<std::uint64_t> EndOfDirectorMovie(ByteReader& file);
/// @}

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_ENDS_ENDS_H
