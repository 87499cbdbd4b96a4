#ifndef QZMTRAW_HOST_RECOVERY_NAMES_READABLE_NAME_H
#define QZMTRAW_HOST_RECOVERY_NAMES_READABLE_NAME_H

#include <cstdint>
#include <span>
#include <string>

#include "host/recovery/ByteReader.h"

namespace qzmtraw::host {

/// So much of a file is looked at for its title: pieces of this size, and so many of them.
inline constexpr std::uint32_t kTitlePieceSize = 64U << 10U;
inline constexpr std::uint64_t kMostTitlePieces = 48;

/// Comes once, before threads do, because a library below wants it.
void PrepareReadableNames();

/// Whether ReadableName is worth asking: it has none for a file that begins otherwise.
/// \param start  At least 8 bytes, or the whole file.
bool MayHaveReadableName(std::span<const std::uint8_t> start);

/// What a file calls itself, fit for a file's name: when a picture was taken, a document's or a piece of music's title.
/// Empty: it has none, or none that can be told without much ado. Any bytes will do, and no more than some MiB of
/// memory are taken. Several threads may call it. \param file  Reads in pieces of kTitlePieceSize.
std::string ReadableName(ByteReader& file);

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_NAMES_READABLE_NAME_H
