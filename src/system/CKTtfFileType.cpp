#include "frame/StartOnly.h"

namespace qzmtraw {

/// TrueType fonts (Apple's TrueType Reference Manual, chapter 6). The size is the end of the first table of the
/// directory that doesn't end at 0, which in most fonts isn't the table that stands last in the file.
class CKTtfFileType final : public StartOnly<CKTtfFileType> {
 public:
  static constexpr auto kHead = At(0, "\0\x01\0\0\0");
  static constexpr std::int32_t kFloor = 512;

  static bool IsHead(const Sector& sector) { return SizeAt(sector) != 0; }

  /// \return 0 when the directory has no such table in the sector.
  static std::uint64_t SizeAt(const Sector& sector) {
    std::int64_t entry = kDirectoryAt;
    for (std::uint32_t tables = sector.BigU16(4); tables > 0; --tables, entry += kEntrySize) {
      if (entry > sector.Size() - kEntrySize || !HasTag(sector, entry)) break;
      const std::uint32_t end = sector.BigU32(entry + 8) + sector.BigU32(entry + 12);
      if (end != 0) return end;
    }
    return 0;
  }

 private:
  static constexpr std::int64_t kDirectoryAt = 12;
  static constexpr std::int64_t kEntrySize = 16;

  static bool HasTag(const Sector& sector, std::int64_t entry) {
    return sector.U8(entry) != 0 && sector.U8(entry + 1) != 0 && sector.U8(entry + 2) != 0 && sector.U8(entry + 3) != 0;
  }
};

DETECTOR(CKTtfFileType);

}  // namespace qzmtraw
