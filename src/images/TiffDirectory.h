#ifndef QZMTRAW_IMAGES_TIFF_DIRECTORY_H
#define QZMTRAW_IMAGES_TIFF_DIRECTORY_H

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "frame/Bytes.h"
#include "frame/KFileSimulator.h"

namespace qzmtraw {

/// A number in the byte order that a file states.
template <std::unsigned_integral T>
T LoadIn(std::endian order, const std::uint8_t* bytes) {
  return order == std::endian::big ? LoadBig<T>(bytes) : LoadLittle<T>(bytes);
}

/// The tags of a directory that tell where a picture's data are.
enum TiffTag : std::uint16_t {
  kStripOffsets = 273,
  kStripByteCounts = 279,
  kThumbnailOffset = 513,
  kThumbnailByteCount = 514,
  kDngVersion = 50706,
};

/// One entry of an image file directory.
struct TiffEntry {
  std::uint16_t tag;
  std::uint16_t type;
  /// What stands in the entry itself; 0 if the values stand elsewhere in the file. Numbers of 32 bits come in their
  /// byte order. All others come as bytes, least significant first, whatever the file's order is.
  std::uint32_t value;
};

/// The bytes that one value of a type has, and with how many of them an entry's values are taken from it. Fractions and
/// bytes of no meaning aren't taken at all.
struct TiffValueType {
  std::uint32_t width;
  std::uint32_t mostValues;
};
inline constexpr TiffValueType kTiffValueTypes[] = {
    {0, 0},  // none
    {1, 4},  // BYTE
    {1, 3},  // ASCII, with its zero
    {2, 2},  // SHORT
    {4, 1},  // LONG
    {0, 0},  // RATIONAL
    {1, 3},  // SBYTE
    {0, 0},  // UNDEFINED
    {2, 2},  // SSHORT
    {4, 1},  // SLONG
    {0, 0},  // SRATIONAL
    {4, 1},  // FLOAT
    {0, 0},  // DOUBLE
};

/// Reads an entry. \return Whether its type is known.
inline bool ReadTiffEntry(std::endian order, const std::array<std::uint8_t, 12>& bytes, TiffEntry& entry) {
  entry.tag = LoadIn<std::uint16_t>(order, bytes.data());
  entry.type = LoadIn<std::uint16_t>(order, bytes.data() + 2);
  if (entry.type >= std::size(kTiffValueTypes)) return false;
  const auto [width, mostValues] = kTiffValueTypes[entry.type];
  const auto count = LoadIn<std::uint32_t>(order, bytes.data() + 4);
  std::array<std::uint8_t, 4> value{};
  if (count <= mostValues) std::copy_n(bytes.begin() + 8, width * count, value.begin());
  entry.value = LoadIn<std::uint32_t>(width == 4 ? order : std::endian::little, value.data());
  return true;
}

/// Calls `onEntry(entry)` for each entry of the image file directory (TIFF 6.0, section 2) at `offset`, in order, until
/// it returns false. Directories of more than 128 entries, and those at an offset above `greatestOffset`, which
/// compares as a signed number, aren't read.
/// \return Whether the directory was read to its end.
template <class OnEntry>
bool WalkTiffDirectory(KFileSimulator& file, std::endian order, std::uint32_t offset, std::uint64_t greatestOffset,
                       OnEntry onEntry) {
  constexpr std::uint16_t kMostEntries = 128;
  if (std::int64_t{offset} > static_cast<std::int64_t>(greatestOffset)) return false;
  std::array<std::uint8_t, 2> countBytes{};
  file.SetPos(offset);
  file.Read(countBytes.data(), countBytes.size());
  const auto count = LoadIn<std::uint16_t>(order, countBytes.data());
  if (count > kMostEntries) return false;
  for (std::uint16_t i = 0; i < count; ++i) {
    std::array<std::uint8_t, 12> bytes{};
    file.SetPos(std::uint64_t{offset} + countBytes.size() + bytes.size() * i);
    if (!file.Read(bytes.data(), bytes.size())) return false;
    TiffEntry entry{};
    if (!ReadTiffEntry(order, bytes, entry) || !onEntry(entry)) return false;
  }
  return true;
}

}  // namespace qzmtraw

#endif  // QZMTRAW_IMAGES_TIFF_DIRECTORY_H
