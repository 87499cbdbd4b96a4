#ifndef QZMTRAW_HOST_RECOVERY_BYTE_READER_H
#define QZMTRAW_HOST_RECOVERY_BYTE_READER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/sources/Device.h"

namespace qzmtraw::host {

/// In which order the bytes of a number stand.
enum class ByteOrder { kLittle, kBig };

/// The number that bytes make. At most eight of them.
std::uint64_t NumberIn(std::span<const std::uint8_t> bytes, ByteOrder order);

/// Reads here and there in a stretch of a device, a piece at a time, and only so often: what stands there may be made
/// to lead astray. For one thread.
class ByteReader {
 public:
  /// \param device       Must live as long as the reader.
  /// \param startSector  Where the stretch begins.
  /// \param length       Of the stretch, in bytes.
  /// \param pieceSize    How much is read at a time, in bytes; rounded to whole sectors.
  /// \param mostPieces   Behind so many pieces every read fails.
  ByteReader(Device& device, std::uint64_t startSector, std::uint64_t length, std::uint32_t pieceSize,
             std::uint64_t mostPieces);

  /// In bytes.
  [[nodiscard]] std::uint64_t Length() const { return length_; }

  /// Fills `into` with the bytes from `offset` on, counted from the start of the stretch. What can't be read is zero.
  /// \return Whether they all lie in the stretch and the reader goes on.
  bool Read(std::uint64_t offset, std::span<std::uint8_t> into);

  /// The bytes from `offset` on, at most `count`, fewer at the end of the stretch. Empty: as Read's false.
  std::vector<std::uint8_t> Part(std::uint64_t offset, std::size_t count);

  /// A number of `kSize` bytes; none: as Read's false.
  template <std::size_t kSize>
  std::optional<std::uint64_t> Number(std::uint64_t offset, ByteOrder order = ByteOrder::kLittle) {
    std::array<std::uint8_t, kSize> bytes{};
    if (!Read(offset, bytes)) return std::nullopt;
    return NumberIn(bytes, order);
  }

  /// Whether these bytes stand at `offset`.
  bool Has(std::uint64_t offset, std::string_view bytes);

 private:
  bool Load(std::uint64_t piece);

  Device& device_;
  std::uint64_t startSector_;
  std::uint64_t length_;
  std::uint64_t sectorsPerPiece_;
  std::uint64_t piecesLeft_;
  std::vector<std::uint8_t> piece_;
  std::optional<std::uint64_t> number_;
};

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_RECOVERY_BYTE_READER_H
