#include "host/recovery/ByteReader.h"

#include <algorithm>

#include "host/base/Interrupt.h"

namespace qzmtraw::host {

std::uint64_t NumberIn(std::span<const std::uint8_t> bytes, ByteOrder order) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number = number << 8U | bytes[order == ByteOrder::kBig ? i : bytes.size() - 1 - i];
  }
  return number;
}

ByteReader::ByteReader(Device& device, std::uint64_t startSector, std::uint64_t length, std::uint32_t pieceSize,
                       std::uint64_t mostPieces)
    : device_(device),
      startSector_(startSector),
      length_(length),
      sectorsPerPiece_(std::max(1U, pieceSize / device.SectorSize())),
      piecesLeft_(mostPieces) {}

bool ByteReader::Read(std::uint64_t offset, std::span<std::uint8_t> into) {
  if (offset > length_ || into.size() > length_ - offset) return false;
  const std::uint64_t pieceSize = sectorsPerPiece_ * device_.SectorSize();
  while (!into.empty()) {
    if (!Load(offset / pieceSize)) return false;
    const auto at = static_cast<std::size_t>(offset % pieceSize);
    const std::size_t count = std::min(into.size(), piece_.size() - at);
    std::copy_n(piece_.begin() + static_cast<std::ptrdiff_t>(at), count, into.begin());
    into = into.subspan(count);
    offset += count;
  }
  return true;
}

std::vector<std::uint8_t> ByteReader::Part(std::uint64_t offset, std::size_t count) {
  if (offset >= length_) return {};
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, length_ - offset)));
  if (!Read(offset, bytes)) return {};
  return bytes;
}

bool ByteReader::Has(std::uint64_t offset, std::string_view bytes) {
  const std::vector<std::uint8_t> there = Part(offset, bytes.size());
  return std::ranges::equal(there, bytes, {}, {}, [](char c) { return static_cast<std::uint8_t>(c); });
}

/// Brings the piece of that number, counted from the start of the stretch.
bool ByteReader::Load(std::uint64_t piece) {
  if (piece == number_) return true;
  if (piecesLeft_ == 0 || IsInterrupted()) return false;
  --piecesLeft_;
  const std::uint64_t first = piece * sectorsPerPiece_;
  const std::uint64_t sectors = (length_ - 1) / device_.SectorSize() + 1;
  piece_.resize(static_cast<std::size_t>(std::min(sectorsPerPiece_, sectors - first) * device_.SectorSize()));
  device_.Read(startSector_ + first, piece_, IsInterrupted);
  number_ = piece;
  return true;
}

}  // namespace qzmtraw::host
